#ifndef KAPI_COMM_CONNECTIONMESSAGENODEROUTER_H
#define KAPI_COMM_CONNECTIONMESSAGENODEROUTER_H
// Kapi::Comm::ConnectionMessageNodeRouter: the root of a routing tree on one message connection.
// It has exactly one child (setMessageNode) and adds the per-message header of its service:
//
//     svcCat    varu32  the service category (kServiceCategory on everything it sends; not
//                       checked on receipt: the connection's owner already dispatched on it)
//     clientId  u32     little-endian; a received message for another client id is dropped
//
// Received messages (receive) are routed to the child and a reply, when the child made one, goes
// back on the connection. Outgoing messages are produced one per tick: a write request that
// reaches the root submits the tick on the loop's instant list, and each tick writes one message
// of at most kMessageCapacity bytes (a child with more to send asks again, which submits the next
// tick). A message that does not fit is dropped with an error, never sent cut.
//
// State: the network system is set exactly while connected; the tick is pending only then.
// Threads: network thread only; the connection's owner calls receive/connected/disconnected.
#include "kapi/KapiTypes.h"
#include "kapi/comm/CommMessage.h"
#include "kapi/comm/IMessageConnection.h"
#include "kapi/comm/MessageNodeRouter.h"
#include "kapi/net/Timeout.h"

#include <memory>

namespace Kapi {
namespace Net {
class System;
}

namespace Comm {

class ConnectionMessageNodeRouter : public Stream::MessageNodeRouter,
                                    public IMessageConnection::Listener
{
public:
    // Room of every reply and every outgoing message, header included.
    static constexpr size_t kMessageCapacity = 1400;
    // The service category written in front of every outgoing message (the synced-map service).
    static constexpr uint32 kServiceCategory = 1;

    explicit ConnectionMessageNodeRouter(unsigned clientId);
    ~ConnectionMessageNodeRouter() override;

    void setClientId(unsigned clientId) { m_clientId = clientId; }
    unsigned getClientId() const { return m_clientId; }
    // The one child; it becomes this router's child (its parent is set).
    void setMessageNode(Stream::MessageNode* node);
    // Ends the current connection first (disconnected()) when one is set; a non-null new one is
    // then announced with connected().
    void setConnection(Net::System* system, std::shared_ptr<IMessageConnection> connection);

    // IMessageConnection::Listener and MessageNode.
    void connected() override;
    void receive(std::shared_ptr<CommMessage> message) override;
    void disconnected() override;

    // Routes to the child when the header's client id is ours.
    Stream::MessageNode* selectNode(Stream::Reader* in, Stream::Writer* reply) override;
    void prepOutgoingMessage(Stream::MessageNode* child, Stream::Writer* out) override;
    // Queues the child and schedules a tick on the next loop iteration (while connected).
    void requestWrite(Stream::MessageNode* child) override;
    using Stream::MessageNodeRouter::requestWrite;

    // One write turn: at most one message goes out.
    void tick();
    static void staticTick(void* self);

private:
    // Sends `message` if it is whole; `what` names the path in the log lines.
    void sendIfWhole_i(const std::shared_ptr<CommMessage>& message, const char* what);

    uint32 m_clientId;
    Stream::MessageNode* m_child = nullptr;
    Net::System* m_system = nullptr; // null while disconnected
    std::shared_ptr<IMessageConnection> m_connection;
    Net::Timeout m_tickTimeout;
};

} // namespace Comm
} // namespace Kapi

#endif
