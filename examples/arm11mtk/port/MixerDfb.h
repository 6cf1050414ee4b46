#ifndef ARM11MTK_PORT_MIXERDFB_H
#define ARM11MTK_PORT_MIXERDFB_H
// The mixer hands out the driver's two planes: the graphics layer for GraphicsMain and the
// video layer for VideoMain; other plane types do not exist on this device.
#include "core/GraphicsDriver.h"

#include <memory>

namespace KELO {

class GraphicsLayerDfb;
class MultimediaDriverDfb;
class VideoLayerDfb;

class MixerDfb : public Mixer
{
public:
    explicit MixerDfb(MultimediaDriverDfb* driver);
    ~MixerDfb() override;

    int GetCapabilities() const override;
    int32 GetLayer(Layer::Type type, Layer** layer) override;

private:
    std::unique_ptr<GraphicsLayerDfb> m_gfxLayer;
    std::unique_ptr<VideoLayerDfb> m_videoLayer;
};

} // namespace KELO

#endif
