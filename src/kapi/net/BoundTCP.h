#ifndef KAPI_NET_BOUNDTCP_H
#define KAPI_NET_BOUNDTCP_H
// Kapi::Net::BoundTCP: a value handle on a listening TCP socket. Accepted connections reach the
// acceptor as non-blocking SocketTCPs carrying the peer's address; the acceptor keeps a copy of
// the handle to keep the connection. Loop thread only.
#include "kapi/net/SocketHandle.h"

namespace Kapi {
namespace Net {

class BoundTCP : public SocketHandle
{
public:
    BoundTCP() = default;

    // Binds to `ip` (host order; 0 means the KKBINDADDR address, or any) and `port` (0 lets
    // the kernel choose; getLocalPort() tells which). False (logged) on failure.
    bool bindTo(System* system, unsigned short port, unsigned ip);
    // Listens with the System's maxEvents as backlog and registers for connections. On an
    // invalid handle the acceptor is called at once with an invalid SocketTCP and -2.
    void setAcceptor(void* context, AcceptorCallback acceptor);
    unsigned getLocalIP() const;
    unsigned short getLocalPort() const;
};

} // namespace Net
} // namespace Kapi

#endif
