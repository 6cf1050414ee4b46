// The shared socket: poll registration, event delivery, reading and writing with the
// edge-trigger re-arming rules, accepting, closing and reference counting.
#include "kapi/net/Socket.h"

#include "kapi/PanicAssert.h"
#include "kapi/net/NetAddress.h"
#include "kapi/net/SocketTCP.h"
#include "kapi/net/System.h"
#include "kapi/vLog.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Kapi {
namespace Net {

namespace {

constexpr unsigned kReadAllChunk = 100;

} // namespace

Socket::Socket(System* system, int fd) : m_fd(fd), m_pSystem(system)
{
    if (m_pSystem != nullptr)
        m_pSystem->linkSocket_i(this);
}

Socket::~Socket()
{
    suddenClose();
    if (m_pSystem != nullptr)
        m_pSystem->unlinkSocket_i(this);
}

void Socket::addEpoll_i(unsigned bits)
{
    if (m_pSystem == nullptr || m_fd < 0)
        return; // closed, or its System has shut down: nothing to wait for
    if (!(m_pSystem->m_vPoll != nullptr)) {
        PanicAssertFail("m_pSystem->m_vPoll != NULL", "Networking", 364);
    }
    const unsigned old = m_pollMask;
    m_pollMask |= bits;
    const Poll::Event event{m_pollMask, reinterpret_cast<uintptr_t>(this)};
    if (old == 0)
        m_pSystem->m_vPoll->addPollEvent(m_fd, event);
    else
        m_pSystem->m_vPoll->changePollEvent(m_fd, event);
}

void Socket::delEpoll_i(unsigned bits)
{
    if (m_pSystem == nullptr || m_fd < 0)
        return;
    if (!(m_pSystem->m_vPoll != nullptr)) {
        PanicAssertFail("m_pSystem->m_vPoll != NULL", "Networking", 386);
    }
    const unsigned old = m_pollMask;
    m_pollMask &= ~bits;
    if (old == 0)
        return;
    if ((m_pollMask & (kPollIn | kPollOut)) == 0) {
        m_pSystem->m_vPoll->removeFd(m_fd);
        m_pollMask = 0;
    } else if (m_pollMask != old) {
        m_pSystem->m_vPoll->changePollEvent(
            m_fd, Poll::Event{m_pollMask, reinterpret_cast<uintptr_t>(this)});
    }
}

void Socket::setReader(void* context, SocketCallback reader)
{
    changeReader(context, reader);
    addEpoll_i(kPollIn);
}

void Socket::changeReader(void* context, SocketCallback reader)
{
    m_readerContext = context;
    m_reader = reader;
}

void Socket::setWriteOK(void* context, SocketCallback writeOK)
{
    m_writeOKContext = context;
    m_writeOK = writeOK;
    addEpoll_i(kPollOut);
}

void Socket::setAcceptor(void* context, AcceptorCallback acceptor)
{
    m_acceptorContext = context;
    m_acceptor = acceptor;
    addEpoll_i(kPollIn);
}

int Socket::getLastError() const
{
    int error = 0;
    socklen_t length = sizeof(error);
    if (getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0)
        return errno;
    return error;
}

unsigned Socket::readAll()
{
    char buffer[kReadAllChunk];
    unsigned total = 0;
    for (;;) {
        const int got = sRead(buffer, sizeof(buffer));
        total += static_cast<unsigned>(got);
        if (got < static_cast<int>(sizeof(buffer)))
            break;
    }
    m_readArmed = true;
    return total;
}

void Socket::handle(unsigned events)
{
    if ((events & kPollIn) != 0) {
        if (m_reader != nullptr) {
            if (m_readArmed) {
                m_readArmed = false;
                m_reader(m_readerContext, 0);
            }
        } else if (m_acceptor != nullptr) {
            accept_i();
        }
    }
    if ((events & kPollOut) != 0 && m_writeWaiting) {
        m_writeWaiting = false;
        delEpoll_i(kPollOut);
        if (m_writeOK != nullptr)
            m_writeOK(m_writeOKContext, 0);
    }
    cleanUp_i();
}

void Socket::cleanUp_i()
{
    if (m_fd >= 0)
        return;
    if (m_reader == nullptr && m_writeOK == nullptr && m_acceptor == nullptr)
        return;
    const SocketCallback reader = m_reader;
    const SocketCallback writeOK = m_writeOK;
    const AcceptorCallback acceptor = m_acceptor;
    m_reader = nullptr;
    m_writeOK = nullptr;
    m_acceptor = nullptr;
    // A callback may drop the last handle; the socket stays alive until the last call returns.
    sockAddRef();
    if (reader != nullptr)
        reader(m_readerContext, -1);
    if (writeOK != nullptr)
        writeOK(m_writeOKContext, -1);
    if (acceptor != nullptr)
        acceptor(m_acceptorContext, SocketTCP(), -1);
    delRef();
}

void Socket::accept_i()
{
    while (m_fd >= 0) {
        sockaddr_in peer{};
        socklen_t length = sizeof(peer);
        const int fd = accept(m_fd, reinterpret_cast<sockaddr*>(&peer), &length);
        if (fd < 0) {
            if (errno != EAGAIN && errno != EWOULDBLOCK) {
                if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
                    vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "accept: %m");
            }
            return;
        }
        makeSocketNonBlocking(fd);
        Socket* accepted = new Socket(m_pSystem, fd);
        accepted->m_remoteIP = ntohl(peer.sin_addr.s_addr);
        accepted->m_remotePort = ntohs(peer.sin_port);
        accepted->recordLocalAddress_i();
        if (m_acceptor == nullptr) {
            accepted->delRef(); // the acceptor went away during an earlier call
            continue;
        }
        m_acceptor(m_acceptorContext, SocketTCP(accepted), 0);
    }
}

