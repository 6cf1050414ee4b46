#ifndef CORE_IMAGEGEOMETRY_H
#define CORE_IMAGEGEOMETRY_H
// The image module's header reader: what an image announces about itself before it is
// decoded, and the entry point of the software decoders.
//
// ImageGeometry describes one image header. A geometry that getGeometry() returned always has
// a known kind and width and height of at least 1; the other fields are what the header says,
// already checked for consistency (a PNG bit depth that its colour type allows, a JPEG
// precision of 8, 12 or 16 and 1 to 4 components).
//
// Kinds 1 (JPEG) and 2 (PNG) are decoded by the platform's graphics library; any further kind
// belongs to the software decoders, and this build has none: createSurfaceFromImage() answers
// NOT_SUPPORTED for every image.
#include "core/DriverTypes.h"
#include "core/KeloStatus.h"

namespace KELO {

class BufferStream;
class Graphics;
class Surface;
class SurfaceListener;

struct ImageGeometry
{
    enum Kind : int32
    {
        KIND_NONE = 0,
        KIND_JPEG = 1,
        KIND_PNG = 2,
        KIND_GIF = 3
    };

    Kind kind = KIND_NONE;
    uint32 width = 0;
    uint32 height = 0;
    // Bits per sample: PNG bit depth, JPEG sample precision, GIF colour-table bits.
    uint8 bitsPerComponent = 0;
    // Samples per pixel as stored (a palette index counts as one).
    uint8 components = 0;
    // PNG colour type (0 grey, 2 RGB, 3 palette, 4 grey + alpha, 6 RGBA); 0 for other kinds.
    uint8 colourType = 0;
    // JPEG start-of-frame marker number (0 baseline, 1 extended, 2 progressive, ...).
    uint8 jpegProcess = 0;
    // JPEG progressive process or PNG Adam7 interlacing: the picture arrives in passes.
    bool progressive = false;
    // The image carries an alpha channel (PNG colour types 4 and 6).
    bool hasAlpha = false;
};

namespace Multimedia {

// Image headers larger than this are not followed (a JPEG whose frame header lies further in
// is refused), so a hostile stream cannot make the reader walk gigabytes.
constexpr uint32 kMaxHeaderScan = 4u * 1024u * 1024u;

// Reads the image header from the first readable byte of `stream` and fills `geometry`. The
// content decides the kind; `format` is only the caller's expectation (FMT_UNKNOWN: detect).
// The stream position is restored whatever the answer. INVALID_ARGUMENTS for null arguments
// and for data that is not a well-formed JPEG, PNG or GIF header; IO_ERROR when the stream
// fails. `geometry` is written only on SUCCESS.
Status getGeometry(BufferStream* stream, ImageFormat format, ImageGeometry* geometry);

// The software decoders: decode `stream` (whose header gave `geometry`) into a new surface of
// `graphics`. None are built in; always NOT_SUPPORTED with `*surface` null.
Status createSurfaceFromImage(Graphics* graphics, Surface** surface, BufferStream* stream,
                              const ImageGeometry& geometry, void* context,
                              SurfaceListener* listener);

} // namespace Multimedia
} // namespace KELO

#endif
