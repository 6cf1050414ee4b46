#ifndef KAPI_BUFFER_H
#define KAPI_BUFFER_H
// Kapi::Buffer: one owned byte area taken from a BufferAllocator. The area is `reserved` bytes
// long; the valid bytes are [begin, end) inside it, so 0 <= begin <= end <= reserved always
// holds and length = end - begin. A buffer with no area has data() == nullptr and all four
// numbers 0. The area is returned to the same allocator that gave it.
//
// Ownership: a Buffer is the only owner of its area. It cannot be copied (clone() makes an
// explicit deep copy); moving hands the area over and leaves the source empty.
//
// protect() freezes a buffer: from then on every change made through the buffer (bytes, range
// or size) is refused, and asking for writable bytes ends the process. Memory protection of
// the pages is not used (areas come from arbitrary allocators and share pages), so protection
// is a contract enforced by this class only; const access is unaffected.
//
// A Buffer is not synchronised: one thread at a time, or const access only.
#include "kapi/BufferAllocator.h"
#include "kapi/KapiTypes.h"
#include "kapi/Status.h"
#include "kapi/vLog.h"

#include <memory>
#include <string>

namespace Kapi {

class Buffer
{
public:
    // An empty buffer; a null allocator means DefaultAllocator::getInstance().
    explicit Buffer(BufferAllocator* allocator = nullptr);
    // A buffer with an area of `reservedSize` bytes and no valid bytes. When the allocator has
    // no memory the buffer stays empty (getReservedSize() == 0).
    explicit Buffer(unsigned reservedSize, BufferAllocator* allocator = nullptr);
    ~Buffer();

    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    Buffer(Buffer&& other) noexcept;
    Buffer& operator=(Buffer&& other) noexcept;

    // A deep copy on the same allocator: same reserved size and range, same valid bytes,
    // unprotected. Null when memory is short.
    std::unique_ptr<Buffer> clone() const;

    BufferAllocator* getAllocator() const { return mAllocator; }
    // The start of the area (not of the valid bytes); null when there is no area.
    const unsigned char* getData() const { return mData; }
    // As getData(), for writing; ends the process on a protected buffer.
    unsigned char* getWritableData();
    // The first valid byte.
    const unsigned char* getBeginPtr() const { return mData + mBegin; }
    unsigned getBegin() const { return mBegin; }
    unsigned getEnd() const { return mEnd; }
    unsigned getLength() const { return mEnd - mBegin; }
    unsigned getReservedSize() const { return mReserved; }
    bool isProtected() const { return mProtected; }

    // Every mutator below returns false (and changes nothing) when the buffer is protected,
    // the arguments break the invariant, or memory is short.

    // Grows the area to at least `size` bytes, keeping its contents and range. Never shrinks.
    bool reserve(unsigned size);
    // Sets the valid range to [begin, end) inside the area.
    bool setRange(unsigned begin, unsigned end);
    bool setBegin(unsigned begin) { return setRange(begin, mEnd); }
    bool setEnd(unsigned end) { return setRange(mBegin, end); }
    // Replaces the contents by `length` bytes at offset 0 (range [0, length)).
    bool assign(const void* bytes, unsigned length);
    // Adds `length` bytes after the valid bytes, growing the area as needed.
    bool append(const void* bytes, unsigned length);
    // Returns the area to the allocator; the buffer becomes empty.
    bool clear();

    // Replaces the contents with the whole file at `path` (range [0, size)). IO_ERROR when the
    // file cannot be opened or read, OUTOFBOUNDS when it is too large for one area,
    // PIPELINE_OUT_OF_MEMORY when the allocator has no memory, INVALID_ARGUMENTS when the
    // buffer is protected. On any failure the buffer is unchanged.
    Status readFromFile(const std::string& path);
    // Writes the valid bytes to `path`, replacing the file only once all bytes are on disk (a
    // temporary file beside it is renamed over it). IO_ERROR on failure; the old file is then
    // untouched.
    Status writeToFile(const std::string& path) const;

    // Freezes the buffer (see above). Cannot be undone.
    void protect() { mProtected = true; }

    // A hex dump of the first `maxBytes` valid bytes, one line per 16 bytes:
    // "00000010  41 42 43 ...                                       |ABC...|\n" - the offset
    // counts from the first valid byte; unprintable bytes show as '.'. A cut-off dump ends
    // with "... N more bytes\n".
    std::string dump(unsigned maxBytes = 256) const;
    // The same lines sent to the log under `source` at `level`, after a header line
    // "<title>: Buffer@<p> length <n> (begin <b>, end <e>, reserved <r>)".
    void dump(vLogSource source, vLogLevel level, const char* title, unsigned maxBytes = 256) const;

private:
    void release_i();

    BufferAllocator* mAllocator;
    unsigned char* mData = nullptr;
    unsigned mBegin = 0;
    unsigned mEnd = 0;
    unsigned mReserved = 0;
    bool mProtected = false;
};

} // namespace Kapi

#endif
