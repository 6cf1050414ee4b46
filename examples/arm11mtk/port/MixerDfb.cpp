// MixerDfb: plane look-up by type.
#include "MixerDfb.h"

#include "GraphicsLayerDfb.h"
#include "VideoLayerDfb.h"

namespace KELO {

MixerDfb::MixerDfb(MultimediaDriverDfb* driver)
    : m_gfxLayer(std::make_unique<GraphicsLayerDfb>(driver)),
      m_videoLayer(std::make_unique<VideoLayerDfb>(driver))
{
}

MixerDfb::~MixerDfb() = default;

int MixerDfb::GetCapabilities() const
{
    return hasGraphicsLayer | hasVideoLayer | hasGraphicsOTFScaler | supportsAlphaBlending;
}

int32 MixerDfb::GetLayer(Layer::Type type, Layer** layer)
{
    if (layer == nullptr)
        return INVALID_ARGUMENTS;
    switch (type) {
    case Layer::GraphicsMain:
        *layer = m_gfxLayer.get();
        return SUCCESS;
    case Layer::VideoMain:
        *layer = m_videoLayer.get();
        return SUCCESS;
    default:
        *layer = nullptr;
        return NOT_SUPPORTED;
    }
}

} // namespace KELO
