#ifndef KAPI_COMM_ICONNECTION_H
#define KAPI_COMM_ICONNECTION_H
// Kapi::Comm::IConnection: a non-blocking byte stream on the network thread (TCP, or TLS over
// another connection). Progress, data and the end are reported upwards to one Listener;
// connections are made as shared pointers and keep a weak pointer to themselves so that they
// stay alive while they call out. read() and write() never block: 0 means nothing now (or an
// error, which ends the connection with disconnected()).
#include "kapi/KapiTypes.h"

#include <memory>

namespace Kapi {
namespace Comm {

// What getUInt32Property() answers. Addresses and ports are in host byte order.
enum LinkProperty
{
    LINK_LOCAL_IP = 0,
    LINK_LOCAL_PORT = 1,
    LINK_REMOTE_IP = 2,
    LINK_REMOTE_PORT = 3,
    LINK_IS_ENCRYPTED = 4
};

// The Linux send flag telling the kernel that more data follows at once.
constexpr int kSendMoreFollows = 0x8000;

class IConnection : public std::enable_shared_from_this<IConnection>
{
public:
    class Listener
    {
    public:
        virtual ~Listener() = default;
        virtual void connected() = 0;
        virtual void readReady() = 0;
        virtual void writeReady() = 0;
        virtual void disconnected() = 0;
    };

    virtual ~IConnection() = default;
    virtual unsigned int read(void* buf, unsigned int len) = 0;
    virtual unsigned int write(const void* buf, unsigned int len, int flags) = 0;
    virtual void close() = 0;
    virtual bool getUInt32Property(LinkProperty property, unsigned int* out) const = 0;

    void setListener(Listener* listener) { m_listener = listener; }
    Listener* getListener() const { return m_listener; }

protected:
    IConnection() = default;

    Listener* m_listener = nullptr;
};

typedef std::shared_ptr<IConnection> IConnectionPtr;

} // namespace Comm
} // namespace Kapi

#endif
