#ifndef ARM11MTK_PORT_VIDEOLAYERDFB_H
#define ARM11MTK_PORT_VIDEOLAYERDFB_H
// The video plane. Video is always shown full-screen by the player, so the window rectangle is
// only stored; the format and capabilities are fixed answers and the drawing operations are
// stubs.
#include "core/GraphicsDriver.h"

namespace KELO {

class MultimediaDriverDfb;

class VideoLayerDfb : public Layer
{
public:
    explicit VideoLayerDfb(MultimediaDriverDfb* driver);

    Capabilities GetCapabilities() const override;
    int32 AddListener(void* context, LayerListener* listener, int eventMask) override;
    int32 RemoveListener(LayerListener* listener) override;
    int32 Show(bool show) override;
    int32 SetFormat(const Format& format) override;
    int32 GetFormat(Format* format) override;
    int32 SetWindow(const Rectangle& window) override;
    int32 GetWindow(Rectangle* window) override;
    int32 SetColorKey(const Pixel& key) override;
    int32 GetColorKey(Pixel* key) const override;
    int32 EnableColorKey(bool enable) override;
    int32 SetOpacity(uint8 opacity) override;
    int32 GetOpacity(uint8* opacity) const override;
    int32 SetAffLevel(const Level& level) override;
    int32 GetAffLevel(Level* level) const override;
    int32 SetVideoEnhancementsLevel(const Level& level) override;
    int32 GetVideoEnhancementsLevel(Level* level) const override;
    int32 GetSurface(Surface** surface) const override;
    int32 LockLayer() override;
    int32 UnlockLayer() override;
    int32 Flip() override;
    int32 Update(Surface* surface) override;

private:
    [[maybe_unused]] MultimediaDriverDfb* m_pDriver; // the owning driver
    Level m_vppLevel = LEVEL_OFF;
    Rectangle m_window = {0, 0, 1280, 720};
    bool m_visible = true;
};

} // namespace KELO

#endif
