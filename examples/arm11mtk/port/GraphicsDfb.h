#ifndef ARM11MTK_PORT_GRAPHICSDFB_H
#define ARM11MTK_PORT_GRAPHICSDFB_H
// The surface factory over DirectFB and its surface-memory budget. Invariant:
// m_usedSurfaceSpace <= m_maxSurfaceMemory is checked before every charge, and the sum of the
// charges held by live surfaces (plus the temporary surface) equals m_usedSurfaceSpace. A request
// whose charge exceeds what is left fails with OUT_OF_MEMORY before DirectFB is asked.
//
// The temporary surface (one per process, 1280 x 720 ARGB) is the scratch target of scaled
// blending blits; it holds a charge of 3,686,400 bytes while it exists.
//
// Threads: the budget has its own mutex; surface creation may run on any thread.
#include "core/GraphicsDriver.h"

#include <directfb.h>

#include <memory>
#include <mutex>

namespace KELO {

class SurfaceDfb;

class GraphicsDfb : public Graphics
{
public:
    static constexpr int kTempWidth = 1280;
    static constexpr int kTempHeight = 720;
    static constexpr unsigned kTempCharge = 1280u * 720u * 4u;
    static constexpr unsigned kDefaultSurfaceMemory = 64u * 1024u * 1024u;

    explicit GraphicsDfb(unsigned maxSurfaceMemory = kDefaultSurfaceMemory);
    ~GraphicsDfb() override;

    int GetCapabilities() const override;
    int32 AddListener(void* context, GraphicsListener* listener, int eventMask) override;
    int32 RemoveListener(GraphicsListener* listener) override;
    int32 CreateSurface(Surface** surface, unsigned width, unsigned height, PixelFormat format,
                        bool video) override;
    int32 DestroySurface(Surface* surface) override;
    // PNG and JPEG are decoded by DirectFB inside the call; on SUCCESS the listener hears
    // DecodeCompleted before the call returns, on failure it hears nothing (the status is the
    // answer). Every failure to make the surface answers OUT_OF_MEMORY; an unreadable header
    // INVALID_ARGUMENTS; other image kinds go to the software decoders (NOT_SUPPORTED here).
    int32 CreateSurfaceFromImage(Surface** surface, BufferStream* stream, ImageFormat format,
                                 void* context, SurfaceListener* listener, bool keepAspect,
                                 bool video) override;
    int32 CreatePalette(PixelFormat format, const Pixel* colours, int* paletteId) override;
    int32 DestroyPalette(int paletteId) override;
    int32 PrepareSurfaceFromImage(BufferStream* stream, ImageFormat format,
                                  ImageGeometry* geometry) override;

    // Creates the shared temporary surface, charged to this object; false (and no charge held)
    // on failure or when another GraphicsDfb already made it.
    bool CreateTemporarySurface();
    void DestroyTemporarySurface();
    static IDirectFBSurface* temporarySurface() { return s_tempSurface; }

    void releaseCharge(unsigned bytes);
    unsigned usedSurfaceSpace() const;
    unsigned maxSurfaceMemory() const;
    void setMaxSurfaceMemory(unsigned bytes);

private:
    bool charge_i(unsigned bytes);
    // Replaces the estimated `charge` of a created surface by its real size (stride x height)
    // and hands the surface out.
    Surface* settleCharge_i(std::unique_ptr<SurfaceDfb> created, unsigned charge);

    unsigned m_usedSurfaceSpace = 0;
    unsigned m_maxSurfaceMemory = 0;
    mutable std::mutex m_memoryLock;
    bool m_ownsTempSurface = false; // this object made s_tempSurface and holds its charge
    GraphicsListener* m_listener = nullptr;
    void* m_listenerContext = nullptr;

    static IDirectFBSurface* s_tempSurface;
};

} // namespace KELO

#endif
