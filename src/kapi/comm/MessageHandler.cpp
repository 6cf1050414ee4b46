// A protocol engine's hold on the current message connection.
#include "kapi/comm/MessageHandler.h"

#include "kapi/vLog.h"

namespace Kapi {
namespace Comm {

MessageHandler::~MessageHandler() = default;

void MessageHandler::connected(std::shared_ptr<IMessageConnection> connection)
{
    m_connection = std::move(connection);
}

bool MessageHandler::send(std::shared_ptr<CommMessage> message)
{
    const std::shared_ptr<IMessageConnection> connection = current_i();
    if (!connection) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_INFO,
                        "MessageHandler: Cannot send message when not connected");
        return false;
    }
    connection->send(std::move(message));
    return true;
}

void MessageHandler::disconnected()
{
    m_connection.reset();
}

bool MessageHandler::isConnected() const
{
    return static_cast<bool>(current_i());
}

} // namespace Comm
} // namespace Kapi
