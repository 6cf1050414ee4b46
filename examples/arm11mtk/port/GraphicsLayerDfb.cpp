// GraphicsLayerDfb: the per-frame present path (clear while the window changed, blit or
// stretch into the window, flip, notify).
#include "GraphicsLayerDfb.h"

#include "DfbResult.h"
#include "MultimediaDriverDfb.h"
#include "SurfaceDfb.h"

#include <mutex>

namespace KELO {

namespace {
std::mutex s_observerLock;
GraphicsLayerDfb::FlipObserver s_flipObserver = nullptr; // guarded by s_observerLock
void* s_flipObserverContext = nullptr;                  // guarded by s_observerLock
} // namespace

void GraphicsLayerDfb::setFlipObserver(FlipObserver observer, void* context)
{
    std::lock_guard<std::mutex> lock(s_observerLock);
    s_flipObserver = observer;
    s_flipObserverContext = context;
}

int32 GraphicsLayerDfb::m_osdWidth = 1280;
int32 GraphicsLayerDfb::m_osdHeight = 720;
Rectangle GraphicsLayerDfb::m_window = {0, 0, 1280, 720};

GraphicsLayerDfb::GraphicsLayerDfb(MultimediaDriverDfb* driver) : m_pDriver(driver) {}

Layer::Capabilities GraphicsLayerDfb::GetCapabilities() const
{
    Capabilities capabilities;
    capabilities.type = GraphicsMain;
    capabilities.pixelFormats = RGBA8888;
    capabilities.filters = true;
    return capabilities;
}

int32 GraphicsLayerDfb::AddListener(void* context, LayerListener* listener, int)
{
    m_listenerContext = context;
    m_listener = listener;
    return SUCCESS;
}

int32 GraphicsLayerDfb::RemoveListener(LayerListener* listener)
{
    if (listener != m_listener)
        return INVALID_ARGUMENTS;
    m_listener = nullptr;
    m_listenerContext = nullptr;
    return SUCCESS;
}

int32 GraphicsLayerDfb::Show(bool)
{
    return SUCCESS;
}

int32 GraphicsLayerDfb::SetFormat(const Format&)
{
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::GetFormat(Format* format)
{
    if (format == nullptr)
        return INVALID_ARGUMENTS;
    format->width = 1280;
    format->height = 720;
    format->format = RGBA8888;
    return SUCCESS;
}

int32 GraphicsLayerDfb::SetWindow(const Rectangle& window)
{
    m_window = window;
    m_windowChanged = 2;
    return SUCCESS;
}

int32 GraphicsLayerDfb::GetWindow(Rectangle* window)
{
    if (window == nullptr)
        return INVALID_ARGUMENTS;
    *window = m_window;
    return SUCCESS;
}

int32 GraphicsLayerDfb::SetColorKey(const Pixel&)
{
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::GetColorKey(Pixel*) const
{
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::EnableColorKey(bool)
{
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::SetOpacity(uint8)
{
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::GetOpacity(uint8*) const
{
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::SetAffLevel(const Level& level)
{
    m_affLevel = level;
    return SUCCESS;
}

int32 GraphicsLayerDfb::GetAffLevel(Level* level) const
{
    if (level == nullptr)
        return INVALID_ARGUMENTS;
    *level = m_affLevel;
    return SUCCESS;
}

int32 GraphicsLayerDfb::SetVideoEnhancementsLevel(const Level&)
{
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::GetVideoEnhancementsLevel(Level*) const
{
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::GetSurface(Surface** surface) const
{
    if (surface != nullptr)
        *surface = nullptr;
    return NOT_SUPPORTED;
}

int32 GraphicsLayerDfb::LockLayer()
{
    return SUCCESS;
}

int32 GraphicsLayerDfb::UnlockLayer()
{
    return SUCCESS;
}

int32 GraphicsLayerDfb::Flip()
{
    return SUCCESS;
}

int32 GraphicsLayerDfb::Update(Surface* surface)
{
    IDirectFBSurface* primary = m_pDriver != nullptr ? m_pDriver->frameBuffer() : nullptr;
    const SurfaceDfb* frame = static_cast<const SurfaceDfb*>(surface);
    if (primary == nullptr || frame == nullptr || frame->dfbSurface() == nullptr)
        return FAILURE;
    {
        std::lock_guard<std::mutex> lock(m_pDriver->gfxBlitMutex());
        DFBRectangle osd = {0, 0, m_osdWidth, m_osdHeight};
        if (m_windowChanged > 0) {
            primary->SetDrawingFlags(primary, DSDRAW_NOFX);
            primary->SetColor(primary, 0, 0, 0, 0);
            primary->FillRectangle(primary, 0, 0, m_osdWidth, m_osdHeight);
            --m_windowChanged;
        }
        DFBRectangle destination = {m_window.x, m_window.y, 1280 * m_window.width / m_osdWidth,
                                    720 * m_window.height / m_osdHeight};
        if (destination.w != 0 && destination.h != 0 && osd.w != 0 && osd.h != 0) {
            primary->SetBlittingFlags(primary, DSBLIT_NOFX);
            DFBResult result;
            if (destination.w == osd.w && destination.h == osd.h)
                result =
                    primary->Blit(primary, frame->dfbSurface(), &osd, destination.x, destination.y);
            else
                result = primary->StretchBlit(primary, frame->dfbSurface(), &osd, &destination);
            DFB_TRACE_IF_FAILED(result);
        }
        const DFBResult flipped = primary->Flip(
            primary, nullptr, static_cast<DFBSurfaceFlipFlags>(DSFLIP_WAIT | DSFLIP_ONSYNC));
        DFB_TRACE_IF_FAILED(flipped);
        std::lock_guard<std::mutex> observerLock(s_observerLock);
        if (s_flipObserver != nullptr)
            s_flipObserver(primary, s_flipObserverContext);
    }
    if (m_listener != nullptr)
        m_listener->Callback(m_listenerContext, LayerListener::LayerFlipped);
    return SUCCESS;
}

} // namespace KELO
