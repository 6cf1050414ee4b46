// Installing and removing subsystems on the network thread on behalf of other threads.
#include "kapi/net/ControlSubsystem.h"

#include "kapi/net/NetworkThread.h"
#include "kapi/net/System.h"
#include "kapi/vLog.h"

#include <utility>

namespace Kapi {
namespace NetThread {

ControlSubsystem::ControlSubsystem(NetworkThread* owner)
    : m_mutex(Mutex::New()), m_installNode(this, &ControlSubsystem::install),
      m_startupTimeout(this, &ControlSubsystem::startupTimeout), m_owner(owner)
{
}

ControlSubsystem::~ControlSubsystem()
{
    close();
}

void ControlSubsystem::open(Net::System* system)
{
    MutexLocker locker(*m_mutex);
    m_system = system;
    m_loopThread = pthread_self();
    m_accepting = true;
}

void ControlSubsystem::close()
{
    MutexLocker locker(*m_mutex);
    m_accepting = false;
    m_system = nullptr;
    finish_i(m_pendingInstalls);
    finish_i(m_pendingRemovals);
}

void ControlSubsystem::finish_i(std::vector<PendingSubsystem*>& requests)
{
    for (PendingSubsystem* request : requests) {
        request->done = true;
        request->condition->signal();
    }
    requests.clear();
}

bool ControlSubsystem::start()
{
    m_startupTimeout.submitInstant(system);
    return true;
}

void ControlSubsystem::stop()
{
    m_startupTimeout.cancel();
    close();
}

bool ControlSubsystem::installSubsystem(Net::Subsystem* subsystem)
{
    return request_i(subsystem, true);
}

bool ControlSubsystem::uninstallSubsystem(Net::Subsystem* subsystem)
{
    return request_i(subsystem, false);
}

bool ControlSubsystem::request_i(Net::Subsystem* subsystem, bool install)
{
    Net::System* onLoopThread = nullptr;
    {
        MutexLocker locker(*m_mutex);
        if (!m_accepting)
            return false;
        if (pthread_equal(pthread_self(), m_loopThread)) {
            onLoopThread = m_system; // waiting for ourselves would never end
        } else {
            PendingSubsystem request{subsystem, false, false, Condition::New()};
            (install ? m_pendingInstalls : m_pendingRemovals).push_back(&request);
            // Before the loop takes posts this is dropped; the startup timeout then runs it.
            m_installNode.submitInstantFromAnotherThread(m_system);
            while (!request.done)
                request.condition->wait(m_mutex.get(), kInfinite);
            return request.result;
        }
    }
    return install ? onLoopThread->installSubsystem(subsystem)
                   : onLoopThread->uninstallSubsystem(subsystem);
}

void ControlSubsystem::install(void* self)
{
    ControlSubsystem* control = static_cast<ControlSubsystem*>(self);
    std::vector<PendingSubsystem*> installs;
    std::vector<PendingSubsystem*> removals;
    Net::System* system = nullptr;
    {
        MutexLocker locker(*control->m_mutex);
        installs.swap(control->m_pendingInstalls);
        removals.swap(control->m_pendingRemovals);
        system = control->m_system;
    }
    // The subsystems run without the mutex held: their start() and stop() may make requests
    // of their own.
    for (PendingSubsystem* request : installs)
        request->result = system->installSubsystem(request->subsystem);
    for (PendingSubsystem* request : removals)
        request->result = system->uninstallSubsystem(request->subsystem);
    MutexLocker locker(*control->m_mutex);
    finish_i(installs);
    finish_i(removals);
}

void ControlSubsystem::startupTimeout(void* self)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "ControlSubsystem::startupTimeout called");
    ControlSubsystem* control = static_cast<ControlSubsystem*>(self);
    control->m_owner->loopStarted();
    install(self);
}

} // namespace NetThread
} // namespace Kapi
