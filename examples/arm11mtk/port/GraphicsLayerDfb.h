#ifndef ARM11MTK_PORT_GRAPHICSLAYERDFB_H
#define ARM11MTK_PORT_GRAPHICSLAYERDFB_H
// The on-screen graphics plane: Update(surface) presents the UI engine's 1280 x 720 frame on the
// primary surface, scaled into the window rectangle, and flips. The OSD size and the window
// rectangle are shared by every layer object (one screen). After SetWindow the next two updates
// first clear the screen, one for each buffer of the double-buffered primary surface.
//
// Threads: Update runs under the multimedia driver's mutex; the listener hears LayerFlipped on
// the updating thread.
//
// A flip observer (one per process) sees the primary surface right after each flip, still under
// the driver's mutex, so it may read the frame but must not call back into the driver. Setting
// or clearing it waits for a running call to end.
#include "core/GraphicsDriver.h"

#include <directfb.h>

namespace KELO {

class MultimediaDriverDfb;

class GraphicsLayerDfb : public Layer
{
public:
    explicit GraphicsLayerDfb(MultimediaDriverDfb* driver);

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

    typedef void (*FlipObserver)(IDirectFBSurface* primary, void* context);
    // A null observer removes it.
    static void setFlipObserver(FlipObserver observer, void* context);

private:
    static int32 m_osdWidth;
    static int32 m_osdHeight;
    static Rectangle m_window;

    MultimediaDriverDfb* m_pDriver;
    Level m_affLevel = LEVEL_OFF;
    void* m_listenerContext = nullptr;
    LayerListener* m_listener = nullptr;
    int m_windowChanged = 2;
};

} // namespace KELO

#endif
