// The task scheduler with its default pool (1 CPU + 16 I/O workers) under a preloaded queue.
// Latency: a task scheduled for "now" until its work() starts, one at a time; reported as the
// iteration time (manual) and as mean/max counters in microseconds. Throughput: batches of
// trivial I/O tasks due now on a processor of concurrency 64, tasks per second.
// The preload sits either behind the measured tasks (due in an hour) or ahead of them (already
// due, but on a processor kept busy by a blocked task, so every worker scan walks past it).
#include "kapi/Task.h"
#include "kapi/TaskProcessor.h"
#include "kapi/TaskScheduler.h"
#include "kapi/Timer.h"
#include "kapi/vLog.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace {

using Kapi::Task;
using Kapi::TaskProcessor;
using Kapi::Timer;

class FnTask : public Kapi::IOTask
{
public:
    explicit FnTask(std::function<void()> fn) : IOTask(1), m_fn(std::move(fn)) {}
    void work() override { m_fn(); }

private:
    std::function<void()> m_fn;
};

// Counts finished tasks; wait(n) returns once n have finished since the last wait.
class Completion
{
public:
    void one()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_done;
        m_cond.notify_one();
    }
    void wait(int count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_cond.wait(lock, [&] { return m_done >= count; });
        m_done -= count;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    int m_done = 0;
};

// The default scheduler with `depth` tasks preloaded; `ahead` puts them before the measured
// tasks in the queue. Destruction releases the blocker and drops the preload.
class LoadedScheduler
{
public:
    LoadedScheduler(int depth, bool ahead) : m_scheduler(1, 16), m_preload(1)
    {
        vLogSetLevelAll(VLOG_NONE);
        if (ahead) {
            m_preload.schedule(new FnTask([this] { m_release.wait(1); }), Timer::now());
            while (m_scheduler.getQueueLength() != 0) // the blocker has started
                Kapi::Thread::yield();
        }
        const int64 when = ahead ? Timer::now() - 1000000 : Timer::now() + 3600LL * 1000000;
        for (int i = 0; i < depth; ++i)
            m_preload.schedule(new FnTask([] {}), when);
    }
    ~LoadedScheduler() { m_release.one(); }

    TaskProcessor& measured() { return m_measured; }

private:
    Kapi::TaskScheduler m_scheduler;
    Completion m_release;
    TaskProcessor m_preload;
    TaskProcessor m_measured{64};
};

void BM_Latency(benchmark::State& state)
{
    LoadedScheduler loaded(static_cast<int>(state.range(0)), state.range(1) != 0);
    Completion done;
    int64 total = 0;
    int64 most = 0;
    for (auto _ : state) {
        std::atomic<int64> started{0};
        const int64 scheduled = Timer::now();
        loaded.measured().schedule(new FnTask([&] {
                                       started = Timer::now();
                                       done.one();
                                   }),
                                   scheduled);
        done.wait(1);
        const int64 latency = started.load() - scheduled;
        total += latency;
        most = std::max(most, latency);
        state.SetIterationTime(static_cast<double>(latency) / 1e6);
    }
    state.counters["mean_us"] =
        static_cast<double>(total) / static_cast<double>(state.iterations());
    state.counters["max_us"] = static_cast<double>(most);
}

void BM_Throughput(benchmark::State& state)
{
    constexpr int kBatch = 500;
    LoadedScheduler loaded(static_cast<int>(state.range(0)), state.range(1) != 0);
    Completion done;
    for (auto _ : state) {
        const int64 now = Timer::now();
        for (int i = 0; i < kBatch; ++i)
            loaded.measured().schedule(new FnTask([&] { done.one(); }), now);
        done.wait(kBatch);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

void depths(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"depth", "ahead"});
    for (int ahead : {0, 1})
        for (int depth : {10, 100, 1000, 5000})
            benchmark->Args({depth, ahead});
}

} // namespace

BENCHMARK(BM_Latency)->Apply(depths)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Throughput)->Apply(depths)->Unit(benchmark::kMillisecond)->UseRealTime();
