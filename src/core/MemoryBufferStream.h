#ifndef CORE_MEMORYBUFFERSTREAM_H
#define CORE_MEMORYBUFFERSTREAM_H
// A BufferStream over bytes it owns: the readable range is [0, size()) and never changes, so
// every seek inside it (end included) succeeds and read() never blocks.
//
// Threads: one reader at a time; the bytes themselves are immutable after construction.
#include "core/BufferStream.h"

#include <string>
#include <vector>

namespace KELO {

class MemoryBufferStream : public BufferStream
{
public:
    MemoryBufferStream() = default;
    explicit MemoryBufferStream(std::vector<uint8> bytes);
    MemoryBufferStream(const void* data, uint32 size);
    explicit MemoryBufferStream(const std::string& bytes);

    Status seek(int64 offset, Whence whence) override;
    int64 tell() const override { return m_position; }
    Status bounds(int64* first, int64* end) const override;
    Status read(void* buffer, uint32 size, uint32* bytesRead) override;

    const uint8* data() const { return m_bytes.data(); }
    uint32 size() const { return static_cast<uint32>(m_bytes.size()); }

private:
    std::vector<uint8> m_bytes;
    int64 m_position = 0;
};

} // namespace KELO

#endif
