#ifndef ARM11MTK_PORT_SURFACEDFB_H
#define ARM11MTK_PORT_SURFACEDFB_H
// An off-screen DirectFB surface (video-only) with the fill, copy and blended blit operations
// the UI engine draws with. The clipping rectangle limits every fill and blit; `m_enableBlend`
// is true except for the duration of a replacing Fill or Copy. `m_dfbResult` holds the result of
// the last DirectFB call: a constructor that leaves it non-zero made an unusable surface that the
// factory deletes. `m_allocatedSize` is the charge this surface holds on the graphics budget;
// the destructor gives it back.
//
// Threads: every DirectFB call runs under the multimedia driver's mutex, so surfaces may be
// used from the UI thread and the image threads alike; the plain fields (colour, alpha, clip,
// blending mode) belong to the one thread that draws into the surface.
#include "core/GraphicsDriver.h"

#include <directfb.h>

namespace KELO {

class GraphicsDfb;

class SurfaceDfb : public Surface
{
public:
    SurfaceDfb(unsigned width, unsigned height, PixelFormat format);
    // Decodes the whole readable range of `stream` (a PNG or JPEG image) with DirectFB's image
    // providers into a new surface of the image's size and the provider's pixel format. The
    // stream is read to its end. `context` and `listener` are stored as the surface listener.
    SurfaceDfb(BufferStream* stream, ImageFormat format, void* context, SurfaceListener* listener);
    ~SurfaceDfb() override;

    static DFBSurfacePixelFormat KELOToDfbPixelFormat(PixelFormat format);
    static PixelFormat DfbToKELOPixelFormat(DFBSurfacePixelFormat format);
    // Bytes per pixel charged to the budget for `format`.
    static unsigned bytesPerPixel(PixelFormat format);

    int GetCapabilities() const override;
    int32 GetInfo(int* width, int* height, PixelFormat* format, int* pitch,
                  int* size) const override;
    int32 SetPalette(int paletteId) override;
    int32 GetPalette(int* paletteId) override;
    void* Lock() const override;
    void* LockUncached() const override;
    int32 Unlock() const override;
    int32 SetClippingRectangle(const Rectangle& rectangle) override;
    int32 GetClippingRectangle(Rectangle* rectangle) override;
    int32 SetColor(const Pixel& colour) override;
    int32 GetColor(Pixel* colour) const override;
    int32 SetAlpha(uint8 alpha) override;
    int32 GetAlpha(uint8* alpha) const override;
    int32 SetBlendingMode(const BlendingMode& mode) override;
    int32 GetBlendingMode(BlendingMode* mode) const override;
    int32 SetAffLevel(Level level) override;
    int32 GetAffLevel(Level* level) const override;
    int32 Copy(const Rectangle& destination, const Surface& source,
               const Rectangle& sourceRectangle) override;
    int32 Blit(const Rectangle& destination, const Surface& source,
               const Rectangle& sourceRectangle) override;
    int32 Fill(const Rectangle& rectangle, const Pixel& colour) override;
    int32 BlendedFill(const Rectangle& rectangle, const Pixel& colour) override;
    int32 LoadImage(BufferStream* stream, ImageFormat format) override;
    int32 AddListener(void* context, SurfaceListener* listener, int eventMask) override;
    int32 RemoveListener(SurfaceListener* listener) override;

    DFBResult dfbResult() const { return m_dfbResult; }
    IDirectFBSurface* dfbSurface() const { return m_dfbSurface; }
    unsigned allocatedSize() const { return m_allocatedSize; }
    // Records the charge held on `graphics`; the destructor gives it back.
    void setCharge(GraphicsDfb* graphics, unsigned bytes);

private:
    void readStride_i();
    void decodeImage_i(IDirectFB* dfb, const uint8* bytes, unsigned length);

    int m_width = 0;
    int m_height = 0;
    int m_stride = 0;
    PixelFormat m_format = RGBA8888;
    Pixel m_color;
    uint8 m_alpha = 0;
    Rectangle m_clipRectangle;
    mutable bool m_locked = false;
    BlendingMode m_BlendingMode = sourceAlpha;
    bool m_enableBlend = true;
    void* m_listenerContext = nullptr;
    SurfaceListener* m_listener = nullptr;
    IDirectFBSurface* m_dfbSurface = nullptr;
    unsigned m_allocatedSize = 0;
    GraphicsDfb* m_graphics = nullptr;
    DFBResult m_dfbResult = DFB_OK;
};

// Clips `destination` against `clip` and derives the matching part of `source` (scaled with
// rounding to nearest when the destination was cut). False when nothing is left to draw.
bool clipBlitRectangles(const Rectangle& clip, Rectangle& destination, Rectangle& source);

} // namespace KELO

#endif
