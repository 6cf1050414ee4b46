// MemoryBufferStream: position arithmetic is done in 64 bits and checked against [0, size]
// before it is stored, so no offset a caller passes can move the position outside the bytes.
#include "core/MemoryBufferStream.h"

#include <cstring>
#include <utility>

namespace KELO {

MemoryBufferStream::MemoryBufferStream(std::vector<uint8> bytes) : m_bytes(std::move(bytes)) {}

MemoryBufferStream::MemoryBufferStream(const void* data, uint32 size)
    : m_bytes(static_cast<const uint8*>(data), static_cast<const uint8*>(data) + size)
{
}

MemoryBufferStream::MemoryBufferStream(const std::string& bytes)
    : m_bytes(bytes.begin(), bytes.end())
{
}

Status MemoryBufferStream::seek(int64 offset, Whence whence)
{
    const int64 size = static_cast<int64>(m_bytes.size());
    int64 base = 0;
    switch (whence) {
    case FromStart:
        base = 0;
        break;
    case FromCurrent:
        base = m_position;
        break;
    case FromEnd:
        base = size;
        break;
    default:
        return INVALID_ARGUMENTS;
    }
    // base is within [0, size], so only an offset outside [-base, size - base] is refused;
    // comparing this way cannot overflow.
    if (offset < -base || offset > size - base)
        return INVALID_ARGUMENTS;
    m_position = base + offset;
    return SUCCESS;
}

Status MemoryBufferStream::bounds(int64* first, int64* end) const
{
    if (first == nullptr || end == nullptr)
        return INVALID_ARGUMENTS;
    *first = 0;
    *end = static_cast<int64>(m_bytes.size());
    return SUCCESS;
}

Status MemoryBufferStream::read(void* buffer, uint32 size, uint32* bytesRead)
{
    if (bytesRead != nullptr)
        *bytesRead = 0;
    if (bytesRead == nullptr || (buffer == nullptr && size != 0))
        return INVALID_ARGUMENTS;
    const uint64 left = m_bytes.size() - static_cast<uint64>(m_position);
    const uint32 count = left < size ? static_cast<uint32>(left) : size;
    if (count != 0)
        std::memcpy(buffer, m_bytes.data() + m_position, count);
    m_position += count;
    *bytesRead = count;
    return SUCCESS;
}

} // namespace KELO
