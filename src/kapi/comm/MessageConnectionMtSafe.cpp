// MessageConnectionMtSafe: the hand-over queue between producer threads and the network loop.
#include "kapi/comm/MessageConnectionMtSafe.h"

#include "kapi/vLog.h"

namespace Kapi {
namespace Comm {

std::shared_ptr<MessageConnectionMtSafe>
MessageConnectionMtSafe::create(Net::System* system, std::shared_ptr<IMessageConnection> inner,
                                IMessageConnection::Listener* listener)
{
    return std::shared_ptr<MessageConnectionMtSafe>(
        new MessageConnectionMtSafe(system, std::move(inner), listener));
}

MessageConnectionMtSafe::MessageConnectionMtSafe(Net::System* system,
                                                 std::shared_ptr<IMessageConnection> inner,
                                                 IMessageConnection::Listener* listener)
    : m_system(system), m_inner(std::move(inner)), m_wake(this, &MessageConnectionMtSafe::tick),
      m_mutex(Mutex::New())
{
    noteThread_i();
    m_listener = listener;
    if (m_inner)
        m_inner->setListener(this);
}

MessageConnectionMtSafe::~MessageConnectionMtSafe()
{
    if (m_inner)
        m_inner->setListener(nullptr);
    m_inner.reset();
    m_wake.cancel(m_system);
    MutexLocker lock(*m_mutex);
    m_pending.clear();
}

void MessageConnectionMtSafe::noteThread_i() const
{
    MutexLocker lock(*m_mutex);
    if (!m_haveFirstThread) {
        m_firstThread = pthread_self();
        m_haveFirstThread = true;
    }
}

void MessageConnectionMtSafe::send(std::shared_ptr<CommMessage> message)
{
    noteThread_i();
    {
        MutexLocker lock(*m_mutex);
        m_pending.push_back(std::move(message));
    }
    m_wake.submitInstantFromAnotherThread(m_system);
}

void MessageConnectionMtSafe::tick(void* self)
{
    static_cast<MessageConnectionMtSafe*>(self)->tick_i();
}

void MessageConnectionMtSafe::tick_i()
{
    noteThread_i();
    std::shared_ptr<IMessageConnection> keep = weak_from_this().lock();
    for (;;) {
        std::shared_ptr<CommMessage> message;
        {
            MutexLocker lock(*m_mutex);
            if (m_pending.empty())
                return;
            message = std::move(m_pending.front());
            m_pending.pop_front();
        }
        if (!m_inner) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_INFO))
                vLogMessage(VLOGSRC_KAPI_COMM, VLOG_INFO,
                            "MessageConnectionMtSafe(%p)::tick: cxn is closed. dropping msg",
                            static_cast<void*>(this));
            continue;
        }
        std::shared_ptr<IMessageConnection> inner = m_inner;
        inner->send(std::move(message));
    }
}

void MessageConnectionMtSafe::setListener(IMessageConnection::Listener* listener)
{
    noteThread_i();
    m_listener = listener;
}

void MessageConnectionMtSafe::close()
{
    noteThread_i();
    if (!m_inner) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_INFO,
                        "MessageConnectionMtSafe(%p): no connexion to close",
                        static_cast<void*>(this));
        return;
    }
    std::shared_ptr<IMessageConnection> inner = m_inner;
    inner->close();
}

bool MessageConnectionMtSafe::getUInt32Property(LinkProperty property, unsigned int* out) const
{
    noteThread_i();
    return m_inner ? m_inner->getUInt32Property(property, out) : false;
}

void MessageConnectionMtSafe::connected()
{
    noteThread_i();
    if (m_listener != nullptr)
        m_listener->connected();
}

void MessageConnectionMtSafe::receive(std::shared_ptr<CommMessage> message)
{
    noteThread_i();
    if (m_listener != nullptr)
        m_listener->receive(std::move(message));
}

void MessageConnectionMtSafe::disconnected()
{
    noteThread_i();
    std::shared_ptr<IMessageConnection> keep = weak_from_this().lock();
    if (m_inner) {
        m_inner->setListener(nullptr);
        m_inner.reset();
    }
    if (m_listener != nullptr)
        m_listener->disconnected();
}

} // namespace Comm
} // namespace Kapi
