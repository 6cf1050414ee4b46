#ifndef KAPI_COMM_MESSAGEHANDLERMTSAFE_H
#define KAPI_COMM_MESSAGEHANDLERMTSAFE_H
// Kapi::Comm::MessageHandlerMtSafe: a MessageHandler whose connection slot is guarded by a
// mutex, so that any thread may send, ask isConnected(), or see the connection come and go.
// The mutex guards only the slot: send() takes a reference to the connection under it and calls
// the connection outside it, so a connection that calls back never deadlocks here. The
// connection it is given must itself accept send() from any thread (the thread-safe front).
#include "kapi/Mutex.h"
#include "kapi/comm/MessageHandler.h"

#include <memory>

namespace Kapi {
namespace Comm {

class MessageHandlerMtSafe : public MessageHandler
{
public:
    MessageHandlerMtSafe();
    ~MessageHandlerMtSafe() override;

    void connected(std::shared_ptr<IMessageConnection> connection) override;
    void disconnected() override;

protected:
    std::shared_ptr<IMessageConnection> current_i() const override;

private:
    std::unique_ptr<Mutex> m_mutex; // guards MessageHandler::m_connection
};

} // namespace Comm
} // namespace Kapi

#endif
