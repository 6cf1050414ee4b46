// Message throughput through the handle library: a ping-pong between two handles (each delivery
// sends the next message to the other handle, so only one message is in flight) and one-way
// sending of a burst to one handle (the sender outruns the single delivery thread).
// The scheduler runs with its default workers (1 CPU, 16 I/O).
#include "kapi/GenHandleLib.h"
#include "kapi/Init.h"
#include "kapi/Message.h"
#include "kapi/Timer.h"
#include "kapi/vConfig.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>

namespace {

// Starts "TaskScheduler" and "GenHandleLib" once for the whole program.
GenHandleLib* library()
{
    static Kapi::Init::Init* runner = [] {
        auto* init = new Kapi::Init::Init("bench-handles", &GenHandleLib::g_initNode);
        Kapi::vConfig config;
        init->start(config);
        return init;
    }();
    (void)runner;
    return GenHandleLib::getGenHandleLib();
}

// Counts deliveries and wakes the benchmark thread when the expected number has arrived.
class Done
{
public:
    void reset(long expected)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_expected = expected;
        m_count = 0;
    }
    void arrive()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (++m_count == m_expected)
            m_cond.notify_all();
    }
    void wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_cond.wait(lock, [this] { return m_count >= m_expected; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    long m_expected = 0;
    long m_count = 0;
};

class Ball : public Kapi::Message
{
public:
    explicit Ball(long left) : Message(Kapi::MSG_CUSTOM), left(left) {}
    long left;
};

// Returns each ball to its partner until none are left.
class Player : public Handleable
{
public:
    bool notify(Kapi::Message* message) override
    {
        const long left = static_cast<Ball*>(message)->left;
        if (left > 0)
            GenHandleLib::getGenHandleLib()->sendMessageToHandle(partner, new Ball(left - 1),
                                                                 Kapi::Timer::now());
        else
            done->arrive();
        return true;
    }
    unsigned partner = 0;
    Done* done = nullptr;
};

// Counts every ball it receives.
class Sink : public Handleable
{
public:
    bool notify(Kapi::Message*) override
    {
        done->arrive();
        return true;
    }
    Done* done = nullptr;
};

void BM_PingPong(benchmark::State& state)
{
    GenHandleLib* lib = library();
    const long rally = state.range(0);
    Done done;
    Player a, b;
    const unsigned ha = lib->newHandle(&a);
    const unsigned hb = lib->newHandle(&b);
    a.partner = hb;
    b.partner = ha;
    a.done = b.done = &done;
    for (auto _ : state) {
        done.reset(1);
        lib->sendMessageToHandle(ha, new Ball(rally - 1), Kapi::Timer::now());
        done.wait();
    }
    state.SetItemsProcessed(state.iterations() * rally);
    lib->deleteHandle(ha, false);
    lib->deleteHandle(hb, false);
}
BENCHMARK(BM_PingPong)->Arg(10000)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_OneWay(benchmark::State& state)
{
    GenHandleLib* lib = library();
    const long burst = state.range(0);
    Done done;
    Sink sink;
    sink.done = &done;
    const unsigned h = lib->newHandle(&sink);
    for (auto _ : state) {
        done.reset(burst);
        for (long i = 0; i < burst; ++i)
            lib->sendMessageToHandle(h, new Ball(0), Kapi::Timer::now());
        done.wait();
    }
    state.SetItemsProcessed(state.iterations() * burst);
    lib->deleteHandle(h, false);
}
BENCHMARK(BM_OneWay)->Arg(100)->Arg(10000)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
