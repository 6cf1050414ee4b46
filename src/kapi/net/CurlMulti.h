#ifndef KAPI_NET_CURLMULTI_H
#define KAPI_NET_CURLMULTI_H
// An event loop for libcurl transfers on the calling thread: a libcurl multi handle driven
// through its socket and timer callbacks over a Kapi::Poll (level-triggered epoll with a
// wake-up pipe).
//
// Representation (in the private State): the multi handle; the poll, holding exactly the
// descriptors libcurl asked to watch; libcurl's next timer deadline in ms (INT64_MAX: none);
// a deadline map, absolute ms -> easy handle, for requests with their own timeout - each such
// request's private data points at a heap cell holding its map position, and the cell is
// freed when the request completes; the number of added and not yet completed requests.
// Every request added is completed exactly once, through its CurlEasy::callTransferListener:
// with libcurl's result, 28 when its own deadline passes, 18 when removed, 2 when libcurl
// refuses it.
//
// Threads: owned and driven by one thread (addHandle, removeHandle, go); cancelGo() may be
// called from any thread.
#include "kapi/net/CurlCode.h"

#include <memory>

namespace Kapi {
namespace Net {

class CurlEasy;
class CurlPool;

class CurlMulti
{
public:
    explicit CurlMulti(CurlPool* pool);
    ~CurlMulti();
    CurlMulti(const CurlMulti&) = delete;
    CurlMulti& operator=(const CurlMulti&) = delete;

    // Starts the request; returns 0, or 2 when it was completed at once with a failure.
    int addHandle(CurlEasy* easy);
    // Stops the request and completes it with 18.
    void removeHandle(CurlEasy* easy);
    // One round: runs what is due, or waits up to `timeoutMicroseconds` for events.
    void go(long long timeoutMicroseconds);
    // Makes a waiting go() return at once (any thread).
    void cancelGo();

    int getActiveCount() const;

    // libcurl callbacks; `self` is the CurlMulti.
    static int socket_callback_function(void* easy, int fd, int what, void* self, void* socketp);
    static int timer_callback_function(void* multi, long timeoutMs, void* self);

private:
    struct State;

    void callTransferListener_i(void* easyHandle, Curl::Code code);
    void callCurlAction_i(int fd, int events);
    bool checkTimeouts_i(long long nowMs);
    void setFdEvents_i(int fd, int what);

    std::unique_ptr<State> m_state;
};

} // namespace Net
} // namespace Kapi

#endif
