// Listening TCP sockets: bind, listen and the acceptor registration. Accepting itself is the
// shared socket's input handling (Socket.cpp).
#include "kapi/net/BoundTCP.h"

#include "kapi/net/SocketTCP.h"
#include "kapi/net/System.h"
#include "kapi/vLog.h"

#include <sys/socket.h>

namespace Kapi {
namespace Net {

bool BoundTCP::bindTo(System* system, unsigned short port, unsigned ip)
{
    if (!open_i(system, SOCK_STREAM))
        return false;
    const int reuse = 1;
    if (setsockopt(m_socket->m_fd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse)) != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "setsockopt: %m");
        reset();
        return false;
    }
    return bindLocal_i(ip, port);
}

void BoundTCP::setAcceptor(void* context, AcceptorCallback acceptor)
{
    if (!valid()) {
        acceptor(context, SocketTCP(), -2);
        return;
    }
    // The backlog is the System's event capacity, as the loop was always configured.
    if (listen(m_socket->m_fd, m_socket->m_pSystem != nullptr ? m_socket->m_pSystem->getMaxEvents()
                                                              : System::kDefaultMaxEvents) != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "listen: %m");
    }
    m_socket->setAcceptor(context, acceptor);
}

unsigned BoundTCP::getLocalIP() const
{
    return m_socket != nullptr ? m_socket->m_localIP : 0;
}

unsigned short BoundTCP::getLocalPort() const
{
    return m_socket != nullptr ? m_socket->m_localPort : 0;
}

} // namespace Net
} // namespace Kapi
