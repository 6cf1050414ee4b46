#ifndef KAPI_NET_NETWORKTHREAD_H
#define KAPI_NET_NETWORKTHREAD_H
// Kapi::NetThread::NetworkThread: the thread that runs the process's network loop. Its body
// (main) makes a System with threading on, installs the subsystems given before the start,
// installs a ControlSubsystem last and runs the loop; the System lives only inside main.
//
// start() returns once the loop has made its first iteration (or has failed to start, e.g. a
// subsystem refused). Subsystems installed while no thread body has taken the pending list
// are recorded and started by the loop; afterwards installSubsystem()/uninstallSubsystem()
// hand the work to the loop thread through the ControlSubsystem and block until it is done. stop()
// posts a cross-thread node whose callback shuts the System down, which ends the loop, then joins
// the thread.
//
// Threads: start(), stop(), installSubsystem() and uninstallSubsystem() from any thread other
// than the network thread (install and uninstall also work on the network thread itself, where
// they act at once); one controller at a time for start() and stop(). `m_lock` guards the
// loop state, the pending list and the System and ControlSubsystem pointers seen by callers.
#include "kapi/Mutex.h"
#include "kapi/Runnable.h"
#include "kapi/Semaphore.h"
#include "kapi/Thread.h"
#include "kapi/net/Timeout.h"

#include <memory>
#include <vector>

namespace Kapi {
namespace Net {
class Subsystem;
class System;
} // namespace Net

namespace NetThread {

class ControlSubsystem;

class NetworkThread : public Runnable
{
public:
    // `maxEvents` 0 keeps the System's default.
    explicit NetworkThread(unsigned maxEvents);
    ~NetworkThread() override;
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;

    bool start(const char* name, Thread::Priority priority);
    void stop();
    bool installSubsystem(Net::Subsystem* subsystem);
    bool uninstallSubsystem(Net::Subsystem* subsystem);

    // Called by the loop: its first iteration ran / it has returned.
    void loopStarted();
    void loopEnded();

    int main() override;

    bool isLoopRunning() const;
    // The running loop's System (null when none); for code on the network thread and tests.
    Net::System* getSystem() const;

private:
    static void stopTimeout(void* self);

    unsigned m_maxEvents;
    std::vector<Net::Subsystem*> m_pendingSubsystems;
    std::unique_ptr<Thread> m_thread;
    std::unique_ptr<Semaphore> m_startSemaphore;
    bool m_loopRunning = false;
    bool m_startSignalled = false; // this run posted the start semaphore
    bool m_pendingTaken = false;   // the running main() has installed the pending list
    Net::System* m_system = nullptr;
    std::unique_ptr<ControlSubsystem> m_control; // reused by every run
    bool m_loopEnded = false;
    Net::CrossThreadTimeout m_stopNode;
    std::unique_ptr<Mutex> m_lock;
};

} // namespace NetThread
} // namespace Kapi

#endif
