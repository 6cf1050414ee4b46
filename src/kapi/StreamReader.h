#ifndef KAPI_STREAMREADER_H
#define KAPI_STREAMREADER_H
// Kapi::Stream::Reader: a sequential source of bytes with a position (tell) and a count of the
// bytes left (remaining). Every read takes all the bytes it asks for or none: a read that cannot
// be satisfied consumes nothing and clears the sticky ok flag, after which every read fails at
// once and yields zero or an empty string. Code that decodes a record reads all its fields and
// then asks ok() once.
//
// Wire encodings shared by every reader and writer (the message connection's records):
//   u8 u16 u32 u64  little-endian, fixed width
//   varu32          prefix-coded, 1 to 5 bytes: 0xxxxxxx; 10xxxxxx + 1 byte; 110xxxxx + 2 bytes;
//                   1110xxxx + 3 bytes (the extra bytes big-endian after the first byte's bits);
//                   0xFF + a u32. A first byte 0xF0..0xFE is not a code and fails the read.
//   vari32          the varu32 of the zig-zag value: v >= 0 as 2v, v < 0 as 2(-v-1)+1
//   string          a u16 length, then that many bytes (no terminator)
//
// A reader is used by one thread at a time.
#include "kapi/KapiTypes.h"

#include <cstddef>
#include <string>

namespace Kapi {
namespace Stream {

class Reader
{
public:
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    virtual ~Reader() = default;

    bool ok() const { return m_ok; }
    // Marks the stream failed, for decoders that find the bytes well-formed but the content not.
    void setFailed() { m_ok = false; }

    // Exactly `length` bytes into `out`; false (and not ok) when fewer remain.
    bool copyBytes(void* out, size_t length);
    bool skip(size_t length);

    uint8 getU8();
    uint16 getU16();
    uint32 getU32();
    uint64 getU64();
    uint32 getVarU32();
    int32 getVarI32();
    // A u16 length and that many bytes.
    std::string getString();

    // Bytes consumed since the start of the stream.
    virtual size_t tell() const = 0;
    // Bytes that can still be read.
    virtual size_t remaining() const = 0;
    // Moves to an absolute position; not every reader can (the default refuses). A position
    // outside the stream fails the stream.
    virtual bool seek(size_t position);

protected:
    // Takes exactly `length` bytes, or returns false having taken none. Called only while ok.
    virtual bool read_i(void* out, size_t length) = 0;
    virtual bool skip_i(size_t length) = 0;

private:
    bool fail_i()
    {
        m_ok = false;
        return false;
    }

    bool m_ok = true;
};

} // namespace Stream
} // namespace Kapi

#endif
