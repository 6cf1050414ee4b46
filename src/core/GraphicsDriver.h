#ifndef CORE_GRAPHICSDRIVER_H
#define CORE_GRAPHICSDRIVER_H
// Graphics driver interfaces: the surface factory (Graphics), off-screen surfaces (Surface),
// the display planes (Layer) and the mixer that hands the planes out (Mixer), with their
// listeners. Operations returning int32 give a KELO::Status. Surfaces made by CreateSurface or
// CreateSurfaceFromImage are given back with DestroySurface; layers, the mixer and the graphics
// object belong to the multimedia driver.
//
// Threads: listener callbacks arrive on the driver's own threads (image decode, flip); a
// receiver only records or posts the event. A listener's `context` is the one given to
// AddListener and `eventMask` selects the events wanted.
#include "core/DriverTypes.h"
#include "core/KeloStatus.h"

namespace KELO {

class Surface;

class GraphicsListener
{
public:
    enum Event : int32
    {
        ReduceSurfaceMemoryNow = 1
    };
    virtual ~GraphicsListener() = default;
    virtual void Callback(void* context, Event event, unsigned value) = 0;
};

class SurfaceListener
{
public:
    enum Event : int32
    {
        BlitCompleted = 1,
        DecodeCompleted = 2,
        DecodeFailed = 4
    };
    virtual ~SurfaceListener() = default;
    virtual void Callback(void* context, Event event) = 0;
};

class LayerListener
{
public:
    enum Event : int32
    {
        LayerUpdated = 1,
        LayerFlipped = 2
    };
    virtual ~LayerListener() = default;
    virtual void Callback(void* context, Event event) = 0;
};

class Graphics
{
public:
    enum Capabilities : int32
    {
        hasPaletteSupport = 2,
        usesBGRFormat = 4,
        usesPremultipliedAlpha = 8
    };

    Graphics() = default;
    Graphics(const Graphics&) = delete;
    Graphics& operator=(const Graphics&) = delete;

    // Slot order is fixed.
    virtual ~Graphics() = default;
    virtual int GetCapabilities() const = 0; // Capabilities bits
    virtual int32 AddListener(void* context, GraphicsListener* listener, int eventMask) = 0;
    virtual int32 RemoveListener(GraphicsListener* listener) = 0;
    virtual int32 CreateSurface(Surface** surface, unsigned width, unsigned height,
                                PixelFormat format, bool video) = 0;
    virtual int32 DestroySurface(Surface* surface) = 0;
    // Decodes asynchronously; the surface listener hears DecodeCompleted or DecodeFailed.
    virtual int32 CreateSurfaceFromImage(Surface** surface, BufferStream* stream,
                                         ImageFormat format, void* context,
                                         SurfaceListener* listener, bool keepAspect,
                                         bool video) = 0;
    virtual int32 CreatePalette(PixelFormat format, const Pixel* colours, int* paletteId) = 0;
    virtual int32 DestroyPalette(int paletteId) = 0;
    // Reads the image header to learn its size.
    virtual int32 PrepareSurfaceFromImage(BufferStream* stream, ImageFormat format,
                                          ImageGeometry* geometry) = 0;
};

class Surface
{
public:
    enum BlendingMode : int32
    {
        sourceAlpha = 0,
        destinationAlpha = 1
    };

