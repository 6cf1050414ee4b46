// Thread::New, the POSIX thread object, the process-wide thread stack size and the thread
// registry. The registry set is created on first use and never destroyed, so threads still
// running while static objects are destroyed at exit can leave it safely; its lock is held
// only for one insertion, removal or copy.
#include "kapi/PosixThread.h"

#include "kapi/vLog.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sched.h>
#include <set>
#include <sys/prctl.h>
#include <unistd.h>

namespace Kapi {

namespace {

constexpr unsigned kDefaultStackKb = 512;
constexpr unsigned kMinStackKb = 16;
constexpr unsigned kMaxStackKb = 1024;
constexpr size_t kGuardBytes = 4096;

pthread_mutex_t g_threadListLock = PTHREAD_MUTEX_INITIALIZER;

std::set<pid_t>& threadList()
{
    static std::set<pid_t>* const g_threadList = new std::set<pid_t>();
    return *g_threadList;
}

unsigned readStackSizeKb()
{
    unsigned kb = kDefaultStackKb;
    const char* text = getenv("KKTHREADSTACKSIZEINKB");
    if (text != nullptr) {
        const long value = strtol(text, nullptr, 10);
        if (value >= static_cast<long>(kMinStackKb) && value <= static_cast<long>(kMaxStackKb)) {
            kb = static_cast<unsigned>(value);
        }
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_OS, VLOG_INFO, "Using %u kb for threads stack size", kb);
    return kb;
}

// Decided by the first thread start of the process; later changes to the variable are ignored.
unsigned threadStackSizeKb()
{
    static const unsigned s_stackKb = readStackSizeKb();
    return s_stackKb;
}

} // namespace

std::unique_ptr<Thread> Thread::New(const char* name, Priority priority, Runnable* runnable)
{
    return std::make_unique<PosixThread>(name, priority, runnable);
}

unsigned Thread::getThreadCount()
{
    pthread_mutex_lock(&g_threadListLock);
    const size_t count = threadList().size();
    pthread_mutex_unlock(&g_threadListLock);
    return static_cast<unsigned>(count);
}

std::vector<pid_t> Thread::getThreadIds()
{
    pthread_mutex_lock(&g_threadListLock);
    std::vector<pid_t> ids(threadList().begin(), threadList().end());
    pthread_mutex_unlock(&g_threadListLock);
    return ids;
}

void PosixThread::addThreadToList(pid_t tid)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_OS, VLOG_DEBUG,
                    "PosixThread::addThreadToList() adding tid %u to thread list",
                    static_cast<unsigned>(tid));
    pthread_mutex_lock(&g_threadListLock);
    threadList().insert(tid);
    pthread_mutex_unlock(&g_threadListLock);
}

void PosixThread::removeThreadFromList(pid_t tid)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_OS, VLOG_DEBUG,
                    "PosixThread::removeThreadFromList() removing tid %u from thread list",
                    static_cast<unsigned>(tid));
    pthread_mutex_lock(&g_threadListLock);
    threadList().erase(tid);
    pthread_mutex_unlock(&g_threadListLock);
}

PosixThread::PosixThread(const char* name, Priority priority, Runnable* runnable)
    : m_mutex(Mutex::New(false)), m_cond(Condition::New()), m_handle(), m_finished(true),
      m_result(0), m_name(), m_priority(priority), m_runnable(runnable),
      m_niceValue(niceValueFor(priority))
{
    if (name != nullptr) {
        strncpy(m_name, name, sizeof(m_name) - 1);
    }
}

PosixThread::~PosixThread() noexcept(false)
{
    m_mutex->acquire();
    const bool onOwnThread = !m_finished && pthread_equal(m_handle, pthread_self()) != 0;
    if (onOwnThread) {
        m_finished = true;
        removeThreadFromList(getSystemThreadId());
        m_mutex->release();
        m_cond.reset();
        m_mutex.reset();
        // Unwinds this thread's stack; the delete-expression still frees this object.
        pthread_exit(nullptr);
    }
    m_mutex->release();
    join();
}

void PosixThread::start()
{
    const unsigned stackKb = threadStackSizeKb();
    MutexLocker locker(*m_mutex);
    if (!m_finished) {
        return;
    }
    m_finished = false;
    m_result = 0;
    m_niceValue = niceValueFor(m_priority);

    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
    pthread_attr_setguardsize(&attr, kGuardBytes);
    pthread_attr_setstacksize(&attr, static_cast<size_t>(stackKb) * 1024);
    pthread_attr_setschedpolicy(&attr, SCHED_OTHER);
    sched_param param{};
    param.sched_priority = 0;
    pthread_attr_setschedparam(&attr, &param);
    pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED);
    const int error = pthread_create(&m_handle, &attr, &PosixThread::threadEntry_i, this);
    pthread_attr_destroy(&attr);
    if (error != 0) {
        // Nothing runs: leave the thread finished so that join() and a later start() work.
        m_finished = true;
        if (vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_OS, VLOG_ERROR, "PosixThread::start() could not start %s: %s",
                        m_name, strerror(error));
    }
}

int PosixThread::join()
{
    MutexLocker locker(*m_mutex);
    while (!m_finished) {
        m_cond->wait(m_mutex.get(), kInfinite);
    }
    return m_result;
}

void* PosixThread::threadEntry_i(void* self)
{
    static_cast<PosixThread*>(self)->run_i();
    return nullptr;
}

void PosixThread::run_i()
{
    prctl(PR_SET_NAME, m_name, 0, 0, 0);
    // An increment on the calling thread's own nice value (per thread on Linux); a refused
    // raise of priority leaves the thread at the creator's value.
    const int niceResult = nice(m_niceValue);
    (void)niceResult;
    const pid_t tid = getSystemThreadId();
    addThreadToList(tid);
    if (vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_OS, VLOG_INFO, "thread %s starting", m_name);

    const int result = m_runnable->main();

    // After the release below this object may already be deleted by a joiner: touch nothing.
    MutexLocker locker(*m_mutex);
    m_result = result;
    m_finished = true;
    removeThreadFromList(tid);
    m_cond->broadcast();
}

} // namespace Kapi
