// VideoLayerDfb: fixed answers and a stored window; the player owns what is on the plane.
#include "VideoLayerDfb.h"

#include <cstdio>

namespace KELO {

VideoLayerDfb::VideoLayerDfb(MultimediaDriverDfb* driver) : m_pDriver(driver) {}

Layer::Capabilities VideoLayerDfb::GetCapabilities() const
{
    Capabilities capabilities;
    capabilities.type = VideoMain;
    capabilities.pixelFormats = YCBCR;
    capabilities.filters = true;
    return capabilities;
}

int32 VideoLayerDfb::AddListener(void*, LayerListener*, int)
{
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::RemoveListener(LayerListener*)
{
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::Show(bool show)
{
    m_visible = show;
    return SUCCESS;
}

int32 VideoLayerDfb::SetFormat(const Format&)
{
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::GetFormat(Format* format)
{
    if (format == nullptr)
        return INVALID_ARGUMENTS;
    format->width = 1280;
    format->height = 720;
    format->format = YCBCR;
    format->convMethod = ARCONV_FULL;
    return SUCCESS;
}

int32 VideoLayerDfb::SetWindow(const Rectangle& window)
{
    m_window = window;
    std::printf("VideoLayerDfb:: SetWindow :%d %d %d %d\n", window.x, window.y, window.width,
                window.height);
    return SUCCESS;
}

int32 VideoLayerDfb::GetWindow(Rectangle* window)
{
    if (window == nullptr)
        return INVALID_ARGUMENTS;
    *window = {0, 0, 1280, 720};
    return SUCCESS;
}

int32 VideoLayerDfb::SetColorKey(const Pixel&)
{
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::GetColorKey(Pixel*) const
{
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::EnableColorKey(bool)
{
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::SetOpacity(uint8)
{
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::GetOpacity(uint8*) const
{
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::SetAffLevel(const Level&)
{
    return SUCCESS;
}

int32 VideoLayerDfb::GetAffLevel(Level* level) const
{
    if (level == nullptr)
        return INVALID_ARGUMENTS;
    *level = LEVEL_OFF;
    return SUCCESS;
}

int32 VideoLayerDfb::SetVideoEnhancementsLevel(const Level& level)
{
    m_vppLevel = level;
    return SUCCESS;
}

int32 VideoLayerDfb::GetVideoEnhancementsLevel(Level* level) const
{
    if (level == nullptr)
        return INVALID_ARGUMENTS;
    *level = m_vppLevel;
    return SUCCESS;
}

int32 VideoLayerDfb::GetSurface(Surface** surface) const
{
    if (surface != nullptr)
        *surface = nullptr;
    return NOT_SUPPORTED;
}

int32 VideoLayerDfb::LockLayer()
{
    return SUCCESS;
}

int32 VideoLayerDfb::UnlockLayer()
{
    return SUCCESS;
}

int32 VideoLayerDfb::Flip()
{
    return SUCCESS;
}

int32 VideoLayerDfb::Update(Surface*)
{
    return NOT_SUPPORTED;
}

} // namespace KELO
