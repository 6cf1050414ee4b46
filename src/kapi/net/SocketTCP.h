#ifndef KAPI_NET_SOCKETTCP_H
#define KAPI_NET_SOCKETTCP_H
// Kapi::Net::SocketTCP: a value handle on a TCP stream socket of a System (see SocketHandle.h
// and Socket.h for sharing, callbacks and the edge-triggered reading rules). Addresses and
// ports are in host order. Loop thread only.
#include "kapi/net/SocketHandle.h"

namespace Kapi {
namespace Net {

class SocketTCP : public SocketHandle
{
public:
    SocketTCP() = default;
    explicit SocketTCP(Socket* socket) : SocketHandle(socket) {}

    // Starts a non-blocking connection (the handle's old socket is released first): maximum
    // segment size when `mss` is non-zero, SO_REUSEADDR, a bind when `localPort` is non-zero or
    // a bind address is configured (KKBINDADDR). Completion shows up as writability, i.e. the
    // write-OK callback. False (logged, nothing kept) when the socket cannot be set up.
    bool connectTo(System* system, unsigned ip, unsigned short port, unsigned short localPort,
                   unsigned short mss);

    int sRead(void* buffer, unsigned size);
    int sWrite(const void* buffer, unsigned size, int flags);
    bool enableTcpNoDelay();
    // The kernel's TCP_MAXSEG, at most 65535.
    bool getMss(unsigned short* mss);
    unsigned getLocalIP() const;
    unsigned short getLocalPort() const;
    unsigned getRemoteIP() const;
    unsigned short getRemotePort() const;
    // Closes the socket with closure notifications; the handle keeps its (closed) socket.
    void close();
};

} // namespace Net
} // namespace Kapi

#endif
