#ifndef KAPI_STREAMWRITER_H
#define KAPI_STREAMWRITER_H
// Kapi::Stream::Writer: a sequential sink of bytes with a position (tell). Every write stores
// all its bytes or none: a write that cannot be stored (no room, no memory, a string longer than
// its u16 length can say) stores nothing and clears the sticky ok flag, after which every write
// fails at once. Producers write a whole record and then ask ok() once.
//
// The encodings (u8..u64 little-endian, varu32, vari32, string) are those listed in
// kapi/StreamReader.h; a value written by a Writer reads back through a Reader unchanged.
//
// A writer is used by one thread at a time.
#include "kapi/KapiTypes.h"

#include <cstddef>
#include <string>

namespace Kapi {
namespace Stream {

class Writer
{
public:
    // The longest string addString() can write (its length travels in a u16).
    static constexpr size_t kMaxStringLength = 0xFFFF;

    Writer() = default;
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    virtual ~Writer() = default;

    bool ok() const { return m_ok; }
    void setFailed() { m_ok = false; }

    bool copyBytes(const void* data, size_t length);
    bool addU8(uint8 value);
    bool addU16(uint16 value);
    bool addU32(uint32 value);
    bool addU64(uint64 value);
    bool addVarU32(uint32 value);
    bool addVarI32(int32 value);
    bool addString(const std::string& text);

    // Bytes written since the start (the position of the next write).
    virtual size_t tell() const = 0;
    // Moves the write position to an absolute place, to patch a field written earlier; not
    // every writer can (the default refuses). A position the writer cannot reach fails it.
    virtual bool seek(size_t position);

    // The number of bytes addVarU32 / addVarI32 write for a value.
    static size_t varU32Size(uint32 value);
    static size_t varI32Size(int32 value) { return varU32Size(zigzag(value)); }
    static uint32 zigzag(int32 value)
    {
        return (static_cast<uint32>(value) << 1) ^ (value < 0 ? 0xFFFFFFFFu : 0u);
    }

protected:
    // Stores exactly `length` bytes, or returns false having stored none. Called only while ok.
    virtual bool write_i(const void* data, size_t length) = 0;

    bool fail_i()
    {
        m_ok = false;
        return false;
    }

private:
    bool m_ok = true;
};

} // namespace Stream
} // namespace Kapi

#endif
