// Kapi::Stream::Writer: the fixed-width, prefix-coded and string encodings over write_i().
#include "kapi/StreamWriter.h"

namespace Kapi {
namespace Stream {

bool Writer::copyBytes(const void* data, size_t length)
{
    if (!m_ok)
        return false;
    if (length == 0)
        return true;
    return write_i(data, length) || fail_i();
}

bool Writer::seek(size_t)
{
    return fail_i();
}

bool Writer::addU8(uint8 value)
{
    return copyBytes(&value, 1);
}

bool Writer::addU16(uint16 value)
{
    const uint8 b[2] = {static_cast<uint8>(value), static_cast<uint8>(value >> 8)};
    return copyBytes(b, sizeof b);
}

bool Writer::addU32(uint32 value)
{
    const uint8 b[4] = {static_cast<uint8>(value), static_cast<uint8>(value >> 8),
                        static_cast<uint8>(value >> 16), static_cast<uint8>(value >> 24)};
    return copyBytes(b, sizeof b);
}

bool Writer::addU64(uint64 value)
{
    uint8 b[8];
    for (int i = 0; i < 8; ++i)
        b[i] = static_cast<uint8>(value >> (8 * i));
    return copyBytes(b, sizeof b);
}

size_t Writer::varU32Size(uint32 value)
{
    if (value < 0x80u)
        return 1;
    if (value < 0x4000u)
        return 2;
    if (value < 0x200000u)
        return 3;
    if (value < 0x10000000u)
        return 4;
    return 5;
}

bool Writer::addVarU32(uint32 value)
{
    uint8 b[5];
    switch (varU32Size(value)) {
    case 1:
        return addU8(static_cast<uint8>(value));
    case 2:
        b[0] = static_cast<uint8>(0x80u | (value >> 8));
        b[1] = static_cast<uint8>(value);
        return copyBytes(b, 2);
    case 3:
        b[0] = static_cast<uint8>(0xC0u | (value >> 16));
        b[1] = static_cast<uint8>(value >> 8);
        b[2] = static_cast<uint8>(value);
        return copyBytes(b, 3);
    case 4:
        b[0] = static_cast<uint8>(0xE0u | (value >> 24));
        b[1] = static_cast<uint8>(value >> 16);
        b[2] = static_cast<uint8>(value >> 8);
        b[3] = static_cast<uint8>(value);
        return copyBytes(b, 4);
    default:
        b[0] = 0xFF;
        for (int i = 0; i < 4; ++i)
            b[1 + i] = static_cast<uint8>(value >> (8 * i));
        return copyBytes(b, 5);
    }
}

bool Writer::addVarI32(int32 value)
{
    return addVarU32(zigzag(value));
}

bool Writer::addString(const std::string& text)
{
    if (text.size() > kMaxStringLength)
        return fail_i();
    // One write for length and bytes keeps the all-or-nothing rule for the whole string.
    std::string framed;
    framed.reserve(2 + text.size());
    framed.push_back(static_cast<char>(text.size() & 0xFF));
    framed.push_back(static_cast<char>(text.size() >> 8));
    framed += text;
    return copyBytes(framed.data(), framed.size());
}

} // namespace Stream
} // namespace Kapi
