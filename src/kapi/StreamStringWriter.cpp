// Kapi::Stream::StringWriter: overwrite-then-append into a std::string.
#include "kapi/StreamStringWriter.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace Kapi {
namespace Stream {

bool StringWriter::write_i(const void* data, size_t length)
{
    const char* bytes = static_cast<const char*>(data);
    const size_t at = m_start + m_position;
    const size_t overlap = std::min(length, m_target->size() - at);
    try {
        // Grow first, so that a failed allocation leaves the string as it was.
        m_target->reserve(at + length);
        m_target->replace(at, overlap, bytes, overlap);
        m_target->append(bytes + overlap, length - overlap);
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        return false;
    }
    m_position += length;
    return true;
}

bool StringWriter::seek(size_t position)
{
    if (!ok() || position > m_target->size() - m_start)
        return fail_i();
    m_position = position;
    return true;
}

} // namespace Stream
} // namespace Kapi
