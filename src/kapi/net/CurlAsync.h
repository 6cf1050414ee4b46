#ifndef KAPI_NET_CURLASYNC_H
#define KAPI_NET_CURLASYNC_H
// A blocking request that another thread can cancel: perform() drives the request through a
// private CurlMulti on the calling thread and returns when it completes, when its own timeout
// passes (28) or when cancelPerform() is called (18). While performing, the object is listed
// in the process's CurlAsyncCancelList, so shutdown can cancel every blocked caller at once;
// once shutdown has begun, perform() returns 18 without transferring.
//
// Representation: m_running is true from the start of a transfer until transferComplete();
// m_result holds the last completion code (18 before any); m_cancelled, guarded by m_mutex,
// stays set from cancelPerform() until resetCancel(), so a cancel that arrives before
// perform() still stops it.
//
// Threads: perform(), resetCancel() and the setters belong to one thread; cancelPerform() and
// performCancelled() are safe from any thread.
#include "kapi/Mutex.h"
#include "kapi/net/CurlEasy.h"
#include "kapi/net/CurlMulti.h"

#include <memory>

namespace Kapi {
namespace Net {

class CurlAsyncCancelList;

class CurlAsync : public CurlEasy, public CurlEasy::TransferListener
{
public:
    explicit CurlAsync(CurlPool* pool);
    ~CurlAsync() override;

    Curl::Code perform() override;
    void transferComplete(Curl::Code code) override;

    void cancelPerform();
    void resetCancel();
    bool performCancelled();

private:
    CurlMulti m_multi;
    bool m_running;
    Curl::Code m_result;
    std::unique_ptr<Mutex> m_mutex;
    bool m_cancelled;
    CurlAsyncCancelList* m_cancelList; // null when the curl layer was not started
};

} // namespace Net
} // namespace Kapi

#endif
