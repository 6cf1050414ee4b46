#ifndef CORE_BUFFERSTREAM_H
#define CORE_BUFFERSTREAM_H
// KELO::BufferStream: a readable byte stream with a position, the common shape of image bytes
// handed to the graphics driver and of the media data the platform player pulls.
//
// Positions are absolute byte offsets. bounds() gives the readable range as a half-open
// interval [first, end): first == end means no data. The invariant first <= tell() <= end
// holds after every call; a seek that would break it fails with INVALID_ARGUMENTS and leaves
// the position unchanged. A stream fed by a producer on another thread may grow `end` over
// time; such a stream's read() blocks until at least one byte, the end of the data or a
// failure, and may support only the seeks it can serve (others answer NOT_SUPPORTED).
//
// Threads: a stream is read by one thread at a time; implementations say whether more is
// allowed.
#include "core/KeloStatus.h"
#include "core/MediaPlayerDriver.h"
#include "kapi/KapiTypes.h"

namespace KELO {

class BufferStream
{
public:
    enum Whence : int32
    {
        FromStart = 0,
        FromCurrent = 1,
        FromEnd = 2
    };

    BufferStream() = default;
    BufferStream(const BufferStream&) = delete;
    BufferStream& operator=(const BufferStream&) = delete;
    virtual ~BufferStream() = default;

    // Moves the position to `offset` relative to `whence`: FromStart makes `offset` the
    // absolute position, FromCurrent adds it to tell(), FromEnd adds it to `end`.
    virtual Status seek(int64 offset, Whence whence) = 0;
    virtual int64 tell() const = 0;
    virtual Status bounds(int64* first, int64* end) const = 0;
    // Copies up to `size` bytes from the position into `buffer` and advances by the count,
    // stored in `*bytesRead` (always written). SUCCESS with a count of 0 means the end of the
    // data; a short count is not an error.
    virtual Status read(void* buffer, uint32 size, uint32* bytesRead) = 0;
    // Buffering state for the player: length = end - first, bytesLeft = end - tell(),
    // completelyDownloaded = no more data will arrive. The base answer describes a stream
    // whose data is all present.
    virtual Status getInfo(MediaBuffer::BufferInfo* info) const;
};

// Reads until `size` bytes, the end of the data or a failure; `*bytesRead` gets the count.
// A short count with SUCCESS means the data ended first.
Status readFully(BufferStream& stream, void* buffer, uint32 size, uint32* bytesRead);

} // namespace KELO

#endif
