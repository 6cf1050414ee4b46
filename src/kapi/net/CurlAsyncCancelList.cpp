// CurlAsyncCancelList: shutdown's handle on every blocked asynchronous transfer.
#include "kapi/net/CurlAsyncCancelList.h"

#include "kapi/Thread.h"
#include "kapi/net/CurlAsync.h"
#include "kapi/net/CurlQuery.h"
#include "kapi/vLog.h"

namespace Kapi {
namespace Net {

namespace {

constexpr int kDrainPolls = 101;
constexpr int64 kDrainPollMicroseconds = 100000;

} // namespace

CurlAsyncCancelList::CurlAsyncCancelList() : m_mutex(Mutex::New()), m_accepting(true) {}

bool CurlAsyncCancelList::addToList(CurlAsync* transfer)
{
    MutexLocker lock(*m_mutex);
    if (!m_accepting) {
        return false;
    }
    m_performing.insert(transfer);
    return true;
}

void CurlAsyncCancelList::removeFromList(CurlAsync* transfer)
{
    MutexLocker lock(*m_mutex);
    m_performing.erase(transfer);
}

void CurlAsyncCancelList::cancelAll()
{
    MutexLocker lock(*m_mutex);
    m_accepting = false;
    for (CurlAsync* transfer : m_performing) {
        transfer->cancelPerform();
    }
    m_performing.clear();
    for (int poll = 0; poll < kDrainPolls; ++poll) {
        if (CurlQuery::getNumCurlQueries() == 0) {
            return;
        }
        Thread::sleep(kDrainPollMicroseconds);
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                    "Eeks, cancelling curl queries takes longer than 10 seconds?");
}

} // namespace Net
} // namespace Kapi
