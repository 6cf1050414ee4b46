#ifndef KELO_TESTS_NET_NETTHREADTESTUTIL_H
#define KELO_TESTS_NET_NETTHREADTESTUTIL_H
// Test helpers for the network loop: a hand-driven clock, a Timeout that records its firing in
// a shared trace, a subsystem whose start/stop are recorded, and a counter to wait on.
#include "kapi/net/Subsystem.h"
#include "kapi/net/System.h"
#include "kapi/net/Timeout.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <pthread.h>
#include <string>
#include <vector>

namespace NetTest {

// A clock the test sets; counts its readings. Install with attach().
struct FakeClock
{
    int64 now = 0;
    unsigned reads = 0;
    // Runs on every reading, before the value is returned (may move `now`).
    std::function<void(FakeClock&)> onRead;

    void attach(Kapi::Net::System& system) { system.configureClock(&FakeClock::read, this); }
    static int64 read(void* self)
    {
        FakeClock* clock = static_cast<FakeClock*>(self);
        ++clock->reads;
        if (clock->onRead)
            clock->onRead(*clock);
        return clock->now;
    }
};

// A Timeout that appends its name to `trace` and then runs `then` (if any) when it fires.
struct TracedTimeout
{
    TracedTimeout(std::vector<std::string>& trace, std::string name)
        : trace(trace), name(std::move(name)), node(this, &TracedTimeout::fired)
    {
    }
    static void fired(void* self)
    {
        TracedTimeout* t = static_cast<TracedTimeout*>(self);
        t->trace.push_back(t->name);
        if (t->then)
            t->then();
    }

    std::vector<std::string>& trace;
    std::string name;
    std::function<void()> then;
    Kapi::Net::Timeout node;
};

// Records start/stop calls and the thread they ran on; start() answers `startResult`.
struct RecordingSubsystem : Kapi::Net::Subsystem
{
    RecordingSubsystem(std::vector<std::string>& trace, std::string name, bool startResult = true)
        : trace(trace), name(std::move(name)), startResult(startResult)
    {
    }
    bool start() override
    {
        trace.push_back(name + ".start");
        startThread = pthread_self();
        return startResult;
    }
    void stop() override
    {
        trace.push_back(name + ".stop");
        stopThread = pthread_self();
    }

    std::vector<std::string>& trace;
    std::string name;
    bool startResult;
    pthread_t startThread{};
    pthread_t stopThread{};
};

// Counts events from any thread; waitFor() blocks until a count is reached (false when it is
// not within a 30 s hang guard).
class Counter
{
public:
    void add()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_count;
        m_changed.notify_all();
    }
    bool waitFor(unsigned count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(30), [&] { return m_count >= count; });
    }
    unsigned get()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    unsigned m_count = 0;
};

} // namespace NetTest

#endif
