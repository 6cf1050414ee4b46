// The image header reader on arbitrary bytes. Checks: nothing is read past the input (ASan on
// an exact-size copy); the stream position is always put back; a refusal leaves the geometry
// untouched; an accepted geometry has a known kind and a non-zero size, and reading the same
// bytes again, one byte per read, gives the same answer.
#include "core/ImageGeometry.h"
#include "core/MemoryBufferStream.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace KELO;

namespace {

class TrickleStream : public MemoryBufferStream
{
public:
    using MemoryBufferStream::MemoryBufferStream;
    Status read(void* buffer, uint32 size, uint32* bytesRead) override
    {
        return MemoryBufferStream::read(buffer, size < 1 ? size : 1, bytesRead);
    }
};

bool sameGeometry(const ImageGeometry& a, const ImageGeometry& b)
{
    return a.kind == b.kind && a.width == b.width && a.height == b.height &&
           a.bitsPerComponent == b.bitsPerComponent && a.components == b.components &&
           a.colourType == b.colourType && a.jpegProcess == b.jpegProcess &&
           a.progressive == b.progressive && a.hasAlpha == b.hasAlpha;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1u << 20)
        return 0;
    MemoryBufferStream stream(data, static_cast<uint32>(size));
    const int64 start = static_cast<int64>(size / 2);
    stream.seek(start, BufferStream::FromStart);
    ImageGeometry geometry;
    geometry.width = 12345;
    const Status status = Multimedia::getGeometry(&stream, FMT_UNKNOWN, &geometry);
    if (stream.tell() != start)
        abort();
    if (status != SUCCESS) {
        if (status != INVALID_ARGUMENTS || geometry.width != 12345 ||
            geometry.kind != ImageGeometry::KIND_NONE)
            abort();
        return 0;
    }
    if (geometry.kind == ImageGeometry::KIND_NONE || geometry.width == 0 || geometry.height == 0)
        abort();
    TrickleStream trickle(data, static_cast<uint32>(size));
    ImageGeometry again;
    if (Multimedia::getGeometry(&trickle, FMT_PNG, &again) != SUCCESS ||
        !sameGeometry(geometry, again))
        abort();
    return 0;
}
