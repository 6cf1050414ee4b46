// Datagram sockets: bind, send and receive with the socket layer's re-arming rules, and the
// path-MTU discovery switch.
#include "kapi/net/SocketUDP.h"

#include "kapi/net/System.h"
#include "kapi/vLog.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>

namespace Kapi {
namespace Net {

bool SocketUDP::bindTo(System* system, unsigned ip, unsigned short port)
{
    return open_i(system, SOCK_DGRAM) && bindLocal_i(ip, port);
}

int SocketUDP::sRecvFrom(void* buffer, unsigned size, unsigned* ip, unsigned short* port)
{
    if (m_socket == nullptr)
        return 0;
    m_socket->m_readArmed = true;
    sockaddr_in from{};
    socklen_t length = sizeof(from);
    const ssize_t got =
        recvfrom(m_socket->m_fd, buffer, size, 0, reinterpret_cast<sockaddr*>(&from), &length);
    if (got < 0) {
        if (errno != EAGAIN && errno != EWOULDBLOCK) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "recvfrom: %m");
        }
        return 0;
    }
    if (ip != nullptr)
        *ip = ntohl(from.sin_addr.s_addr);
    if (port != nullptr)
        *port = ntohs(from.sin_port);
    return static_cast<int>(got);
}

int SocketUDP::sSendTo(unsigned ip, unsigned short port, const void* buffer, unsigned size)
{
    if (m_socket == nullptr)
        return 0;
    m_socket->armWriteOK_i();
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(ip);
    to.sin_port = htons(port);
    const ssize_t sent = sendto(m_socket->m_fd, buffer, size, MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&to), sizeof(to));
    if (sent >= 0)
        return static_cast<int>(sent);
    if (errno == EPIPE) {
        m_socket->otherEndClosed();
    } else if (errno != EAGAIN && errno != EWOULDBLOCK) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_WARNING,
                        "sendto(%d, %p, %u, 0, { AF_INET, 0x%x, %u }): %m", m_socket->m_fd, buffer,
                        size, ip, unsigned{port});
    }
    return 0;
}

bool SocketUDP::setPmtuDisc(bool on)
{
    // 2 is "do" (always set DF); 1 is "want" (per-route discovery), the device's "off".
    const int mode = on ? IP_PMTUDISC_DO : IP_PMTUDISC_WANT;
    if (m_socket == nullptr ||
        setsockopt(m_socket->m_fd, IPPROTO_IP, IP_MTU_DISCOVER, &mode, sizeof(mode)) != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "setsockopt: %m");
        return false;
    }
    return true;
}

unsigned SocketUDP::getLocalIP() const
{
    return m_socket != nullptr ? m_socket->m_localIP : 0;
}

unsigned short SocketUDP::getLocalPort() const
{
    return m_socket != nullptr ? m_socket->m_localPort : 0;
}

} // namespace Net
} // namespace Kapi
