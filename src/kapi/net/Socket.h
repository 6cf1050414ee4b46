#ifndef KAPI_NET_SOCKET_H
#define KAPI_NET_SOCKET_H
// Kapi::Net::Socket: one non-blocking descriptor on a System's edge-triggered poll, shared by
// reference count between the value handles SocketTCP, BoundTCP and SocketUDP.
//
// Representation: `m_fd` is -1 once closed. `m_pollMask` holds the epoll bits registered for the
// descriptor (1 input, 4 output); the descriptor is in the poll exactly when the mask is
// non-zero. Because the poll is edge-triggered, two flags stand for "the next edge matters":
// `m_readArmed` (the reader is called on input only while it is set; reads that stop short of
// the request or meet EAGAIN set it again, so readers must read until the kernel has nothing
// left) and `m_writeWaiting` (the write-OK callback is called once on the next output edge, then
// output interest is dropped; a short write sets it again). Both start true, so the first
// writable edge reports connection completion.
//
// A socket is linked into its System's socket list from construction until it is deleted or
// the System shuts down (which unlinks it and forgets the System). A peer closure is reported
// once: the socket takes a reference and waits on the System's closables until the end of the
// loop iteration, when it is closed and released. Closing calls each callback that was set,
// once, with -1 (the acceptor with an invalid SocketTCP), and clears them. The last reference
// closes and deletes the socket, so an owner whose callbacks point at itself closes the socket
// before dropping its handle.
//
// Threads: the System's loop thread only.
#include "kapi/KapiTypes.h"

namespace Kapi {
namespace Net {

class System;
class SocketTCP;

typedef void (*SocketCallback)(void* context, int status);
typedef void (*AcceptorCallback)(void* context, SocketTCP socket, int status);

class Socket
{
public:
    static constexpr unsigned kPollIn = 1;  // EPOLLIN
    static constexpr unsigned kPollOut = 4; // EPOLLOUT

    // Takes over `fd` (may be -1) and links into the system's socket list; one reference.
    Socket(System* system, int fd);
    ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    // Sets the reader and registers input interest.
    void setReader(void* context, SocketCallback reader);
    // Replaces the reader without touching the registration.
    void changeReader(void* context, SocketCallback reader);
    // Sets the write-OK callback and registers output interest.
    void setWriteOK(void* context, SocketCallback writeOK);
    // Sets the acceptor and registers input interest.
    void setAcceptor(void* context, AcceptorCallback acceptor);
    bool isReaderSet() const { return m_reader != nullptr; }
    bool valid() const { return m_fd >= 0; }
    // The pending socket error (SO_ERROR), or errno when it cannot be read.
    int getLastError() const;
    // Reads and discards in 100-byte pieces until the kernel has no more; re-arms the reader.
    // Returns the number of bytes discarded.
    unsigned readAll();
    // Delivers poll bits (kPollIn, kPollOut) to the callbacks, then reports a closure.
    void handle(unsigned events);
    // suddenClose() and the closure notifications.
    void close();
    // Closes the descriptor without notifying anybody.
    void suddenClose();
    // Records a peer closure once; the loop closes and releases the socket at the end of the
    // iteration.
    void otherEndClosed();
    void sockAddRef() { ++m_refCount; }
    // Drops a reference; the last one closes and deletes the socket.
    void delRef();

    // Non-blocking receive and send with the re-arming rules above; byte counts, 0 on error.
    int sRead(void* buffer, unsigned size);
    int sWrite(const void* buffer, unsigned size, int flags);

    int getFd() const { return m_fd; }
    System* getSystem() const { return m_pSystem; }
    unsigned getPollMask() const { return m_pollMask; }
    bool isReadArmed() const { return m_readArmed; }
    bool isWriteWaiting() const { return m_writeWaiting; }
    bool isPeerClosed() const { return m_peerClosed; }
    int getRefCount() const { return m_refCount; }
    uint32 getLocalIP() const { return m_localIP; }
    uint16 getLocalPort() const { return m_localPort; }
    uint32 getRemoteIP() const { return m_remoteIP; }
    uint16 getRemotePort() const { return m_remotePort; }

private:
    friend class System;
    friend class SocketHandle;
    friend class SocketTCP;
    friend class BoundTCP;
    friend class SocketUDP;

    void addEpoll_i(unsigned bits);
    void delEpoll_i(unsigned bits);
    void cleanUp_i();
    void accept_i();
    void armWriteOK_i();
    // Reads the bound address back from the kernel.
    void recordLocalAddress_i();

    Socket* m_next = nullptr; // System socket list
    Socket* m_prev = nullptr;
    bool m_inList = false;
    int m_refCount = 1;
    int m_fd;
    unsigned m_pollMask = 0;
    uint32 m_localIP = 0; // host order
    uint16 m_localPort = 0;
    uint32 m_remoteIP = 0;
    uint16 m_remotePort = 0;
    AcceptorCallback m_acceptor = nullptr;
    SocketCallback m_reader = nullptr;
    SocketCallback m_writeOK = nullptr;
    void* m_acceptorContext = nullptr;
    void* m_readerContext = nullptr;
    void* m_writeOKContext = nullptr;
    bool m_peerClosed = false;
    System* m_pSystem; // null once the System has shut down
    Socket* m_nextClosable = nullptr;
    bool m_writeWaiting = true;
    bool m_readArmed = true;
};

} // namespace Net
} // namespace Kapi

#endif
