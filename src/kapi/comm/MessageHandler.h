#ifndef KAPI_COMM_MESSAGEHANDLER_H
#define KAPI_COMM_MESSAGEHANDLER_H
// Kapi::Comm::MessageHandler: the base of a protocol engine that builds whole messages itself.
// It holds the current message connection (null while disconnected) and sends through it; the
// engine implements receive() for the messages its owner routes to it.
//
// Threads: network thread only. MessageHandlerMtSafe is the variant any thread may send through.
#include "kapi/comm/CommMessage.h"
#include "kapi/comm/IMessageConnection.h"

#include <memory>

namespace Kapi {
namespace Comm {

class MessageHandler
{
public:
    MessageHandler() = default;
    MessageHandler(const MessageHandler&) = delete;
    MessageHandler& operator=(const MessageHandler&) = delete;
    virtual ~MessageHandler();

    virtual void connected(std::shared_ptr<IMessageConnection> connection);
    // Hands the message to the connection; false (logged) when there is none.
    virtual bool send(std::shared_ptr<CommMessage> message);
    virtual void receive(std::shared_ptr<CommMessage> message) = 0;
    virtual void disconnected();
    virtual bool isConnected() const;

protected:
    // The connection to send through now (null while disconnected); the thread-safe variant
    // reads it under its mutex.
    virtual std::shared_ptr<IMessageConnection> current_i() const { return m_connection; }

    std::shared_ptr<IMessageConnection> m_connection;
};

} // namespace Comm
} // namespace Kapi

#endif
