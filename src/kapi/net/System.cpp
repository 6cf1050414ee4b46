// The event loop's life cycle: configuration, subsystems, run and shut-down, the thread lock
// and cross-thread queue, socket bookkeeping and the call-me factories. The loop itself is in
// SystemLoop.cpp.
#include "kapi/net/System.h"

#include "kapi/PanicAssert.h"
#include "kapi/Timer.h"
#include "kapi/net/Socket.h"
#include "kapi/net/Subsystem.h"
#include "kapi/net/TimeoutCallMe.h"
#include "kapi/vLog.h"

#include <algorithm>
#include <new>

namespace Kapi {
namespace Net {

namespace {

int64 defaultClock(void*)
{
    return Timer::now();
}

} // namespace

System::System() : m_factoryMutex(Mutex::New()), m_clock(&defaultClock) {}

System::~System()
{
    // Unlinks the nodes of every list, so that the nodes' own destructors find them free.
    stopThreading_i();
    cancelAllTimeouts_i();
    m_hundredthSecond.clear();
    m_idle.clear();
    closeAllSockets_i();
}

void System::configureEnableThreading()
{
    m_threadingEnabled = true;
}

void System::configureMaxEvents(int maxEvents)
{
    m_maxEvents = maxEvents;
}

void System::configureFastTimeout(long long microseconds)
{
    m_fastTimeout = microseconds;
}

void System::configureClock(Clock clock, void* context)
{
    m_clock = clock != nullptr ? clock : &defaultClock;
    m_clockContext = context;
}

bool System::installSubsystem(Subsystem* subsystem)
{
    if (m_running) {
        subsystem->system = this;
        if (!subsystem->start()) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                            "System::installSubsystem: cannot start Subsystem %p",
                            static_cast<void*>(subsystem));
            return false;
        }
    }
    m_subsystems.push_back(subsystem);
    return true;
}

bool System::uninstallSubsystem(Subsystem* subsystem)
{
    auto found = std::find(m_subsystems.begin(), m_subsystems.end(), subsystem);
    if (found == m_subsystems.end()) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "System::uninstallSubsystem: unknown Subsystem %p",
                        static_cast<void*>(subsystem));
        return false;
    }
    m_subsystems.erase(found);
    subsystem->stop();
    return true;
}

void* System::run()
{
    m_shutDownRequested = false;
    m_exitCode = nullptr;
    grab_i();
    if (m_threadingEnabled)
        setupThreading_i();
    for (size_t i = 0; i < m_subsystems.size(); ++i) {
        Subsystem* subsystem = m_subsystems[i];
        subsystem->system = this;
        if (subsystem->start())
            continue;
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "Subsystem %p cannot start",
                        static_cast<void*>(subsystem));
        // Only the ones already started are stopped; the rest are dropped unstarted.
        std::vector<Subsystem*> started(m_subsystems.begin(), m_subsystems.begin() + i);
        m_subsystems.clear();
        for (auto it = started.rbegin(); it != started.rend(); ++it)
            (*it)->stop();
        shutDown(nullptr);
        tearDown_i();
        return nullptr;
    }
    m_running = true;
    loop_i();
    m_running = false;
    if (!m_shutDownRequested)
        shutDown(m_exitCode);
    tearDown_i();
    return m_exitCode;
}

void System::shutDown(void* exitCode)
{
    m_exitCode = exitCode;
    m_shutDownRequested = true;
    stopSubsystems_i();
    stopThreading_i();
    cancelAllTimeouts_i();
    closeAllSockets_i();
}

void System::stopSubsystems_i()
{
    // A stop() may uninstall others; take them one at a time from the back.
    while (!m_subsystems.empty()) {
        Subsystem* subsystem = m_subsystems.back();
        m_subsystems.pop_back();
        subsystem->stop();
    }
}

void System::grab_i()
{
    if (m_vPoll == nullptr)
        m_vPoll.reset(new (std::nothrow) Poll(Poll::POLL_EDGE_TRIGGERED));
    if (!(m_vPoll != nullptr)) {
        PanicAssertFail("m_vPoll != NULL", "System", 296);
    }
}

