// CurlAsync: the cancellable blocking transfer.
#include "kapi/net/CurlAsync.h"

#include "kapi/net/CurlAsyncCancelList.h"
#include "kapi/net/CurlInitNode.h"

#include <climits>

namespace Kapi {
namespace Net {

CurlAsync::CurlAsync(CurlPool* pool)
    : CurlEasy(pool), m_multi(pool), m_running(false), m_result(Curl::kPartialFile),
      m_mutex(Mutex::New()), m_cancelled(false),
      m_cancelList(CurlInitNode::s_instance->getCurlAsyncCancelList())
{
    setTransferListener(this);
}

CurlAsync::~CurlAsync() = default;

Curl::Code CurlAsync::perform()
{
    if (m_cancelList != nullptr && !m_cancelList->addToList(this)) {
        return m_result;
    }
    m_running = true;
    m_multi.addHandle(this);
    while (m_running) {
        bool cancelled;
        {
            MutexLocker lock(*m_mutex);
            cancelled = m_cancelled;
        }
        if (cancelled) {
            if (m_running) {
                m_multi.removeHandle(this);
            }
            break;
        }
        m_multi.go(LLONG_MAX);
    }
    if (m_cancelList != nullptr) {
        m_cancelList->removeFromList(this);
    }
    return m_result;
}

void CurlAsync::transferComplete(Curl::Code code)
{
    m_running = false;
    m_result = code;
}

void CurlAsync::cancelPerform()
{
    {
        MutexLocker lock(*m_mutex);
        m_cancelled = true;
    }
    m_multi.cancelGo();
}

void CurlAsync::resetCancel()
{
    MutexLocker lock(*m_mutex);
    m_cancelled = false;
}

bool CurlAsync::performCancelled()
{
    MutexLocker lock(*m_mutex);
    return m_cancelled;
}

} // namespace Net
} // namespace Kapi
