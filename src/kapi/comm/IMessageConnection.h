#ifndef KAPI_COMM_IMESSAGECONNECTION_H
#define KAPI_COMM_IMESSAGECONNECTION_H
// Kapi::Comm::IMessageConnection: a connection that carries whole messages. Made as a shared
// pointer that keeps a weak pointer to itself; its Listener hears connected(), every received
// message and the end. Only MessageConnectionMtSafe::send may be called off the network thread.
#include "kapi/comm/CommMessage.h"
#include "kapi/comm/IConnection.h"

#include <memory>

namespace Kapi {
namespace Comm {

class IMessageConnection : public std::enable_shared_from_this<IMessageConnection>
{
public:
    class Listener
    {
    public:
        virtual ~Listener() = default;
        virtual void connected() = 0;
        virtual void receive(std::shared_ptr<CommMessage> message) = 0;
        virtual void disconnected() = 0;
    };

    virtual ~IMessageConnection() = default;
    virtual void send(std::shared_ptr<CommMessage> message) = 0;
    virtual void setListener(Listener* listener) { m_listener = listener; }
    virtual void close() = 0;
    virtual bool getUInt32Property(LinkProperty property, unsigned int* out) const = 0;

    Listener* getListener() const { return m_listener; }

protected:
    IMessageConnection() = default;

    Listener* m_listener = nullptr;
};

typedef std::shared_ptr<IMessageConnection> IMessageConnectionPtr;

} // namespace Comm
} // namespace Kapi

#endif
