// Kapi::Stream::Reader: the fixed-width, prefix-coded and string decodings over read_i().
#include "kapi/StreamReader.h"

namespace Kapi {
namespace Stream {

bool Reader::copyBytes(void* out, size_t length)
{
    if (!m_ok)
        return false;
    if (length == 0)
        return true;
    return read_i(out, length) || fail_i();
}

bool Reader::skip(size_t length)
{
    if (!m_ok)
        return false;
    return skip_i(length) || fail_i();
}

bool Reader::seek(size_t)
{
    return fail_i();
}

uint8 Reader::getU8()
{
    uint8 byte = 0;
    return copyBytes(&byte, 1) ? byte : 0;
}

uint16 Reader::getU16()
{
    uint8 b[2];
    if (!copyBytes(b, sizeof b))
        return 0;
    return static_cast<uint16>(b[0] | (b[1] << 8));
}

uint32 Reader::getU32()
{
    uint8 b[4];
    if (!copyBytes(b, sizeof b))
        return 0;
    return static_cast<uint32>(b[0]) | (static_cast<uint32>(b[1]) << 8) |
           (static_cast<uint32>(b[2]) << 16) | (static_cast<uint32>(b[3]) << 24);
}

uint64 Reader::getU64()
{
    uint8 b[8];
    if (!copyBytes(b, sizeof b))
        return 0;
    uint64 value = 0;
    for (int i = 7; i >= 0; --i)
        value = (value << 8) | b[i];
    return value;
}

uint32 Reader::getVarU32()
{
    const uint8 first = getU8();
    if (!m_ok)
        return 0;
    unsigned extra;
    uint32 value;
    if (first < 0x80) {
        return first;
    } else if (first < 0xC0) {
        extra = 1;
        value = first & 0x3Fu;
    } else if (first < 0xE0) {
        extra = 2;
        value = first & 0x1Fu;
    } else if (first < 0xF0) {
        extra = 3;
        value = first & 0x0Fu;
    } else if (first == 0xFF) {
        return getU32();
    } else {
        fail_i();
        return 0;
    }
    uint8 b[3];
    if (!copyBytes(b, extra))
        return 0;
    for (unsigned i = 0; i < extra; ++i)
        value = (value << 8) | b[i];
    return value;
}

int32 Reader::getVarI32()
{
    const uint32 zigzag = getVarU32();
    return static_cast<int32>((zigzag >> 1) ^ (0u - (zigzag & 1u)));
}

std::string Reader::getString()
{
    const uint16 length = getU16();
    if (!m_ok || length > remaining()) {
        fail_i();
        return std::string();
    }
    std::string text(length, '\0');
    if (!copyBytes(text.data(), length))
        return std::string();
    return text;
}

} // namespace Stream
} // namespace Kapi
