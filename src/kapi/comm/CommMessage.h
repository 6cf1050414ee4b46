#ifndef KAPI_COMM_COMMMESSAGE_H
#define KAPI_COMM_COMMMESSAGE_H
// Kapi::Comm::CommMessage: one framed message, the outgoing buffer and the received payload.
//
// Representation: one heap block of capacity + 2 bytes; the payload area starts two bytes in,
// so the sender stores the big-endian length right in front of the payload and hands header
// and payload to one write. The writer's position is the payload size; a received message has
// size = capacity = the frame's length. Capacities of 65536 bytes or more are refused at
// creation, because the 2-byte length field could not carry them.
//
// Messages are always held by std::shared_ptr. Read a payload with a Kapi::Stream::BufferReader
// over getPayload() and getSize().
#include "kapi/KapiTypes.h"
#include "kapi/StreamBufferWriter.h"

#include <memory>

namespace Kapi {
namespace Comm {

class CommMessage : public Stream::BufferWriter
{
public:
    // The largest payload a frame can carry.
    static constexpr size_t kMaxPayload = 0xFFFF;
    static constexpr size_t kHeaderSize = 2;

    // An empty message with room for `capacity` payload bytes; null (logged) when the capacity
    // cannot be framed or memory runs out.
    static std::shared_ptr<CommMessage> create(size_t capacity);

    CommMessage(const CommMessage&) = delete;
    CommMessage& operator=(const CommMessage&) = delete;

    uint8* getPayload() const { return getData(); }
    size_t getSize() const { return tell(); }
    // The two header bytes followed by the payload.
    uint8* getFrame() const { return m_block.get(); }
    // Writes the payload size as the big-endian header in front of the payload.
    void storeHeader();

private:
    explicit CommMessage(std::unique_ptr<uint8[]> block, size_t capacity);

    std::unique_ptr<uint8[]> m_block;
};

typedef std::shared_ptr<CommMessage> CommMessagePtr;

} // namespace Comm
} // namespace Kapi

#endif
