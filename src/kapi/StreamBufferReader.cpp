// Kapi::Stream::BufferReader: bounds-checked reads over a caller's byte array.
#include "kapi/StreamBufferReader.h"

#include <cstring>

namespace Kapi {
namespace Stream {

bool BufferReader::read_i(void* out, size_t length)
{
    if (length > remaining())
        return false;
    memcpy(out, m_data + m_position, length);
    m_position += length;
    return true;
}

bool BufferReader::skip_i(size_t length)
{
    if (length > remaining())
        return false;
    m_position += length;
    return true;
}

bool BufferReader::seek(size_t position)
{
    if (!ok() || position > m_size) {
        setFailed();
        return false;
    }
    m_position = position;
    return true;
}

} // namespace Stream
} // namespace Kapi
