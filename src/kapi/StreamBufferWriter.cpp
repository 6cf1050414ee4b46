// Kapi::Stream::BufferWriter: bounds-checked writes into a caller's byte area.
#include "kapi/StreamBufferWriter.h"

#include <cstring>

namespace Kapi {
namespace Stream {

bool BufferWriter::write_i(const void* data, size_t length)
{
    if (length > remaining())
        return false;
    memcpy(m_data + m_position, data, length);
    m_position += length;
    return true;
}

bool BufferWriter::seek(size_t position)
{
    if (!ok() || position > m_capacity)
        return fail_i();
    m_position = position;
    return true;
}

} // namespace Stream
} // namespace Kapi
