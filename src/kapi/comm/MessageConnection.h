#ifndef KAPI_COMM_MESSAGECONNECTION_H
#define KAPI_COMM_MESSAGECONNECTION_H
// Kapi::Comm::MessageConnection: cuts a byte stream into frames of a 2-byte big-endian length
// followed by that many payload bytes, both ways.
//
// Sending: `m_queue` holds the messages not yet fully written, front first; `m_written` counts
// the bytes of the front frame (header included) already accepted below, so a write that was
// cut short resumes at the exact byte. Each frame goes down in one write from its header; all
// but the last queued frame carry the more-follows flag.
// Receiving: `m_lengthBytes[0..m_lengthCount)` are the header bytes seen so far; once both are
// in, `m_receiving` is the message being filled (its size is the bytes received so far).
// After the end (`m_lower` null) nothing is sent or received again. Network thread only.
#include "kapi/comm/IConnection.h"
#include "kapi/comm/IMessageConnection.h"

#include <deque>
#include <memory>

namespace Kapi {
namespace Comm {

class MessageConnection : public IMessageConnection, public IConnection::Listener
{
public:
    static std::shared_ptr<IMessageConnection> create(std::shared_ptr<IConnection> lower,
                                                      IMessageConnection::Listener* listener);
    ~MessageConnection() override;
    MessageConnection(const MessageConnection&) = delete;
    MessageConnection& operator=(const MessageConnection&) = delete;

    void send(std::shared_ptr<CommMessage> message) override;
    void close() override;
    bool getUInt32Property(LinkProperty property, unsigned int* out) const override;

    // From the lower connection.
    void connected() override;
    void readReady() override;
    void writeReady() override;
    void disconnected() override;

    size_t queuedCount() const { return m_queue.size(); }

private:
    MessageConnection(std::shared_ptr<IConnection> lower, IMessageConnection::Listener* listener);
    void writeLoop_i();

    std::shared_ptr<IConnection> m_lower;
    std::deque<std::shared_ptr<CommMessage>> m_queue;
    // Up to 65537 (a full frame with its header), so wider than the 16-bit length.
    uint32 m_written = 0;
    std::shared_ptr<CommMessage> m_receiving;
    uint8 m_lengthBytes[2] = {0, 0};
    uint16 m_lengthCount = 0;
};

} // namespace Comm
} // namespace Kapi

#endif
