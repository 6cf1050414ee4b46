#ifndef KAPI_STREAMBUFFERREADER_H
#define KAPI_STREAMBUFFERREADER_H
// Kapi::Stream::BufferReader: a Reader over bytes someone else owns (pointer and size). The
// position stays within [0, size] at all times, so no read ever touches a byte past the end;
// the bytes must outlive the reader and stay unchanged while it reads.
#include "kapi/StreamReader.h"

namespace Kapi {
namespace Stream {

class BufferReader : public Reader
{
public:
    BufferReader(const void* data, size_t size)
        : m_data(static_cast<const uint8*>(data)), m_size(data ? size : 0)
    {
    }

    size_t tell() const override { return m_position; }
    size_t remaining() const override { return m_size - m_position; }
    bool seek(size_t position) override;

    size_t getSize() const { return m_size; }
    // The next unread byte (the end when everything was read).
    const uint8* current() const { return m_data + m_position; }

protected:
    bool read_i(void* out, size_t length) override;
    bool skip_i(size_t length) override;

private:
    const uint8* m_data;
    size_t m_size;
    size_t m_position = 0;
};

} // namespace Stream
} // namespace Kapi

#endif