void System::tearDown_i()
{
    // Sockets still referenced after a shut-down no longer point at this System, so nothing
    // reaches the poll once it is gone.
    m_vPoll.reset();
}

void System::setupThreading_i()
{
    if (m_threadLockStorage == nullptr)
        m_threadLockStorage = Mutex::New();
    if (!(m_threadLockStorage != nullptr)) {
        PanicAssertFail("m_pThreadLock != NULL", "System", 254);
    }
    MutexLocker locker(*m_threadLockStorage);
    m_acceptingPosts = true;
    m_pThreadLock.store(m_threadLockStorage.get());
}

void System::stopThreading_i()
{
    Mutex* lock = m_pThreadLock.exchange(nullptr);
    if (lock == nullptr)
        return;
    MutexLocker locker(*lock);
    m_acceptingPosts = false;
    m_crossThreadQueue.clear();
}

void System::postFromAnotherThread_i(CrossThreadTimeout* node)
{
    Mutex* lock = m_pThreadLock.load();
    if (lock == nullptr)
        return;
    MutexLocker locker(*lock);
    if (!m_acceptingPosts)
        return;
    node->unlink();
    m_crossThreadQueue.append(node);
    // Under the lock: the poll outlives every post that found threading on.
    m_vPoll->cancelWaitForEvents();
}

void System::cancelFromAnotherThread_i(CrossThreadTimeout* node)
{
    Mutex* lock = m_pThreadLock.load();
    if (lock == nullptr)
        return;
    MutexLocker locker(*lock);
    node->unlink();
}

void System::cancelAllTimeouts_i()
{
    // The hundredth-second and idle lists are left as they are.
    m_thirtySecond.clear();
    m_twentySecond.clear();
    m_oneSecond.clear();
    m_tenthSecond.clear();
    m_fast.clear();
    m_instant.clear();
}

void System::closeAllSockets_i()
{
    for (Socket* socket = m_sockets; socket != nullptr; socket = socket->m_next)
        socket->suddenClose();
    while (m_sockets != nullptr) {
        Socket* socket = m_sockets;
        socket->sockAddRef(); // the notifications may drop the owner's handle
        unlinkSocket_i(socket);
        socket->cleanUp_i();
        socket->delRef();
    }
    releaseClosables_i();
}

void System::releaseClosables_i()
{
    while (m_closables != nullptr) {
        Socket* socket = m_closables;
        m_closables = socket->m_nextClosable;
        socket->m_nextClosable = nullptr;
        socket->close();
        socket->delRef();
    }
}

void System::linkSocket_i(Socket* socket)
{
    socket->m_prev = nullptr;
    socket->m_next = m_sockets;
    if (m_sockets != nullptr)
        m_sockets->m_prev = socket;
    m_sockets = socket;
    socket->m_inList = true;
    ++m_socketCount;
}

void System::unlinkSocket_i(Socket* socket)
{
    if (!socket->m_inList)
        return;
    if (socket->m_prev != nullptr)
        socket->m_prev->m_next = socket->m_next;
    else
        m_sockets = socket->m_next;
    if (socket->m_next != nullptr)
        socket->m_next->m_prev = socket->m_prev;
    socket->m_next = nullptr;
    socket->m_prev = nullptr;
    socket->m_inList = false;
    socket->m_pSystem = nullptr;
    --m_socketCount;
}

void System::pushClosable_i(Socket* socket)
{
    socket->m_nextClosable = m_closables;
    m_closables = socket;
}

const Stream::CallMeFactory* System::getTimeoutCallMeFactory()
{
    MutexLocker locker(*m_factoryMutex);
    if (m_multiThreadedFactory == nullptr)
        m_multiThreadedFactory = std::make_unique<TimeoutCallMeFactory>(true, this);
    return m_multiThreadedFactory.get();
}

const Stream::CallMeFactory* System::getSameThreadTimeoutCallMeFactory()
{
    MutexLocker locker(*m_factoryMutex);
    if (m_sameThreadFactory == nullptr)
        m_sameThreadFactory = std::make_unique<TimeoutCallMeFactory>(false, this);
    return m_sameThreadFactory.get();
}

} // namespace Net
} // namespace Kapi
