// The network thread: starting and stopping the thread that runs the loop, and the requests
// other threads make of it.
#include "kapi/net/NetworkThread.h"

#include "kapi/net/ControlSubsystem.h"
#include "kapi/net/Subsystem.h"
#include "kapi/net/System.h"
#include "kapi/vLog.h"

#include <openssl/crypto.h>

#include <algorithm>

namespace Kapi {
namespace NetThread {

NetworkThread::NetworkThread(unsigned maxEvents)
    : m_maxEvents(maxEvents), m_startSemaphore(Semaphore::New(0)),
      m_control(std::make_unique<ControlSubsystem>(this)),
      m_stopNode(this, &NetworkThread::stopTimeout), m_lock(Mutex::New())
{
}

NetworkThread::~NetworkThread()
{
    if (m_thread != nullptr)
        stop();
}

bool NetworkThread::start(const char* name, Thread::Priority priority)
{
    if (m_thread != nullptr)
        return false;
    {
        MutexLocker locker(*m_lock);
        m_loopEnded = false;
        m_startSignalled = false;
    }
    m_thread = Thread::New(name, priority, this);
    m_thread->start();
    m_startSemaphore->wait(kInfinite);
    if (isLoopRunning()) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "NetworkThread::start: Thread started");
        return true;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                    "NetworkThread::start: Thread could not configure or grab");
    m_thread->join();
    m_thread.reset();
    return false;
}

void NetworkThread::stop()
{
    bool joinThread = false;
    {
        MutexLocker locker(*m_lock);
        if (m_thread != nullptr && m_loopRunning) {
            m_loopRunning = false;
            if (!m_loopEnded) {
                if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
                    vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "%s: Using the stopTimeout",
                                __PRETTY_FUNCTION__);
                // m_system stays alive until main() has set m_loopEnded under this lock.
                m_stopNode.submitInstantFromAnotherThread(m_system);
            } else {
                if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
                    vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "%s: Already out of the loop",
                                __PRETTY_FUNCTION__);
            }
            m_loopEnded = false;
            joinThread = true;
        }
    }
    if (!joinThread) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "%s: Never started. Just ignore",
                        __PRETTY_FUNCTION__);
        return;
    }
    m_thread->join();
    m_thread.reset();
}

void NetworkThread::stopTimeout(void* self)
{
    static_cast<NetworkThread*>(self)->m_system->shutDown(nullptr);
}

bool NetworkThread::installSubsystem(Net::Subsystem* subsystem)
{
    {
        MutexLocker locker(*m_lock);
        if (!m_pendingTaken) {
            m_pendingSubsystems.push_back(subsystem);
            return true;
        }
    }
    return m_control->installSubsystem(subsystem);
}

bool NetworkThread::uninstallSubsystem(Net::Subsystem* subsystem)
{
    {
        MutexLocker locker(*m_lock);
        if (!m_pendingTaken) {
            auto found =
                std::find(m_pendingSubsystems.begin(), m_pendingSubsystems.end(), subsystem);
            if (found == m_pendingSubsystems.end())
                return false;
            m_pendingSubsystems.erase(found);
            return true;
        }
    }
    return m_control->uninstallSubsystem(subsystem);
}

void NetworkThread::loopStarted()
{
    MutexLocker locker(*m_lock);
    m_loopRunning = true;
    m_startSignalled = true;
    m_startSemaphore->post();
}

void NetworkThread::loopEnded()
{
    MutexLocker locker(*m_lock);
    m_loopEnded = true;
    m_pendingTaken = false;
    m_system = nullptr;
}

bool NetworkThread::isLoopRunning() const
{
    MutexLocker locker(*m_lock);
    return m_loopRunning;
}

Net::System* NetworkThread::getSystem() const
{
    MutexLocker locker(*m_lock);
    return m_system;
}

int NetworkThread::main()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "NetworkThread::main: Starting");
    std::unique_ptr<Net::System> system = std::make_unique<Net::System>();
    system->configureEnableThreading();
    if (m_maxEvents != 0)
        system->configureMaxEvents(static_cast<int>(m_maxEvents));
    std::vector<Net::Subsystem*> pending;
    {
        MutexLocker locker(*m_lock);
        m_system = system.get();
        pending.swap(m_pendingSubsystems);
        m_pendingTaken = true;
        m_control->open(system.get());
    }
    for (Net::Subsystem* subsystem : pending)
        system->installSubsystem(subsystem);
    system->installSubsystem(m_control.get());
    system->run();
    m_control->close();
    loopEnded();
    system.reset();
    bool signalled = false;
    {
        MutexLocker locker(*m_lock);
        signalled = m_startSignalled;
    }
    if (!signalled)
        m_startSemaphore->post(); // the loop never started: let start() return
    // TLS connections ran on this thread: free OpenSSL's per-thread state before it ends.
    OPENSSL_thread_stop();
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "NetworkThread::main: Exiting");
    return 0;
}

} // namespace NetThread
} // namespace Kapi
