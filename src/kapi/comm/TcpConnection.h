#ifndef KAPI_COMM_TCPCONNECTION_H
#define KAPI_COMM_TCPCONNECTION_H
// Kapi::Comm::TcpConnection: an IConnection over one non-blocking TCP socket of the network
// loop. `m_connected` turns true on the first socket event after the connect (or at once for
// an accepted socket) and connected() is reported exactly then; the end is reported once, as
// disconnected(), when the socket's write-OK callback sees the closure. `m_noDelay` asks for
// TCP_NODELAY at connect time. Network thread only.
#include "kapi/comm/IConnection.h"
#include "kapi/net/SocketTCP.h"

namespace Kapi {
namespace Net {
class System;
}

namespace Comm {

class TcpConnection : public IConnection
{
public:
    // An outgoing connection; connect() starts it.
    explicit TcpConnection(IConnection::Listener* listener);
    // An accepted socket, already connected.
    TcpConnection(Net::SocketTCP socket, IConnection::Listener* listener);
    ~TcpConnection() override;

    // Must come before connect().
    void enableTcpNoDelay() { m_noDelay = true; }
    // False when the socket cannot be created, bound or started; completion comes later as
    // connected(), failure as disconnected().
    bool connect(Net::System* system, unsigned int ip, unsigned short port, unsigned short mss,
                 unsigned short localPort);

    unsigned int read(void* buf, unsigned int len) override;
    unsigned int write(const void* buf, unsigned int len, int flags) override;
    void close() override;
    bool getUInt32Property(LinkProperty property, unsigned int* out) const override;

    bool isConnected() const { return m_connected; }

private:
    static void onRead_i(void* self, int status);
    static void onWriteOK_i(void* self, int status);
    void registerCallbacks_i();

    Net::SocketTCP m_socket;
    bool m_connected = false;
    bool m_noDelay = false;
    bool m_dying = false; // the destructor is closing the socket: callbacks are ignored
};

} // namespace Comm
} // namespace Kapi

#endif
