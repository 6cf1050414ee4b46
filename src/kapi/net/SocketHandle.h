#ifndef KAPI_NET_SOCKETHANDLE_H
#define KAPI_NET_SOCKETHANDLE_H
// The value-handle part shared by SocketTCP, BoundTCP and SocketUDP: a pointer to a Socket
// (null when invalid) that owns one reference. Copies share the socket; destruction and
// reassignment drop the reference. Loop thread only, like the socket.
#include "kapi/net/Socket.h"

#include <utility>

namespace Kapi {
namespace Net {

class SocketHandle
{
public:
    SocketHandle() = default;
    // Adopts the caller's reference.
    explicit SocketHandle(Socket* socket) : m_socket(socket) {}
    SocketHandle(const SocketHandle& other) : m_socket(other.m_socket)
    {
        if (m_socket != nullptr)
            m_socket->sockAddRef();
    }
    SocketHandle(SocketHandle&& other) noexcept : m_socket(std::exchange(other.m_socket, nullptr))
    {
    }
    SocketHandle& operator=(SocketHandle other) noexcept
    {
        std::swap(m_socket, other.m_socket);
        return *this;
    }
    ~SocketHandle() { reset(); }

    // True while the handle holds an open socket.
    bool valid() const { return m_socket != nullptr && m_socket->valid(); }
    Socket* get() const { return m_socket; }
    Socket* operator->() const { return m_socket; }
    // Drops the reference; the handle becomes invalid.
    void reset()
    {
        if (m_socket != nullptr)
            std::exchange(m_socket, nullptr)->delRef();
    }

protected:
    // Replaces the held socket by a new one whose reference the handle adopts.
    void adopt(Socket* socket)
    {
        reset();
        m_socket = socket;
    }
    // A new IPv4 socket of `type` (SOCK_STREAM, SOCK_DGRAM) in place of the held one; false
    // (logged, handle invalid) when the system has none to give.
    bool open_i(System* system, int type);
    // Binds the held socket to `ip` (0: the KKBINDADDR address, or any) and `port`, records
    // the bound address and makes the socket non-blocking; on failure logs, releases the
    // socket and returns false.
    bool bindLocal_i(unsigned ip, unsigned short port);

    Socket* m_socket = nullptr;
};

} // namespace Net
} // namespace Kapi

#endif
