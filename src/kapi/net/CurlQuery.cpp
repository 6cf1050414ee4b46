// CurlQuery: the query's two-sided lifetime and the process-wide count of live queries.
#include "kapi/net/CurlQuery.h"

#include "kapi/Mutex.h"
#include "kapi/net/CurlCode.h"
#include "kapi/net/CurlListener.h"
#include "kapi/net/CurlTask.h"
#include "kapi/vLog.h"

namespace Kapi {
namespace Net {

namespace {

ScopedMutex& countMutex()
{
    static ScopedMutex s_mutex;
    return s_mutex;
}

int g_numCurlQueries = 0; // guarded by countMutex()

} // namespace

int CurlQuery::getNumCurlQueries()
{
    MutexLocker lock(countMutex());
    return g_numCurlQueries;
}

CurlQuery::CurlQuery(const Stream::CallMeFactory* factory, unsigned maxSize, bool useAsync)
    : m_callMe(nullptr), m_alive(true), m_task(nullptr), m_result(Curl::kQueryNotRun),
      m_finished(false), m_listener(nullptr)
{
    init_i(factory);
    m_task = new CurlTask(m_callMe, &m_alive, &m_result, &m_body, maxSize, nullptr, useAsync);
}

CurlQuery::CurlQuery(const Stream::CallMeFactory* factory, CurlEasy::PacketListener* listener,
                     bool useAsync)
    : m_callMe(nullptr), m_alive(true), m_task(nullptr), m_result(Curl::kQueryNotRun),
      m_finished(false), m_listener(nullptr)
{
    init_i(factory);
    m_task = new CurlTask(m_callMe, &m_alive, &m_result, nullptr, 0, listener, useAsync);
}

void CurlQuery::init_i(const Stream::CallMeFactory* factory)
{
    m_callMe = factory != nullptr ? factory->create() : nullptr;
    if (m_callMe != nullptr) {
        m_callMe->setChangeListener(this);
    } else if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR)) {
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "CurlQuery: no CallMe, the query cannot run");
    }
    MutexLocker lock(countMutex());
    ++g_numCurlQueries;
}

CurlQuery::~CurlQuery()
{
    {
        MutexLocker lock(countMutex());
        --g_numCurlQueries;
    }
    delete m_callMe;
}

CurlTask* CurlQuery::releaseTask()
{
    CurlTask* task = m_task;
    m_task = nullptr;
    if (m_callMe == nullptr) {
        // Nothing would ever report: the query counts as finished with 206.
        delete task;
        m_finished = true;
        return nullptr;
    }
    return task;
}

void CurlQuery::discardUnscheduled()
{
    if (m_task != nullptr) {
        m_task->detachCallMe();
        delete m_task;
        m_task = nullptr;
    }
    delete this;
}

void CurlQuery::changed()
{
    if (m_listener == nullptr) {
        delete this;
        return;
    }
    m_finished = true;
    m_listener->queryFinished(m_result, m_body);
}

void CurlQuery::setListener(CurlListener* listener)
{
    m_listener = listener;
    if (m_finished) {
        delete this;
    } else if (listener == nullptr) {
        m_alive.store(false, std::memory_order_relaxed);
    }
}

} // namespace Net
} // namespace Kapi