void Socket::recordLocalAddress_i()
{
    sockaddr_in local{};
    socklen_t length = sizeof(local);
    if (getsockname(m_fd, reinterpret_cast<sockaddr*>(&local), &length) == 0) {
        m_localIP = ntohl(local.sin_addr.s_addr);
        m_localPort = ntohs(local.sin_port);
    }
}

void Socket::close()
{
    suddenClose();
    cleanUp_i();
}

void Socket::suddenClose()
{
    if (m_fd < 0)
        return;
    const int fd = m_fd;
    m_fd = -1;
    if (m_pollMask != 0 && m_pSystem != nullptr && m_pSystem->m_vPoll != nullptr)
        m_pSystem->m_vPoll->removeFd(fd);
    m_pollMask = 0;
    ::close(fd);
}

void Socket::otherEndClosed()
{
    if (m_peerClosed)
        return;
    m_peerClosed = true;
    if (m_pSystem == nullptr)
        return; // the System shut down and closed the descriptor already
    sockAddRef();
    m_pSystem->pushClosable_i(this);
}

void Socket::delRef()
{
    if (--m_refCount > 0)
        return;
    // The closure notifications run with the count held up, so that a handle they drop cannot
    // free the socket under them; one that keeps a new handle keeps the (closed) socket alive.
    m_refCount = 1;
    close();
    if (--m_refCount > 0)
        return;
    delete this;
}

int Socket::sRead(void* buffer, unsigned size)
{
    if (size == 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "Socket asked to sRead 0 bytes?");
        return 0;
    }
    const ssize_t got = recv(m_fd, buffer, size, 0);
    if (got > 0) {
        if (static_cast<unsigned>(got) < size)
            m_readArmed = true;
        return static_cast<int>(got);
    }
    if (got == 0) {
        otherEndClosed();
        return 0;
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK) {
        m_readArmed = true;
        return 0;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "read error: %m");
    otherEndClosed();
    return 0;
}

void Socket::armWriteOK_i()
{
    m_writeWaiting = true;
    addEpoll_i(kPollOut);
}

int Socket::sWrite(const void* buffer, unsigned size, int flags)
{
    if (size == 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "Socket asked to sWrite 0 bytes?");
        return 0;
    }
    // MSG_NOSIGNAL: a closed peer is an EPIPE result here, never a process-wide SIGPIPE.
    const ssize_t sent = send(m_fd, buffer, size, flags | MSG_NOSIGNAL);
    int written = 0;
    if (sent >= 0) {
        written = static_cast<int>(sent);
    } else if (errno == EPIPE) {
        otherEndClosed();
    } else if (errno != EAGAIN && errno != EWOULDBLOCK) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_WARNING, "write: %m");
    }
    if (static_cast<unsigned>(written) < size)
        armWriteOK_i();
    return written;
}

} // namespace Net
} // namespace Kapi
