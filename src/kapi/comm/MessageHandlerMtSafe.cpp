// The thread-safe message handler: the connection slot under a mutex, calls made outside it.
#include "kapi/comm/MessageHandlerMtSafe.h"

namespace Kapi {
namespace Comm {

MessageHandlerMtSafe::MessageHandlerMtSafe() : m_mutex(Mutex::New()) {}

MessageHandlerMtSafe::~MessageHandlerMtSafe() = default;

void MessageHandlerMtSafe::connected(std::shared_ptr<IMessageConnection> connection)
{
    // The old connection, if any, is released after the lock, outside it.
    MutexLocker lock(*m_mutex);
    m_connection.swap(connection);
}

void MessageHandlerMtSafe::disconnected()
{
    std::shared_ptr<IMessageConnection> old;
    MutexLocker lock(*m_mutex);
    m_connection.swap(old);
}

std::shared_ptr<IMessageConnection> MessageHandlerMtSafe::current_i() const
{
    MutexLocker lock(*m_mutex);
    return m_connection;
}

} // namespace Comm
} // namespace Kapi
