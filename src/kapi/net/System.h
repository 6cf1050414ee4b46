#ifndef KAPI_NET_SYSTEM_H
#define KAPI_NET_SYSTEM_H
// Kapi::Net::System: a single-threaded event loop over an edge-triggered Kapi::Poll, driving
// non-blocking sockets, fixed-delay timeouts, idle work and work posted from other threads.
//
// Representation: seven FIFO timeout lists (hundredth, tenth, one, twenty and thirty seconds,
// fast, instant) plus the idle list; a timed list has one fixed delay and is appended at the
// tail, so its head is its earliest due. Live sockets form an intrusive list (`m_sockets`,
// counted by `m_socketCount`); sockets whose peer closed wait on the singly linked closables
// list, holding a reference, until the end of the loop iteration. Cross-thread posts wait on
// `m_crossThreadQueue`, guarded by the thread lock.
//
// Threads: everything here runs on the loop thread (the thread inside run(), or the creating
// thread before it), except what says otherwise: CrossThreadTimeout posting and cancelling,
// the two call-me factory getters, and the threading state they read. The thread lock object,
// once made, lives as long as the System, so a poster racing a shut-down never touches freed
// memory; turning threading off only unpublishes it (a late post is dropped).
//
// The loop ends when nothing can ever happen again: no due time, no socket, no idle work and
// threading off. shutDown() gets there: it stops the subsystems (newest first), turns threading
// off, cancels the timeouts and closes every socket. It leaves the hundredth-second and idle
// lists untouched, so work on those still runs after it.
#include "kapi/KapiTypes.h"
#include "kapi/Mutex.h"
#include "kapi/Poll.h"
#include "kapi/net/Timeout.h"

#include <atomic>
#include <memory>
#include <vector>

namespace Kapi {
namespace Stream {
class CallMeFactory;
}

namespace Net {

class Socket;
class Subsystem;
class TimeoutCallMeFactory;

class System
{
public:
    // Returns the current time in microseconds; the seam for tests that drive time by hand.
    typedef int64 (*Clock)(void* context);

    static constexpr int kDefaultMaxEvents = 1000;
    static constexpr int64 kDefaultFastTimeout = 50000;

    System();
    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    // Configuration, before run().
    void configureEnableThreading();
    void configureMaxEvents(int maxEvents);
    void configureFastTimeout(long long microseconds);
    // The clock behind due times (Kapi::Timer::now by default).
    void configureClock(Clock clock, void* context);

    // Loop thread. Before run() the subsystem is only recorded (run() starts it); while the
    // loop runs it is started at once and kept only when start() succeeds.
    bool installSubsystem(Subsystem* subsystem);
    bool uninstallSubsystem(Subsystem* subsystem);

    // Runs the loop on the calling thread until it ends; returns the exit code given to
    // shutDown(), or null when a subsystem refused to start.
    void* run();
    void shutDown(void* exitCode);

    // Any thread. Made once, owned by the System.
    const Stream::CallMeFactory* getTimeoutCallMeFactory();
    const Stream::CallMeFactory* getSameThreadTimeoutCallMeFactory();

    // One pass over the timeout lists: thirty-, twenty-, one-, tenth-, hundredth-second, fast,
    // then every instant item. Returns the poll wait in ms: 0 when anything ran, -1 when
    // nothing is due ever, else the time to the earliest due rounded up.
    int doTimeouts();

    int64 now() const { return m_clock(m_clockContext); }
    bool isRunning() const { return m_running; }
    int getMaxEvents() const { return m_maxEvents; }
    int64 getFastTimeout() const { return m_fastTimeout; }
    unsigned getSocketCount() const { return m_socketCount; }
    bool isThreadingEnabled() const { return m_threadingEnabled; }

private:
    friend class Timeout;
    friend class CrossThreadTimeout;
    friend class Socket;

    void loop_i();
    void runOneIdle_i();
    void processOtherThread_i();
    void grab_i();
    void tearDown_i();
    void setupThreading_i();
    void stopThreading_i();
    void cancelAllTimeouts_i();
    void closeAllSockets_i();
    // Closes and releases the sockets whose peer closed.
    void releaseClosables_i();
    void stopSubsystems_i();

    // Socket bookkeeping, loop thread.
    void linkSocket_i(Socket* socket);
    void unlinkSocket_i(Socket* socket);
    void pushClosable_i(Socket* socket);

    // Cross-thread queue, any thread.
    void postFromAnotherThread_i(CrossThreadTimeout* node);
    void cancelFromAnotherThread_i(CrossThreadTimeout* node);

    bool m_threadingEnabled = false;
    std::vector<Subsystem*> m_subsystems; // installation order
    bool m_running = false;
    void* m_exitCode = nullptr;
    bool m_shutDownRequested = false;
    std::unique_ptr<Poll> m_vPoll; // made by grab_i() in run(), deleted when run() ends
    int m_maxEvents = kDefaultMaxEvents;
    Socket* m_sockets = nullptr;                        // head of the live sockets
    TimeoutList<CrossThreadTimeout> m_crossThreadQueue; // guarded by the thread lock
    int64 m_fastTimeout = kDefaultFastTimeout;

    TimeoutList<Timeout> m_hundredthSecond;
    TimeoutList<Timeout> m_tenthSecond;
    TimeoutList<Timeout> m_oneSecond;
    TimeoutList<Timeout> m_twentySecond;
    TimeoutList<Timeout> m_thirtySecond;
    TimeoutList<Timeout> m_instant;
    TimeoutList<Timeout> m_fast;
    TimeoutList<Timeout> m_idle;

    // Published while threading is on; null otherwise. Points at m_threadLockStorage.
    std::atomic<Mutex*> m_pThreadLock{nullptr};
    std::unique_ptr<Mutex> m_threadLockStorage;
    bool m_acceptingPosts = false; // guarded by the thread lock

    Socket* m_closables = nullptr; // linked through Socket::m_nextClosable
    unsigned m_socketCount = 0;

    std::unique_ptr<Mutex> m_factoryMutex;
    std::unique_ptr<TimeoutCallMeFactory> m_multiThreadedFactory;
    std::unique_ptr<TimeoutCallMeFactory> m_sameThreadFactory;

    Clock m_clock;
    void* m_clockContext = nullptr;
};

} // namespace Net
} // namespace Kapi

#endif
