// GraphicsDfb: budget accounting around SurfaceDfb construction. The charge is taken before
// DirectFB is called and corrected to the real allocation (stride x height) afterwards; for an
// image the first charge comes from its header (4 bytes a pixel), read without decoding.
#include "GraphicsDfb.h"

#include "DfbResult.h"
#include "MultimediaDriverDfb.h"
#include "SurfaceDfb.h"
#include "core/ImageGeometry.h"
#include "kapi/vLog.h"

#include <cstdio>
#include <memory>

namespace KELO {

IDirectFBSurface* GraphicsDfb::s_tempSurface = nullptr;

GraphicsDfb::GraphicsDfb(unsigned maxSurfaceMemory) : m_maxSurfaceMemory(maxSurfaceMemory) {}

GraphicsDfb::~GraphicsDfb()
{
    if (m_ownsTempSurface) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_ERROR,
                        "GraphicsDfb: temporary surface still present at destruction");
        DestroyTemporarySurface();
    }
}

bool GraphicsDfb::charge_i(unsigned bytes)
{
    std::lock_guard<std::mutex> lock(m_memoryLock);
    if (m_maxSurfaceMemory - m_usedSurfaceSpace < bytes || m_usedSurfaceSpace > m_maxSurfaceMemory)
        return false;
    m_usedSurfaceSpace += bytes;
    return true;
}

void GraphicsDfb::releaseCharge(unsigned bytes)
{
    std::lock_guard<std::mutex> lock(m_memoryLock);
    m_usedSurfaceSpace = bytes > m_usedSurfaceSpace ? 0 : m_usedSurfaceSpace - bytes;
}

Surface* GraphicsDfb::settleCharge_i(std::unique_ptr<SurfaceDfb> created, unsigned charge)
{
    int size = 0;
    created->GetInfo(nullptr, nullptr, nullptr, nullptr, &size);
    {
        std::lock_guard<std::mutex> lock(m_memoryLock);
        m_usedSurfaceSpace = m_usedSurfaceSpace - charge + static_cast<unsigned>(size);
    }
    created->setCharge(this, static_cast<unsigned>(size));
    return created.release();
}

unsigned GraphicsDfb::usedSurfaceSpace() const
{
    std::lock_guard<std::mutex> lock(m_memoryLock);
    return m_usedSurfaceSpace;
}

unsigned GraphicsDfb::maxSurfaceMemory() const
{
    std::lock_guard<std::mutex> lock(m_memoryLock);
    return m_maxSurfaceMemory;
}

void GraphicsDfb::setMaxSurfaceMemory(unsigned bytes)
{
    std::lock_guard<std::mutex> lock(m_memoryLock);
    m_maxSurfaceMemory = bytes;
}

int GraphicsDfb::GetCapabilities() const
{
    return 0;
}

int32 GraphicsDfb::AddListener(void* context, GraphicsListener* listener, int)
{
    m_listenerContext = context;
    m_listener = listener;
    return SUCCESS;
}

int32 GraphicsDfb::RemoveListener(GraphicsListener* listener)
{
    if (listener != m_listener)
        return INVALID_ARGUMENTS;
    m_listener = nullptr;
    m_listenerContext = nullptr;
    return SUCCESS;
}

int32 GraphicsDfb::CreateSurface(Surface** surface, unsigned width, unsigned height,
                                 PixelFormat format, bool)
{
    if (surface == nullptr)
        return INVALID_ARGUMENTS;
    *surface = nullptr;
    const uint64 wanted = uint64(width) * height * SurfaceDfb::bytesPerPixel(format);
    if (wanted > 0xFFFFFFFFu || !charge_i(static_cast<unsigned>(wanted))) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_WARNING,
                        "GraphicsDfb: surface %ux%u over budget (%u of %u bytes used)", width,
                        height, usedSurfaceSpace(), maxSurfaceMemory());
        return OUT_OF_MEMORY;
    }
    const unsigned charge = static_cast<unsigned>(wanted);
    auto created = std::make_unique<SurfaceDfb>(width, height, format);
    if (created->dfbResult() != DFB_OK) {
        const char* reason = DFBResultToString(created->dfbResult());
        created.reset();
        releaseCharge(charge);
        std::printf("%s with %u out of %u bytes surface memory used\n", reason, usedSurfaceSpace(),
                    maxSurfaceMemory());
        return OUT_OF_MEMORY;
    }
    *surface = settleCharge_i(std::move(created), charge);
    return SUCCESS;
}

int32 GraphicsDfb::DestroySurface(Surface* surface)
{
    if (surface == nullptr)
        return INVALID_ARGUMENTS;
    delete surface;
    return SUCCESS;
}

