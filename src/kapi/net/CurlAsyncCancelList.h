#ifndef KAPI_NET_CURLASYNCCANCELLIST_H
#define KAPI_NET_CURLASYNCCANCELLIST_H
// The set of CurlAsync transfers now performing, so that shutdown can cancel them all.
//
// Representation: a set guarded by m_mutex and an accepting flag, true from construction
// until cancelAll(), never true again. A transfer is listed only while its perform() runs.
//
// Threads: every method is safe from any thread. cancelAll() holds the mutex for its whole
// run, including the wait for live queries to drain (up to about 10 s), so transfers that
// start or end meanwhile wait for it.
#include "kapi/Mutex.h"

#include <memory>
#include <set>

namespace Kapi {
namespace Net {

class CurlAsync;

class CurlAsyncCancelList
{
public:
    CurlAsyncCancelList();
    CurlAsyncCancelList(const CurlAsyncCancelList&) = delete;
    CurlAsyncCancelList& operator=(const CurlAsyncCancelList&) = delete;

    // False once shutdown has begun (the transfer must not start).
    bool addToList(CurlAsync* transfer);
    void removeFromList(CurlAsync* transfer);
    // Stops accepting, cancels every listed transfer and waits for live queries to end.
    void cancelAll();

private:
    std::unique_ptr<Mutex> m_mutex;
    std::set<CurlAsync*> m_performing;
    bool m_accepting;
};

} // namespace Net
} // namespace Kapi

#endif
