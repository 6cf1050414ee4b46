// The root routing node on one message connection: header, replies and one write per tick.
#include "kapi/comm/ConnectionMessageNodeRouter.h"

#include "kapi/StreamBufferReader.h"
#include "kapi/vLog.h"

namespace Kapi {
namespace Comm {

ConnectionMessageNodeRouter::ConnectionMessageNodeRouter(unsigned clientId)
    : m_clientId(clientId), m_tickTimeout(this, &ConnectionMessageNodeRouter::staticTick)
{
}

ConnectionMessageNodeRouter::~ConnectionMessageNodeRouter()
{
    // Children die before their parent (they leave the queue themselves), so the child pointer
    // may already dangle here and is not touched.
    m_tickTimeout.cancel();
}

void ConnectionMessageNodeRouter::setMessageNode(Stream::MessageNode* node)
{
    if (m_child != nullptr) {
        cancelRequestWrite(m_child);
        m_child->setParent(nullptr);
    }
    m_child = node;
    if (m_child != nullptr)
        m_child->setParent(this);
}

void ConnectionMessageNodeRouter::setConnection(Net::System* system,
                                                std::shared_ptr<IMessageConnection> connection)
{
    if (m_connection)
        disconnected();
    m_system = system;
    m_connection = std::move(connection);
    if (m_connection)
        connected();
    else
        m_system = nullptr;
}

void ConnectionMessageNodeRouter::connected()
{
    if (m_child != nullptr)
        m_child->connected();
    // A turn asked for while no connection was there would otherwise wait forever.
    if (!isQueueEmpty() && m_system != nullptr)
        m_tickTimeout.submitInstant(m_system);
}

void ConnectionMessageNodeRouter::disconnected()
{
    if (m_child != nullptr) {
        m_child->disconnected();
        cancelRequestWrite(m_child);
    }
    m_system = nullptr;
    m_connection.reset();
    m_tickTimeout.cancel();
}

void ConnectionMessageNodeRouter::receive(std::shared_ptr<CommMessage> message)
{
    if (!message)
        return;
    Stream::BufferReader reader(message->getPayload(), message->getSize());
    std::shared_ptr<CommMessage> reply = CommMessage::create(kMessageCapacity);
    if (!reply)
        return;
    bool replyReady = false;
    if (!processMessage(&reader, reply.get(), &replyReady) || !replyReady)
        return;
    if (!m_connection) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_WARNING,
                        "ConnectionMessageNodeRouter: received a message without an out "
                        "connection");
        return;
    }
    sendIfWhole_i(reply, "reply");
}

Stream::MessageNode* ConnectionMessageNodeRouter::selectNode(Stream::Reader* in, Stream::Writer*)
{
    in->getVarU32(); // the service category: the connection's owner dispatched on it already
    const uint32 clientId = in->getU32();
    if (!in->ok()) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                        "ConnectionMessageNodeRouter: message too short for its header (%lu "
                        "bytes), dropped",
                        static_cast<unsigned long>(in->tell() + in->remaining()));
        return nullptr;
    }
    if (clientId != m_clientId) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                        "ConnectionMessageNodeRouter: Received wrong clientId (got 0x%x, "
                        "expected 0x%x)",
                        clientId, m_clientId);
        return nullptr;
    }
    return m_child;
}

void ConnectionMessageNodeRouter::prepOutgoingMessage(Stream::MessageNode*, Stream::Writer* out)
{
    out->addVarU32(kServiceCategory);
    out->addU32(m_clientId);
}

void ConnectionMessageNodeRouter::requestWrite(Stream::MessageNode* child)
{
    Stream::MessageNodeRouter::requestWrite(child);
    if (m_system != nullptr)
        m_tickTimeout.submitInstant(m_system);
}

void ConnectionMessageNodeRouter::tick()
{
    std::shared_ptr<CommMessage> message = CommMessage::create(kMessageCapacity);
    if (!message)
        return;
    if (!writeMessage(message.get()))
        return;
    if (!m_connection) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_WARNING,
                        "ConnectionMessageNodeRouter: writeMessage returned a message without an "
                        "out connection");
        return;
    }
    sendIfWhole_i(message, "message");
}

void ConnectionMessageNodeRouter::staticTick(void* self)
{
    static_cast<ConnectionMessageNodeRouter*>(self)->tick();
}

void ConnectionMessageNodeRouter::sendIfWhole_i(const std::shared_ptr<CommMessage>& message,
                                                const char* what)
{
    if (!message->ok()) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                        "ConnectionMessageNodeRouter: %s larger than %lu bytes, dropped", what,
                        static_cast<unsigned long>(kMessageCapacity));
        return;
    }
    m_connection->send(message);
}

} // namespace Comm
} // namespace Kapi
