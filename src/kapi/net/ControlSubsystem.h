#ifndef KAPI_NET_CONTROLSUBSYSTEM_H
#define KAPI_NET_CONTROLSUBSYSTEM_H
// Kapi::NetThread::ControlSubsystem: the network thread's own subsystem, installed last. Its
// start() queues a startup timeout (run by the loop's first iteration, it tells the
// NetworkThread that the loop runs) and arms its cross-thread node with install().
//
// Other threads install and remove subsystems through it: the caller queues a PendingSubsystem
// (the subsystem, a done flag, the result and a condition) under `m_mutex`, posts the node and
// waits for the flag; install() on the loop thread takes every pending request, runs it on the
// System without holding the mutex, then marks each done and signals it. On the loop thread
// itself a request acts at once.
//
// The NetworkThread keeps one ControlSubsystem for its whole life and opens it for each run
// (open(), on the network thread before the loop starts) and closes it when the run is over.
// Requests that arrive before the loop can take posts wait in the lists; the startup timeout
// runs them. close() (also reached through stop() when the System shuts down) fails whatever
// is pending and refuses later requests, so no caller waits forever.
#include "kapi/Condition.h"
#include "kapi/Mutex.h"
#include "kapi/net/Subsystem.h"
#include "kapi/net/Timeout.h"

#include <memory>
#include <pthread.h>
#include <vector>

namespace Kapi {
namespace NetThread {

class NetworkThread;

class ControlSubsystem : public Net::Subsystem
{
public:
    explicit ControlSubsystem(NetworkThread* owner);
    ~ControlSubsystem() override;

    bool start() override;
    void stop() override;

    // Network thread, around one run of `system`.
    void open(Net::System* system);
    void close();

    // Any thread; block until the loop thread has done the work.
    bool installSubsystem(Net::Subsystem* subsystem);
    bool uninstallSubsystem(Net::Subsystem* subsystem);

private:
    struct PendingSubsystem
    {
        Net::Subsystem* subsystem;
        bool done;
        bool result;
        std::unique_ptr<Condition> condition;
    };

    bool request_i(Net::Subsystem* subsystem, bool install);
    static void finish_i(std::vector<PendingSubsystem*>& requests);
    static void install(void* self);
    static void startupTimeout(void* self);

    std::vector<PendingSubsystem*> m_pendingInstalls;
    std::vector<PendingSubsystem*> m_pendingRemovals;
    std::unique_ptr<Mutex> m_mutex;
    Net::CrossThreadTimeout m_installNode;
    Net::Timeout m_startupTimeout;
    NetworkThread* m_owner;
    // Guarded by m_mutex: the open run's System and thread; m_accepting between open and close.
    bool m_accepting = false;
    Net::System* m_system = nullptr;
    pthread_t m_loopThread{};
};

} // namespace NetThread
} // namespace Kapi

#endif
