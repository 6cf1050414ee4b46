// TcpConnection: socket callbacks are static trampolines; each takes a strong reference from
// the weak self-pointer so that the listener may drop the connection while being called.
#include "kapi/comm/TcpConnection.h"

#include "kapi/vLog.h"

namespace Kapi {
namespace Comm {

TcpConnection::TcpConnection(IConnection::Listener* listener)
{
    m_listener = listener;
}

TcpConnection::TcpConnection(Net::SocketTCP socket, IConnection::Listener* listener)
    : m_socket(std::move(socket)), m_connected(true)
{
    m_listener = listener;
    if (m_socket.valid())
        registerCallbacks_i();
}

TcpConnection::~TcpConnection()
{
    m_dying = true;
    if (m_socket.valid())
        m_socket.close();
}

void TcpConnection::registerCallbacks_i()
{
    m_socket->setReader(this, &TcpConnection::onRead_i);
    m_socket->setWriteOK(this, &TcpConnection::onWriteOK_i);
}

bool TcpConnection::connect(Net::System* system, unsigned int ip, unsigned short port,
                            unsigned short mss, unsigned short localPort)
{
    if (!m_socket.connectTo(system, ip, port, localPort, mss))
        return false;
    registerCallbacks_i();
    if (m_noDelay)
        m_socket.enableTcpNoDelay();
    return true;
}

void TcpConnection::onWriteOK_i(void* context, int status)
{
    TcpConnection* self = static_cast<TcpConnection*>(context);
    if (self->m_dying)
        return;
    std::shared_ptr<IConnection> keep = self->weak_from_this().lock();
    if (status != 0) {
        if (self->m_listener != nullptr)
            self->m_listener->disconnected();
        return;
    }
    if (!self->m_connected) {
        self->m_connected = true;
        if (self->m_listener != nullptr)
            self->m_listener->connected();
        return;
    }
    if (self->m_listener != nullptr)
        self->m_listener->writeReady();
}

void TcpConnection::onRead_i(void* context, int status)
{
    TcpConnection* self = static_cast<TcpConnection*>(context);
    if (self->m_dying || status != 0)
        return; // the write-OK callback reports the end
    std::shared_ptr<IConnection> keep = self->weak_from_this().lock();
    if (!self->m_connected) {
        (void)self->m_socket->getLastError();
        self->m_connected = true;
        if (self->m_listener != nullptr)
            self->m_listener->connected();
    }
    if (self->m_listener != nullptr)
        self->m_listener->readReady();
}

unsigned int TcpConnection::read(void* buf, unsigned int len)
{
    if (!m_socket.valid())
        return 0;
    const int got = m_socket.sRead(buf, len);
    return got > 0 ? static_cast<unsigned int>(got) : 0;
}

unsigned int TcpConnection::write(const void* buf, unsigned int len, int flags)
{
    if (!m_socket.valid())
        return 0;
    const int sent = m_socket.sWrite(buf, len, flags);
    return sent > 0 ? static_cast<unsigned int>(sent) : 0;
}

void TcpConnection::close()
{
    if (m_socket.valid())
        m_socket.close();
}

bool TcpConnection::getUInt32Property(LinkProperty property, unsigned int* out) const
{
    if (m_socket.get() == nullptr)
        return false;
    switch (property) {
    case LINK_LOCAL_IP:
        *out = m_socket.getLocalIP();
        return true;
    case LINK_LOCAL_PORT:
        *out = m_socket.getLocalPort();
        return true;
    case LINK_REMOTE_IP:
        *out = m_socket.getRemoteIP();
        return true;
    case LINK_REMOTE_PORT:
        *out = m_socket.getRemotePort();
        return true;
    default:
        return false;
    }
}

} // namespace Comm
} // namespace Kapi
