#ifndef KAPI_NET_CURLPOOL_H
#define KAPI_NET_CURLPOOL_H
// Reusable libcurl handles around one share handle that holds the DNS cache.
//
// Representation: two LIFO free lists (easy and multi handles) and two counters, all guarded
// by the pool mutex; one mutex per libcurl lock-data kind (0..5) for the share's lock
// callbacks. Every easy handle the pool made carries SHARE = the share handle, so lookups
// cached by one transfer serve the next. A handle on the free list has been reset with
// curl_easy_reset (all options gone: users re-apply their defaults); multi handles are kept as
// they are. Invariant: inUse counts handles given out by getHandle() and not yet returned.
//
// Threads: every method is safe from any thread. The pool must outlive every handle it gave
// out; destroying it cleans up only the handles on its free lists.
#include "kapi/KapiTypes.h"
#include "kapi/Mutex.h"

#include <memory>
#include <vector>

namespace Kapi {
namespace Net {

class CurlPool
{
public:
    static constexpr int kLockDataKinds = 6;

    CurlPool();
    ~CurlPool();
    CurlPool(const CurlPool&) = delete;
    CurlPool& operator=(const CurlPool&) = delete;

    // A CURL* easy handle (as void*) using the shared DNS cache; null if libcurl fails.
    void* getHandle();
    void returnHandle(void* easyHandle);
    // A CURLM* multi handle (as void*); null if libcurl fails.
    void* getMultiHandle();
    void returnMultiHandle(void* multiHandle);
    // Cleans up every handle on the free lists.
    void clear();
    void getHandleStats(unsigned short* inUse, unsigned short* created);

    // Share lock callbacks (libcurl calls them with the pool as user data).
    void lockData_i(int kind);
    void unlockData_i(int kind);

private:
    void* m_share; // CURLSH*
    std::unique_ptr<Mutex> m_dataLocks[kLockDataKinds];
    std::unique_ptr<Mutex> m_mutex;
    std::vector<void*> m_freeEasy;
    std::vector<void*> m_freeMulti;
    uint16 m_inUse = 0;
    uint16 m_created = 0;
};

} // namespace Net
} // namespace Kapi

#endif
