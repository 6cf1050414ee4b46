#ifndef KAPI_COMM_MESSAGECONNECTIONMTSAFE_H
#define KAPI_COMM_MESSAGECONNECTIONMTSAFE_H
// Kapi::Comm::MessageConnectionMtSafe: the front through which any thread sends. send() puts
// the message on `m_pending` under `m_mutex` and posts `m_wake` to the network System; tick()
// then hands the messages, in order, to the wrapped connection on the network thread. The
// mutex is never held while calling the wrapped connection. Everything else (close, the
// listener calls) happens on the network thread. `m_inner` is null once the wrapped
// connection has ended. `m_firstThread` is the first thread that called in.
//
// The front must be destroyed while its System is alive (on the network thread, or before the
// thread stops), because destruction cancels the wake-up on that System.
#include "kapi/Mutex.h"
#include "kapi/comm/IMessageConnection.h"
#include "kapi/net/Timeout.h"

#include <deque>
#include <memory>
#include <pthread.h>

namespace Kapi {
namespace Net {
class System;
}

namespace Comm {

class MessageConnectionMtSafe : public IMessageConnection, public IMessageConnection::Listener
{
public:
    static std::shared_ptr<MessageConnectionMtSafe>
    create(Net::System* system, std::shared_ptr<IMessageConnection> inner,
           IMessageConnection::Listener* listener);
    ~MessageConnectionMtSafe() override;
    MessageConnectionMtSafe(const MessageConnectionMtSafe&) = delete;
    MessageConnectionMtSafe& operator=(const MessageConnectionMtSafe&) = delete;

    // Any thread.
    void send(std::shared_ptr<CommMessage> message) override;
    // Network thread.
    void setListener(IMessageConnection::Listener* listener) override;
    void close() override;
    bool getUInt32Property(LinkProperty property, unsigned int* out) const override;

    // From the wrapped connection.
    void connected() override;
    void receive(std::shared_ptr<CommMessage> message) override;
    void disconnected() override;

private:
    MessageConnectionMtSafe(Net::System* system, std::shared_ptr<IMessageConnection> inner,
                            IMessageConnection::Listener* listener);
    static void tick(void* self);
    void tick_i();
    void noteThread_i() const;

    Net::System* m_system;
    mutable bool m_haveFirstThread = false; // guarded by m_mutex
    mutable pthread_t m_firstThread{};
    std::shared_ptr<IMessageConnection> m_inner;
    Net::CrossThreadTimeout m_wake;
    std::unique_ptr<Mutex> m_mutex;
    std::deque<std::shared_ptr<CommMessage>> m_pending; // guarded by m_mutex
};

} // namespace Comm
} // namespace Kapi

#endif
