#ifndef KAPI_NET_SOCKETUDP_H
#define KAPI_NET_SOCKETUDP_H
// Kapi::Net::SocketUDP: a value handle on a bound, non-blocking datagram socket. Addresses and
// ports are in host order. Loop thread only.
#include "kapi/net/SocketHandle.h"

namespace Kapi {
namespace Net {

class SocketUDP : public SocketHandle
{
public:
    SocketUDP() = default;

    // `ip` 0 means the KKBINDADDR address, or any; `port` 0 lets the kernel choose.
    bool bindTo(System* system, unsigned ip, unsigned short port);
    // One datagram into `buffer`; the sender's address in *ip, *port. 0 when none is waiting.
    int sRecvFrom(void* buffer, unsigned size, unsigned* ip, unsigned short* port);
    // Sends one datagram; arms the write-OK callback before every attempt. Bytes sent, 0 on
    // error.
    int sSendTo(unsigned ip, unsigned short port, const void* buffer, unsigned size);
    // Path-MTU discovery: IP_MTU_DISCOVER 2, "do" (on), or 1, "want" (off).
    bool setPmtuDisc(bool on);
    unsigned getLocalIP() const;
    unsigned short getLocalPort() const;
};

} // namespace Net
} // namespace Kapi

#endif
