// The handle pool. libcurl's share interface hands the lock callbacks a lock-data number; data
// kinds outside 0..5 (newer libcurl versions) fall back to the last mutex so that no call is
// ever left unguarded.
#include "kapi/net/CurlPool.h"

#include "kapi/vLog.h"

#include <curl/curl.h>

namespace Kapi {
namespace Net {

namespace {

int clampKind(int kind)
{
    if (kind < 0 || kind >= CurlPool::kLockDataKinds) {
        return CurlPool::kLockDataKinds - 1;
    }
    return kind;
}

void shareLock(CURL*, curl_lock_data data, curl_lock_access, void* user)
{
    static_cast<CurlPool*>(user)->lockData_i(static_cast<int>(data));
}

void shareUnlock(CURL*, curl_lock_data data, void* user)
{
    static_cast<CurlPool*>(user)->unlockData_i(static_cast<int>(data));
}

} // namespace

CurlPool::CurlPool() : m_share(nullptr), m_mutex(Mutex::New())
{
    for (auto& lock : m_dataLocks) {
        lock = Mutex::New();
    }
    CURLSH* share = curl_share_init();
    if (share == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "CurlPool: curl_share_init failed");
        return;
    }
    curl_share_setopt(share, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
    curl_share_setopt(share, CURLSHOPT_LOCKFUNC, shareLock);
    curl_share_setopt(share, CURLSHOPT_UNLOCKFUNC, shareUnlock);
    curl_share_setopt(share, CURLSHOPT_USERDATA, this);
    m_share = share;
}

CurlPool::~CurlPool()
{
    clear();
    if (m_share != nullptr) {
        curl_share_cleanup(static_cast<CURLSH*>(m_share));
    }
}

void CurlPool::lockData_i(int kind)
{
    m_dataLocks[clampKind(kind)]->acquire();
}

void CurlPool::unlockData_i(int kind)
{
    m_dataLocks[clampKind(kind)]->release();
}

void* CurlPool::getHandle()
{
    MutexLocker lock(*m_mutex);
    CURL* handle = nullptr;
    if (!m_freeEasy.empty()) {
        handle = static_cast<CURL*>(m_freeEasy.back());
        m_freeEasy.pop_back();
    } else {
        handle = curl_easy_init();
        if (handle == nullptr) {
            return nullptr;
        }
        ++m_created;
    }
    if (m_share != nullptr) {
        curl_easy_setopt(handle, CURLOPT_SHARE, static_cast<CURLSH*>(m_share));
    }
    ++m_inUse;
    return handle;
}

void CurlPool::returnHandle(void* easyHandle)
{
    if (easyHandle == nullptr) {
        return;
    }
    curl_easy_reset(static_cast<CURL*>(easyHandle));
    MutexLocker lock(*m_mutex);
    m_freeEasy.push_back(easyHandle);
    --m_inUse;
}

void* CurlPool::getMultiHandle()
{
    MutexLocker lock(*m_mutex);
    if (!m_freeMulti.empty()) {
        void* handle = m_freeMulti.back();
        m_freeMulti.pop_back();
        return handle;
    }
    return curl_multi_init();
}

void CurlPool::returnMultiHandle(void* multiHandle)
{
    if (multiHandle == nullptr) {
        return;
    }
    MutexLocker lock(*m_mutex);
    m_freeMulti.push_back(multiHandle);
}

void CurlPool::clear()
{
    MutexLocker lock(*m_mutex);
    for (void* handle : m_freeEasy) {
        curl_easy_cleanup(static_cast<CURL*>(handle));
    }
    m_freeEasy.clear();
    for (void* handle : m_freeMulti) {
        curl_multi_cleanup(static_cast<CURLM*>(handle));
    }
    m_freeMulti.clear();
}

void CurlPool::getHandleStats(unsigned short* inUse, unsigned short* created)
{
    MutexLocker lock(*m_mutex);
    if (inUse != nullptr) {
        *inUse = m_inUse;
    }
    if (created != nullptr) {
        *created = m_created;
    }
}

} // namespace Net
} // namespace Kapi
