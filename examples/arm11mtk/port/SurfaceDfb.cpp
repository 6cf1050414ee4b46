// SurfaceDfb: pixel-format mapping, the plain fields, and the fill and blit paths. Blending
// blits choose their flags from the source surface's colour and global alpha; scaled blending
// blits stretch into the shared temporary surface first so that blending is done unscaled.
#include "SurfaceDfb.h"

#include "DfbResult.h"
#include "GraphicsDfb.h"
#include "MultimediaDriverDfb.h"
#include "core/BufferStream.h"
#include "kapi/vLog.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <mutex>
#include <new>

namespace KELO {

namespace {

std::mutex& driverMutex()
{
    return MultimediaDriverDfb::instance()->gfxBlitMutex();
}

bool intersect(const Rectangle& a, const Rectangle& b, Rectangle& out)
{
    const int32 left = std::max(a.x, b.x);
    const int32 top = std::max(a.y, b.y);
    const int32 right = std::min(a.x + a.width, b.x + b.width);
    const int32 bottom = std::min(a.y + a.height, b.y + b.height);
    out = {left, top, right - left, bottom - top};
    return out.width > 0 && out.height > 0;
}

// One axis of the source derivation: the destination span [dstStart, dstStart + dstLength) was
// cut to [clipStart, clipStart + clipLength); cut the source span by the same proportion.
bool clipAxis(int32 dstStart, int32 dstLength, int32 clipStart, int32 clipLength, int32& srcStart,
              int32& srcLength)
{
    const int64 cutFront = clipStart - dstStart;
    const int64 cutBack = (int64(dstStart) + dstLength) - (int64(clipStart) + clipLength);
    if (cutFront == 0 && cutBack == 0)
        return srcLength > 0;
    const int64 half = dstLength / 2;
    int64 scaledFront = (cutFront * srcLength + half) / dstLength;
    int64 scaledBack = (cutBack * srcLength + half) / dstLength;
    if (scaledFront + scaledBack > srcLength)
        scaledBack = srcLength - scaledFront;
    srcStart = static_cast<int32>(srcStart + scaledFront);
    srcLength = static_cast<int32>(srcLength - scaledFront - scaledBack);
    return srcLength > 0;
}

bool isZero(const Pixel& pixel)
{
    return pixel.red == 0 && pixel.green == 0 && pixel.blue == 0 && pixel.alpha == 0;
}

// The whole readable range of `stream` in a new array; null when it is empty, too large to
// hold, cannot be allocated or cannot be read completely.
std::unique_ptr<uint8[]> readWholeStream(BufferStream* stream, unsigned& length)
{
    length = 0;
    int64 first = 0;
    int64 end = 0;
    if (stream == nullptr || stream->bounds(&first, &end) != SUCCESS || end <= first ||
        end - first > 0x7FFFFFFF || stream->seek(first, BufferStream::FromStart) != SUCCESS)
        return nullptr;
    const unsigned size = static_cast<unsigned>(end - first);
    std::unique_ptr<uint8[]> bytes(new (std::nothrow) uint8[size]);
    if (bytes == nullptr)
        return nullptr;
    uint32 got = 0;
    if (readFully(*stream, bytes.get(), size, &got) != SUCCESS || got != size)
        return nullptr;
    length = size;
    return bytes;
}

} // namespace

bool clipBlitRectangles(const Rectangle& clip, Rectangle& destination, Rectangle& source)
{
    Rectangle clipped;
    if (destination.width <= 0 || destination.height <= 0 || !intersect(destination, clip, clipped))
        return false;
    if (!clipAxis(destination.x, destination.width, clipped.x, clipped.width, source.x,
                  source.width))
        return false;
    if (!clipAxis(destination.y, destination.height, clipped.y, clipped.height, source.y,
                  source.height))
        return false;
    destination = clipped;
    return true;
}

DFBSurfacePixelFormat SurfaceDfb::KELOToDfbPixelFormat(PixelFormat format)
{
    switch (format) {
    case RGBA8888:
    case RGB888:
        return DSPF_ARGB;
    case RGB565:
        return DSPF_RGB16;
    case RGBA5551:
        return DSPF_ARGB1555;
    case RGBA4444:
        return DSPF_ARGB4444;
    case YCBCR:
        return DSPF_UYVY;
    case CLUT8:
        return DSPF_LUT8;
    case ALPHA8:
        return DSPF_A8;
    case YUV444:
        return DSPF_AYUV;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_ERROR,
                    "GraphicsDfb: KELOToDfbPixelFormat: not supported  ");
    return DSPF_ARGB;
}

PixelFormat SurfaceDfb::DfbToKELOPixelFormat(DFBSurfacePixelFormat format)
{
    switch (format) {
    case DSPF_ARGB:
    case DSPF_RGB32:
        return RGBA8888;
    case DSPF_RGB16:
        return RGB565;
    case DSPF_ARGB1555:
        return RGBA5551;
    case DSPF_ARGB4444:
        return RGBA4444;
    case DSPF_UYVY:
        return YCBCR;
    case DSPF_LUT8:
        return CLUT8;
    case DSPF_A8:
        return ALPHA8;
    case DSPF_AYUV:
        return YUV444;
    default:
        break;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_ERROR,
                    "GraphicsDfb: DfbToKELOPixelFormat: not supported %x",
                    static_cast<unsigned>(format));
    return RGBA8888;
}

unsigned SurfaceDfb::bytesPerPixel(PixelFormat format)
{
    switch (format) {
    case RGB565:
    case RGBA5551:
    case RGBA4444:
    case YCBCR:
        return 2;
    case CLUT8:
    case ALPHA8:
        return 1;
    default:
        return 4;
    }
}

SurfaceDfb::SurfaceDfb(unsigned width, unsigned height, PixelFormat format)
    : m_width(static_cast<int>(width)), m_height(static_cast<int>(height)), m_format(format)
{
    MultimediaDriverDfb* driver = MultimediaDriverDfb::instance();
    if (driver == nullptr || driver->dfb() == nullptr) {
        m_dfbResult = DFB_INIT;
        return;
    }
    DFBSurfaceDescription description = {};
    description.flags = static_cast<DFBSurfaceDescriptionFlags>(DSDESC_CAPS | DSDESC_WIDTH |
                                                                DSDESC_HEIGHT | DSDESC_PIXELFORMAT);
    description.caps = DSCAPS_VIDEOONLY;
    description.width = m_width;
    description.height = m_height;
    description.pixelformat = KELOToDfbPixelFormat(format);
    {
        std::lock_guard<std::mutex> lock(driver->gfxBlitMutex());
        IDirectFB* dfb = driver->dfb();
        m_dfbResult = dfb->CreateSurface(dfb, &description, &m_dfbSurface);
        DFB_TRACE_IF_FAILED(m_dfbResult);
        if (m_dfbResult != DFB_OK) {
            m_dfbSurface = nullptr;
            return;
        }
        readStride_i();
    }
    m_clipRectangle = {0, 0, m_width, m_height};
}

SurfaceDfb::SurfaceDfb(BufferStream* stream, ImageFormat, void* context, SurfaceListener* listener)
    : m_listenerContext(context), m_listener(listener)
{
    unsigned length = 0;
    const std::unique_ptr<uint8[]> bytes = readWholeStream(stream, length);
    if (bytes == nullptr) {
        m_dfbResult = DFB_FAILURE;
        return;
    }
    MultimediaDriverDfb* driver = MultimediaDriverDfb::instance();
    if (driver == nullptr || driver->dfb() == nullptr) {
        m_dfbResult = DFB_INIT;
        return;
    }
    std::lock_guard<std::mutex> lock(driver->gfxBlitMutex());
    decodeImage_i(driver->dfb(), bytes.get(), length);
    if (m_dfbResult == DFB_OK)
        readStride_i();
    if (m_dfbResult != DFB_OK && m_dfbSurface != nullptr) {
        m_dfbSurface->Release(m_dfbSurface);
        m_dfbSurface = nullptr;
    }
    if (m_dfbResult == DFB_OK)
        m_clipRectangle = {0, 0, m_width, m_height};
}

// Data buffer over the bytes, an image provider from it, a surface of the provider's
// description (made video-only) and the image rendered into it. Provider and buffer are
// released on every path; the bytes stay the caller's. A step that fails with DFB_OK and no
// object is a DirectFB fault reported as DFB_FAILURE.
void SurfaceDfb::decodeImage_i(IDirectFB* dfb, const uint8* bytes, unsigned length)
{
    IDirectFBDataBuffer* buffer = nullptr;
    IDirectFBImageProvider* provider = nullptr;
    DFBSurfaceDescription description = {};
    bool missingObject = false;

    DFBDataBufferDescription bufferDescription = {};
    bufferDescription.flags = DBDESC_MEMORY;
    bufferDescription.memory.data = bytes;
    bufferDescription.memory.length = length;
    m_dfbResult = dfb->CreateDataBuffer(dfb, &bufferDescription, &buffer);
    DFB_TRACE_IF_FAILED(m_dfbResult);
    missingObject = m_dfbResult == DFB_OK && buffer == nullptr;
    if (m_dfbResult == DFB_OK && !missingObject) {
        m_dfbResult = buffer->CreateImageProvider(buffer, &provider);
        DFB_TRACE_IF_FAILED(m_dfbResult);
        missingObject = m_dfbResult == DFB_OK && provider == nullptr;
    }
    if (m_dfbResult == DFB_OK && !missingObject) {
        m_dfbResult = provider->GetSurfaceDescription(provider, &description);
        DFB_TRACE_IF_FAILED(m_dfbResult);
    }
    if (m_dfbResult == DFB_OK && !missingObject) {
        description.flags =
            static_cast<DFBSurfaceDescriptionFlags>(description.flags | DSDESC_CAPS);
        description.caps = static_cast<DFBSurfaceCapabilities>(description.caps | DSCAPS_VIDEOONLY);
        m_dfbResult = dfb->CreateSurface(dfb, &description, &m_dfbSurface);
        DFB_TRACE_IF_FAILED(m_dfbResult);
        missingObject = m_dfbResult == DFB_OK && m_dfbSurface == nullptr;
    }
    if (m_dfbResult == DFB_OK && !missingObject) {
        m_dfbResult = provider->RenderTo(provider, m_dfbSurface, nullptr);
        DFB_TRACE_IF_FAILED(m_dfbResult);
    }
    if (provider != nullptr)
        provider->Release(provider);
    if (buffer != nullptr)
        buffer->Release(buffer);
    if (missingObject) {
        std::printf("SurfaceDfb::SurfaceDfb bug in error reporting\n");
        m_dfbResult = DFB_FAILURE;
    }
    if (m_dfbResult != DFB_OK)
        return;
    m_width = description.width;
    m_height = description.height;
    DFBSurfacePixelFormat format = description.pixelformat;
    if ((description.flags & DSDESC_PIXELFORMAT) == 0)
        m_dfbSurface->GetPixelFormat(m_dfbSurface, &format);
    if ((description.flags & (DSDESC_WIDTH | DSDESC_HEIGHT)) != (DSDESC_WIDTH | DSDESC_HEIGHT))
        m_dfbSurface->GetSize(m_dfbSurface, &m_width, &m_height);
    m_format = DfbToKELOPixelFormat(format);
}

SurfaceDfb::~SurfaceDfb()
{
    // Without the driver DirectFB is already gone and took the surface with it.
    MultimediaDriverDfb* driver = MultimediaDriverDfb::instance();
    if (m_dfbSurface != nullptr && driver != nullptr) {
        std::lock_guard<std::mutex> lock(driver->gfxBlitMutex());
        m_dfbSurface->Release(m_dfbSurface);
    }
    if (m_graphics != nullptr)
        m_graphics->releaseCharge(m_allocatedSize);
}

void SurfaceDfb::readStride_i()
{
    void* pixels = nullptr;
    int pitch = 0;
    m_dfbResult = m_dfbSurface->Lock(m_dfbSurface, DSLF_WRITE, &pixels, &pitch);
    DFB_TRACE_IF_FAILED(m_dfbResult);
    if (m_dfbResult != DFB_OK)
        return;
    m_stride = pitch;
    m_dfbSurface->Unlock(m_dfbSurface);
}

void SurfaceDfb::setCharge(GraphicsDfb* graphics, unsigned bytes)
{
    m_graphics = graphics;
    m_allocatedSize = bytes;
}

int SurfaceDfb::GetCapabilities() const
{
    return 0;
}

int32 SurfaceDfb::GetInfo(int* width, int* height, PixelFormat* format, int* pitch, int* size) const
{
    if (width != nullptr)
        *width = m_width;
    if (height != nullptr)
        *height = m_height;
    if (format != nullptr)
        *format = m_format;
    if (pitch != nullptr)
        *pitch = m_stride;
    if (size != nullptr)
        *size = m_stride * m_height;
    return SUCCESS;
}

int32 SurfaceDfb::SetPalette(int)
{
    return NOT_SUPPORTED;
}

int32 SurfaceDfb::GetPalette(int*)
{
    return NOT_SUPPORTED;
}

void* SurfaceDfb::Lock() const
{
    if (m_dfbSurface == nullptr)
        return nullptr;
    std::lock_guard<std::mutex> lock(driverMutex());
    void* pixels = nullptr;
    int pitch = 0;
    const DFBResult result = m_dfbSurface->Lock(m_dfbSurface, DSLF_WRITE, &pixels, &pitch);
    DFB_TRACE_IF_FAILED(result);
    if (result != DFB_OK)
        return nullptr;
    m_locked = true;
    return pixels;
}

void* SurfaceDfb::LockUncached() const
{
    return Lock();
}

int32 SurfaceDfb::Unlock() const
{
    if (m_dfbSurface == nullptr)
        return FAILURE;
    std::lock_guard<std::mutex> lock(driverMutex());
    const DFBResult result = m_dfbSurface->Unlock(m_dfbSurface);
    DFB_TRACE_IF_FAILED(result);
    m_locked = false;
    return result == DFB_OK ? SUCCESS : FAILURE;
}

int32 SurfaceDfb::SetClippingRectangle(const Rectangle& rectangle)
{
    m_clipRectangle = rectangle;
    return SUCCESS;
}

int32 SurfaceDfb::GetClippingRectangle(Rectangle* rectangle)
{
    if (rectangle == nullptr)
        return INVALID_ARGUMENTS;
    *rectangle = m_clipRectangle;
    return SUCCESS;
}

int32 SurfaceDfb::SetColor(const Pixel& colour)
{
    m_color = colour;
    return SUCCESS;
}

int32 SurfaceDfb::GetColor(Pixel* colour) const
{
    if (colour == nullptr)
        return INVALID_ARGUMENTS;
    *colour = m_color;
    return SUCCESS;
}

int32 SurfaceDfb::SetAlpha(uint8 alpha)
{
    m_alpha = alpha;
    return SUCCESS;
}

int32 SurfaceDfb::GetAlpha(uint8* alpha) const
{
    if (alpha == nullptr)
        return INVALID_ARGUMENTS;
    *alpha = m_alpha;
    return SUCCESS;
}

int32 SurfaceDfb::SetBlendingMode(const BlendingMode& mode)
{
    m_BlendingMode = mode;
    return SUCCESS;
}

int32 SurfaceDfb::GetBlendingMode(BlendingMode* mode) const
{
    if (mode == nullptr)
        return INVALID_ARGUMENTS;
    *mode = m_BlendingMode;
    return SUCCESS;
}

int32 SurfaceDfb::SetAffLevel(Level)
{
    return SUCCESS;
}

int32 SurfaceDfb::GetAffLevel(Level* level) const
{
    if (level == nullptr)
        return INVALID_ARGUMENTS;
    *level = LEVEL_OFF;
    return SUCCESS;
}

int32 SurfaceDfb::Copy(const Rectangle& destination, const Surface& source,
                       const Rectangle& sourceRectangle)
{
    m_enableBlend = false;
    const int32 status = Blit(destination, source, sourceRectangle);
    m_enableBlend = true;
    return status;
}

int32 SurfaceDfb::Fill(const Rectangle& rectangle, const Pixel& colour)
{
    m_enableBlend = false;
    const int32 status = BlendedFill(rectangle, colour);
    m_enableBlend = true;
    return status;
}

int32 SurfaceDfb::BlendedFill(const Rectangle& rectangle, const Pixel& colour)
{
    if (m_dfbSurface == nullptr)
        return FAILURE;
    Rectangle area;
    if (!intersect(rectangle, m_clipRectangle, area))
        return SUCCESS;
    std::lock_guard<std::mutex> lock(driverMutex());
    m_dfbResult =
        m_dfbSurface->SetColor(m_dfbSurface, colour.red, colour.green, colour.blue, colour.alpha);
    DFB_TRACE_IF_FAILED(m_dfbResult);
    if (m_dfbResult == DFB_OK) {
        m_dfbResult =
            m_dfbSurface->SetDrawingFlags(m_dfbSurface, m_enableBlend ? DSDRAW_BLEND : DSDRAW_NOFX);
        DFB_TRACE_IF_FAILED(m_dfbResult);
    }
    if (m_dfbResult == DFB_OK) {
        m_dfbResult =
            m_dfbSurface->FillRectangle(m_dfbSurface, area.x, area.y, area.width, area.height);
        DFB_TRACE_IF_FAILED(m_dfbResult);
    }
    return m_dfbResult == DFB_OK ? SUCCESS : FAILURE;
}

int32 SurfaceDfb::Blit(const Rectangle& destination, const Surface& source,
                       const Rectangle& sourceRectangle)
{
    const SurfaceDfb& from = static_cast<const SurfaceDfb&>(source);
    if (m_dfbSurface == nullptr || from.m_dfbSurface == nullptr)
        return FAILURE;
    Rectangle dst = destination;
    Rectangle src = sourceRectangle;
    if (!clipBlitRectangles(m_clipRectangle, dst, src))
        return SUCCESS;

    std::lock_guard<std::mutex> lock(driverMutex());
    IDirectFBSurface* target = m_dfbSurface;
    const Pixel& colour = from.m_color;
    int flags = DSBLIT_NOFX;
    if (m_enableBlend) {
        m_dfbResult = target->SetPorterDuff(
            target, m_BlendingMode == destinationAlpha ? DSPD_DST_OVER : DSPD_SRC_OVER);
        DFB_TRACE_IF_FAILED(m_dfbResult);
        if (m_dfbResult == DFB_OK) {
            m_dfbResult =
                target->SetColor(target, colour.red, colour.green, colour.blue, colour.alpha);
            DFB_TRACE_IF_FAILED(m_dfbResult);
        }
        if (m_dfbResult != DFB_OK)
            return FAILURE;
        if (from.m_alpha != 0) {
            m_dfbResult = target->SetColor(target, 255, 255, 255, from.m_alpha);
            DFB_TRACE_IF_FAILED(m_dfbResult);
            if (m_dfbResult != DFB_OK)
                return FAILURE;
            flags = DSBLIT_BLEND_ALPHACHANNEL | DSBLIT_BLEND_COLORALPHA;
        } else {
            flags = DSBLIT_BLEND_ALPHACHANNEL | DSBLIT_SRC_PREMULTIPLY | DSBLIT_DST_PREMULTIPLY |
                    DSBLIT_DEMULTIPLY;
            if (!isZero(colour))
                flags |= DSBLIT_COLORIZE;
        }
    }
    m_dfbResult = target->SetBlittingFlags(target, static_cast<DFBSurfaceBlittingFlags>(flags));
    DFB_TRACE_IF_FAILED(m_dfbResult);
    if (m_dfbResult != DFB_OK)
        return FAILURE;

    DFBRectangle srcArea = {src.x, src.y, src.width, src.height};
    if (src.width == dst.width && src.height == dst.height) {
        m_dfbResult = target->Blit(target, from.m_dfbSurface, &srcArea, dst.x, dst.y);
        DFB_TRACE_IF_FAILED(m_dfbResult);
        return m_dfbResult == DFB_OK ? SUCCESS : FAILURE;
    }

    DFBRectangle dstArea = {dst.x, dst.y, dst.width, dst.height};
    IDirectFBSurface* temp = GraphicsDfb::temporarySurface();
    const bool viaTemp = m_enableBlend && temp != nullptr && dst.width <= GraphicsDfb::kTempWidth &&
                         dst.height <= GraphicsDfb::kTempHeight;
    if (!viaTemp) {
        m_dfbResult = target->StretchBlit(target, from.m_dfbSurface, &srcArea, &dstArea);
        DFB_TRACE_IF_FAILED(m_dfbResult);
        return m_dfbResult == DFB_OK ? SUCCESS : FAILURE;
    }

    // Scale first, unblended, then blend 1:1.
    DFBRectangle tempArea = {0, 0, dst.width, dst.height};
    temp->SetColor(temp, colour.red, colour.green, colour.blue, colour.alpha);
    temp->SetBlittingFlags(temp, DSBLIT_NOFX);
    m_dfbResult = temp->StretchBlit(temp, from.m_dfbSurface, &srcArea, &tempArea);
    DFB_TRACE_IF_FAILED(m_dfbResult);
    if (m_dfbResult != DFB_OK)
        return FAILURE;
    m_dfbResult = target->Blit(target, temp, &tempArea, dst.x, dst.y);
    DFB_TRACE_IF_FAILED(m_dfbResult);
    return m_dfbResult == DFB_OK ? SUCCESS : FAILURE;
}

int32 SurfaceDfb::LoadImage(BufferStream*, ImageFormat)
{
    if (m_dfbSurface == nullptr)
        return FAILURE;
    std::lock_guard<std::mutex> lock(driverMutex());
    DFBSurfacePixelFormat format = DSPF_ARGB;
    m_dfbSurface->GetSize(m_dfbSurface, &m_width, &m_height);
    m_dfbSurface->GetPixelFormat(m_dfbSurface, &format);
    m_format = DfbToKELOPixelFormat(format);
    return NOT_SUPPORTED;
}

int32 SurfaceDfb::AddListener(void* context, SurfaceListener* listener, int)
{
    m_listenerContext = context;
    m_listener = listener;
    return SUCCESS;
}

int32 SurfaceDfb::RemoveListener(SurfaceListener* listener)
{
    if (listener != m_listener)
        return INVALID_ARGUMENTS;
    m_listener = nullptr;
    m_listenerContext = nullptr;
    return SUCCESS;
}

} // namespace KELO
