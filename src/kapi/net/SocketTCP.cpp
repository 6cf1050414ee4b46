// TCP stream sockets: the non-blocking connect with its socket options, and the accessors.
#include "kapi/net/SocketTCP.h"

#include "kapi/net/NetAddress.h"
#include "kapi/net/System.h"
#include "kapi/vLog.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace Kapi {
namespace Net {

namespace {

sockaddr_in makeAddress(unsigned ip, unsigned short port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(ip);
    address.sin_port = htons(port);
    return address;
}

} // namespace

bool SocketTCP::connectTo(System* system, unsigned ip, unsigned short port,
                          unsigned short localPort, unsigned short mss)
{
    if (!open_i(system, SOCK_STREAM))
        return false;
    const int fd = m_socket->m_fd;
    if (mss != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG,
                        "SocketTCP::connectTo() - setting mss to %u bytes", unsigned{mss});
        const int value = mss;
        if (setsockopt(fd, IPPROTO_TCP, TCP_MAXSEG, &value, sizeof(value)) != 0) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                            "setsockopt(IPPROTO_TCP, TCP_MAXSEG): %m");
            reset();
            return false;
        }
    }
    const int reuse = 1;
    if (setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse)) != 0) {
        perror("setsockopt");
        reset();
        return false;
    }
    makeSocketNonBlocking(fd);
    const unsigned bindAddress = getKKBINDADDR();
    if (localPort != 0 || bindAddress != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "Binding to %x:%d", bindAddress,
                        int{localPort});
        const sockaddr_in local = makeAddress(bindAddress, localPort);
        if (bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "bind (%x:%d) : %m", bindAddress,
                            int{localPort});
            reset();
            return false;
        }
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "connecting (%x:%d) -> (%x:%d)", bindAddress,
                    int{localPort}, ip, int{port});
    const sockaddr_in remote = makeAddress(ip, port);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&remote), sizeof(remote)) != 0 &&
        errno != EINPROGRESS) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "connect error (%x:%d) -> (%x:%d) : %m",
                        bindAddress, int{localPort}, ip, int{port});
        reset();
        return false;
    }
    m_socket->m_remoteIP = ip;
    m_socket->m_remotePort = port;
    m_socket->recordLocalAddress_i();
    return true;
}

int SocketTCP::sRead(void* buffer, unsigned size)
{
    return m_socket != nullptr ? m_socket->sRead(buffer, size) : 0;
}

int SocketTCP::sWrite(const void* buffer, unsigned size, int flags)
{
    return m_socket != nullptr ? m_socket->sWrite(buffer, size, flags) : 0;
}

bool SocketTCP::enableTcpNoDelay()
{
    const int on = 1;
    if (m_socket == nullptr ||
        setsockopt(m_socket->m_fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)) != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "setTcpNoDelay: setsockopt: %m");
        return false;
    }
    return true;
}

bool SocketTCP::getMss(unsigned short* mss)
{
    int value = 0;
    socklen_t length = sizeof(value);
    if (m_socket == nullptr ||
        getsockopt(m_socket->m_fd, IPPROTO_TCP, TCP_MAXSEG, &value, &length) != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "getsockopt(IPPROTO_TCP, TCP_MAXSEG): %m");
        return false;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "SocketTCP::getMss() - got mss of %u bytes",
                    static_cast<unsigned>(value));
    *mss = static_cast<unsigned short>(value > 65535 ? 65535 : value);
    return true;
}

unsigned SocketTCP::getLocalIP() const
{
    return m_socket != nullptr ? m_socket->m_localIP : 0;
}

unsigned short SocketTCP::getLocalPort() const
{
    return m_socket != nullptr ? m_socket->m_localPort : 0;
}

unsigned SocketTCP::getRemoteIP() const
{
    return m_socket != nullptr ? m_socket->m_remoteIP : 0;
}

unsigned short SocketTCP::getRemotePort() const
{
    return m_socket != nullptr ? m_socket->m_remotePort : 0;
}

void SocketTCP::close()
{
    if (m_socket != nullptr)
        m_socket->close();
}

} // namespace Net
} // namespace Kapi
