// MessageConnection: framing over an IConnection. Every loop re-checks `m_lower` after calling
// down, because a call below may end the connection (and empty the queues) synchronously.
#include "kapi/comm/MessageConnection.h"

#include "kapi/vLog.h"

namespace Kapi {
namespace Comm {

std::shared_ptr<IMessageConnection>
MessageConnection::create(std::shared_ptr<IConnection> lower,
                          IMessageConnection::Listener* listener)
{
    return std::shared_ptr<IMessageConnection>(new MessageConnection(std::move(lower), listener));
}

MessageConnection::MessageConnection(std::shared_ptr<IConnection> lower,
                                     IMessageConnection::Listener* listener)
    : m_lower(std::move(lower))
{
    m_listener = listener;
    if (m_lower)
        m_lower->setListener(this);
}

MessageConnection::~MessageConnection()
{
    if (m_lower)
        m_lower->setListener(nullptr);
}

void MessageConnection::send(std::shared_ptr<CommMessage> message)
{
    if (!message)
        return;
    if (message->getSize() > CommMessage::kMaxPayload) {
        // Unreachable through CommMessage::create; kept so that no frame ever wraps.
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                        "MessageConnection(%p)::send: %lu bytes cannot be framed, dropped",
                        static_cast<void*>(this), static_cast<unsigned long>(message->getSize()));
        return;
    }
    m_queue.push_back(std::move(message));
    if (m_lower)
        writeLoop_i();
}

void MessageConnection::writeLoop_i()
{
    std::shared_ptr<IMessageConnection> keep = weak_from_this().lock();
    while (!m_queue.empty() && m_lower) {
        std::shared_ptr<CommMessage> front = m_queue.front();
        std::shared_ptr<IConnection> lower = m_lower;
        front->storeHeader();
        const uint32 frameSize = static_cast<uint32>(front->getSize() + CommMessage::kHeaderSize);
        const uint32 remaining = frameSize - m_written;
        const int flags = m_queue.size() >= 2 ? kSendMoreFollows : 0;
        const unsigned int accepted = lower->write(front->getFrame() + m_written, remaining, flags);
        if (!m_lower)
            return; // ended during the write
        m_written += accepted;
        if (accepted < remaining)
            return;
        m_queue.pop_front();
        m_written = 0;
    }
}

void MessageConnection::readReady()
{
    std::shared_ptr<IMessageConnection> keep = weak_from_this().lock();
    while (m_lower) {
        std::shared_ptr<IConnection> lower = m_lower;
        if (m_lengthCount < 2) {
            m_lengthCount +=
                static_cast<uint16>(lower->read(m_lengthBytes + m_lengthCount, 2u - m_lengthCount));
            if (!m_lower || m_lengthCount < 2)
                return;
        }
        if (!m_receiving) {
            const size_t length = (static_cast<size_t>(m_lengthBytes[0]) << 8) | m_lengthBytes[1];
            m_receiving = CommMessage::create(length);
            if (!m_receiving)
                return;
        }
        const size_t have = m_receiving->getSize();
        const size_t want = m_receiving->getCapacity();
        if (have < want) {
            const unsigned int got = lower->read(m_receiving->getPayload() + have,
                                                 static_cast<unsigned int>(want - have));
            if (!m_lower || !m_receiving)
                return;
            m_receiving->seek(have + got);
            if (have + got < want)
                return;
        }
        std::shared_ptr<CommMessage> complete = std::move(m_receiving);
        m_receiving.reset();
        m_lengthCount = 0;
        if (m_listener != nullptr)
            m_listener->receive(complete);
    }
}

void MessageConnection::writeReady()
{
    writeLoop_i();
}

void MessageConnection::connected()
{
    if (m_listener != nullptr)
        m_listener->connected();
}

void MessageConnection::disconnected()
{
    std::shared_ptr<IMessageConnection> keep = weak_from_this().lock();
    m_queue.clear();
    m_receiving.reset();
    m_written = 0;
    m_lengthCount = 0;
    if (m_lower) {
        m_lower->setListener(nullptr);
        m_lower.reset();
    }
    if (m_listener != nullptr)
        m_listener->disconnected();
}

void MessageConnection::close()
{
    if (m_lower) {
        std::shared_ptr<IConnection> lower = m_lower;
        lower->close();
    }
}

bool MessageConnection::getUInt32Property(LinkProperty property, unsigned int* out) const
{
    return m_lower ? m_lower->getUInt32Property(property, out) : false;
}

} // namespace Comm
} // namespace Kapi
