#ifndef KAPI_STREAMBUFFERWRITER_H
#define KAPI_STREAMBUFFERWRITER_H
// Kapi::Stream::BufferWriter: a Writer into a fixed area of `capacity` bytes that someone else
// owns. The position stays within [0, capacity]; a write that would pass the capacity stores
// nothing and fails the writer. seek() may move anywhere inside the area (back, to patch a
// length written earlier, and forward again); bytes skipped over keep what the area held.
//
// A class that owns its area (a message, say) derives from BufferWriter and hands the area over
// with setArea() once it has allocated it.
#include "kapi/StreamWriter.h"

namespace Kapi {
namespace Stream {

class BufferWriter : public Writer
{
public:
    BufferWriter(void* data, size_t capacity) { setArea(data, capacity); }

    size_t tell() const override { return m_position; }
    bool seek(size_t position) override;
    // The slots left between the position and the end of the area.
    size_t remaining() const { return m_capacity - m_position; }

    uint8* getData() const { return m_data; }
    size_t getCapacity() const { return m_capacity; }

protected:
    BufferWriter() = default;
    // A new area; the position returns to 0 (the ok flag is kept).
    void setArea(void* data, size_t capacity)
    {
        m_data = static_cast<uint8*>(data);
        m_capacity = data ? capacity : 0;
        m_position = 0;
    }

    bool write_i(const void* data, size_t length) override;

private:
    uint8* m_data = nullptr;
    size_t m_capacity = 0;
    size_t m_position = 0;
};

} // namespace Stream
} // namespace Kapi

#endif