    Surface() = default;
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    // Slot order is fixed.
    virtual ~Surface() = default;
    virtual int GetCapabilities() const = 0;
    // `size` receives pitch x height.
    virtual int32 GetInfo(int* width, int* height, PixelFormat* format, int* pitch,
                          int* size) const = 0;
    virtual int32 SetPalette(int paletteId) = 0;
    virtual int32 GetPalette(int* paletteId) = 0;
    // The first pixel, or null when the surface cannot be locked.
    virtual void* Lock() const = 0;
    virtual void* LockUncached() const = 0;
    virtual int32 Unlock() const = 0;
    virtual int32 SetClippingRectangle(const Rectangle& rectangle) = 0;
    virtual int32 GetClippingRectangle(Rectangle* rectangle) = 0;
    virtual int32 SetColor(const Pixel& colour) = 0;
    virtual int32 GetColor(Pixel* colour) const = 0;
    virtual int32 SetAlpha(uint8 alpha) = 0;
    virtual int32 GetAlpha(uint8* alpha) const = 0;
    virtual int32 SetBlendingMode(const BlendingMode& mode) = 0;
    virtual int32 GetBlendingMode(BlendingMode* mode) const = 0;
    virtual int32 SetAffLevel(Level level) = 0;
    virtual int32 GetAffLevel(Level* level) const = 0;
    virtual int32 Copy(const Rectangle& destination, const Surface& source,
                       const Rectangle& sourceRectangle) = 0;
    virtual int32 Blit(const Rectangle& destination, const Surface& source,
                       const Rectangle& sourceRectangle) = 0;
    virtual int32 Fill(const Rectangle& rectangle, const Pixel& colour) = 0;
    virtual int32 BlendedFill(const Rectangle& rectangle, const Pixel& colour) = 0;
    virtual int32 LoadImage(BufferStream* stream, ImageFormat format) = 0;
    virtual int32 AddListener(void* context, SurfaceListener* listener, int eventMask) = 0;
    virtual int32 RemoveListener(SurfaceListener* listener) = 0;
};

// A display plane, graphics or video.
class Layer
{
public:
    enum Type : int32
    {
        GraphicsMain = 0,
        GraphicsOverlay = 1,
        VideoMain = 2,
        VideoBackground = 3
    };
    struct Capabilities
    {
        Type type = GraphicsMain;
        int pixelFormats = 0; // PixelFormat bits
        bool filters = false;
    };
    struct Format
    {
        uint32 width = 0;
        uint32 height = 0;
        PixelFormat format = RGBA8888;
        ARConversion convMethod = ARCONV_BOXED;
    };

    Layer() = default;
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    // Slot order is fixed.
    virtual ~Layer() = default;
    virtual Capabilities GetCapabilities() const = 0;
    virtual int32 AddListener(void* context, LayerListener* listener, int eventMask) = 0;
    virtual int32 RemoveListener(LayerListener* listener) = 0;
    virtual int32 Show(bool show) = 0;
    virtual int32 SetFormat(const Format& format) = 0;
    virtual int32 GetFormat(Format* format) = 0;
    virtual int32 SetWindow(const Rectangle& window) = 0;
    virtual int32 GetWindow(Rectangle* window) = 0;
    virtual int32 SetColorKey(const Pixel& key) = 0;
    virtual int32 GetColorKey(Pixel* key) const = 0;
    virtual int32 EnableColorKey(bool enable) = 0;
    virtual int32 SetOpacity(uint8 opacity) = 0;
    virtual int32 GetOpacity(uint8* opacity) const = 0;
    virtual int32 SetAffLevel(const Level& level) = 0;
    virtual int32 GetAffLevel(Level* level) const = 0;
    virtual int32 SetVideoEnhancementsLevel(const Level& level) = 0;
    virtual int32 GetVideoEnhancementsLevel(Level* level) const = 0;
    virtual int32 GetSurface(Surface** surface) const = 0;
    virtual int32 LockLayer() = 0;
    virtual int32 UnlockLayer() = 0;
    virtual int32 Flip() = 0;
    // Presents `surface` as the plane's next frame.
    virtual int32 Update(Surface* surface) = 0;
};

class Mixer
{
public:
    enum Capabilities : int32
    {
        hasGraphicsLayer = 1,
        hasGraphicsOverlayLayer = 2,
        hasVideoLayer = 4,
        hasVideoBackgroundLayer = 8,
        hasGraphicsOTFScaler = 16,
        supportsColorKeying = 32,
        supportsAlphaBlending = 64
    };

    Mixer() = default;
    Mixer(const Mixer&) = delete;
    Mixer& operator=(const Mixer&) = delete;

    // Slot order is fixed.
    virtual ~Mixer() = default;
    virtual int GetCapabilities() const = 0; // Capabilities bits
    virtual int32 GetLayer(Layer::Type type, Layer** layer) = 0;
};

} // namespace KELO

#endif
