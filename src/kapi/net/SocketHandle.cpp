// Opening and binding, shared by the socket handles.
#include "kapi/net/SocketHandle.h"

#include "kapi/net/NetAddress.h"
#include "kapi/vLog.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace Kapi {
namespace Net {

bool SocketHandle::open_i(System* system, int type)
{
    reset();
    const int fd = ::socket(AF_INET, type, 0);
    if (fd < 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "socket: %m");
        return false;
    }
    adopt(new Socket(system, fd));
    return true;
}

bool SocketHandle::bindLocal_i(unsigned ip, unsigned short port)
{
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(ip != 0 ? ip : getKKBINDADDR());
    local.sin_port = htons(port);
    if (bind(m_socket->getFd(), reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "bind failed (port=%u): %m", unsigned{port});
        reset();
        return false;
    }
    m_socket->recordLocalAddress_i();
    makeSocketNonBlocking(m_socket->getFd());
    return true;
}

} // namespace Net
} // namespace Kapi