int32 GraphicsDfb::CreateSurfaceFromImage(Surface** surface, BufferStream* stream,
                                          ImageFormat format, void* context,
                                          SurfaceListener* listener, bool, bool)
{
    if (surface == nullptr)
        return INVALID_ARGUMENTS;
    *surface = nullptr;
    ImageGeometry geometry;
    if (stream == nullptr || Multimedia::getGeometry(stream, format, &geometry) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_WARNING,
                        "GraphicsDfb: no image geometry (format %d)", static_cast<int>(format));
        return INVALID_ARGUMENTS;
    }
    if (geometry.kind != ImageGeometry::KIND_JPEG && geometry.kind != ImageGeometry::KIND_PNG)
        return Multimedia::createSurfaceFromImage(this, surface, stream, geometry, context,
                                                  listener);

    // DirectFB decodes into 32-bit pixels: the stride is taken as 4 bytes a pixel until the
    // surface tells its real one.
    const uint64 wanted = uint64(geometry.width) * 4u * geometry.height;
    if (wanted > 0xFFFFFFFFu || !charge_i(static_cast<unsigned>(wanted))) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_WARNING,
                        "GraphicsDfb: image %ux%u over budget (%u of %u bytes used)",
                        geometry.width, geometry.height, usedSurfaceSpace(), maxSurfaceMemory());
        return OUT_OF_MEMORY;
    }
    const unsigned charge = static_cast<unsigned>(wanted);
    auto created = std::make_unique<SurfaceDfb>(stream, format, context, listener);
    const DFBResult result = created->dfbResult();
    if (result != DFB_OK) {
        created.reset();
        releaseCharge(charge);
        if (result == DFB_NOSYSTEMMEMORY || result == DFB_NOVIDEOMEMORY ||
            result == DFB_NOSHAREDMEMORY)
            std::printf("%s with %u out of %u bytes surface memory used\n",
                        DFBResultToString(result), usedSurfaceSpace(), maxSurfaceMemory());
        return OUT_OF_MEMORY;
    }
    *surface = settleCharge_i(std::move(created), charge);
    // The decode has already finished here; the listener hears it before the call returns.
    if (listener != nullptr)
        listener->Callback(context, SurfaceListener::DecodeCompleted);
    return SUCCESS;
}

int32 GraphicsDfb::CreatePalette(PixelFormat, const Pixel*, int*)
{
    return NOT_SUPPORTED;
}

int32 GraphicsDfb::DestroyPalette(int)
{
    return NOT_SUPPORTED;
}

int32 GraphicsDfb::PrepareSurfaceFromImage(BufferStream*, ImageFormat, ImageGeometry*)
{
    return NOT_SUPPORTED;
}

bool GraphicsDfb::CreateTemporarySurface()
{
    MultimediaDriverDfb* driver = MultimediaDriverDfb::instance();
    if (s_tempSurface != nullptr)
        return m_ownsTempSurface;
    if (driver == nullptr || driver->dfb() == nullptr || !charge_i(kTempCharge))
        return false;
    DFBSurfaceDescription description = {};
    description.flags = static_cast<DFBSurfaceDescriptionFlags>(DSDESC_CAPS | DSDESC_WIDTH |
                                                                DSDESC_HEIGHT | DSDESC_PIXELFORMAT);
    description.caps = DSCAPS_VIDEOONLY;
    description.width = kTempWidth;
    description.height = kTempHeight;
    description.pixelformat = DSPF_ARGB;
    std::lock_guard<std::mutex> lock(driver->gfxBlitMutex());
    IDirectFB* dfb = driver->dfb();
    DFBResult result = dfb->CreateSurface(dfb, &description, &s_tempSurface);
    DFB_TRACE_IF_FAILED(result);
    if (result == DFB_OK) {
        // Write-lock once so the memory is really allocated now, not at the first blit.
        void* pixels = nullptr;
        int pitch = 0;
        result = s_tempSurface->Lock(s_tempSurface, DSLF_WRITE, &pixels, &pitch);
        DFB_TRACE_IF_FAILED(result);
        if (result == DFB_OK)
            s_tempSurface->Unlock(s_tempSurface);
        else {
            s_tempSurface->Release(s_tempSurface);
        }
    }
    if (result != DFB_OK) {
        s_tempSurface = nullptr;
        releaseCharge(kTempCharge);
        return false;
    }
    m_ownsTempSurface = true;
    return true;
}

void GraphicsDfb::DestroyTemporarySurface()
{
    if (!m_ownsTempSurface || s_tempSurface == nullptr)
        return;
    MultimediaDriverDfb* driver = MultimediaDriverDfb::instance();
    if (driver != nullptr) {
        std::lock_guard<std::mutex> lock(driver->gfxBlitMutex());
        s_tempSurface->Release(s_tempSurface);
    } else {
        s_tempSurface->Release(s_tempSurface);
    }
    s_tempSurface = nullptr;
    m_ownsTempSurface = false;
    releaseCharge(kTempCharge);
}

} // namespace KELO
