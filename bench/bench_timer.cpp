// A repeating timer at a 100 ms period for 10 s on the default scheduler (the "TaskScheduler"
// node with an empty configuration). A timer's next run is queued `interval` after the previous
// timer() returned, so each firing's ideal time is the previous return plus the period (the first:
// the schedule() call plus the period). Reported: mean, max and min lateness (negative: early;
// tasks due within 16 ms may start at once) against that ideal time, and the drift of the last
// firing from the fixed grid start + n x period, in microseconds.
#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/Timed.h"
#include "kapi/Timer.h"
#include "kapi/vConfig.h"
#include "kapi/vLog.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace {

constexpr int64 kPeriod = 100000;
constexpr int kFirings = 100;

class LatenessTimer : public Kapi::Timed
{
public:
    ~LatenessTimer() override { deschedule(); }

    void begin()
    {
        m_start = m_ideal = Kapi::Timer::now() + kPeriod;
        schedule(kPeriod);
    }

    bool timer() override
    {
        const int64 now = Kapi::Timer::now();
        const int64 lateness = now - m_ideal;
        m_total += lateness;
        m_most = std::max(m_most, lateness);
        m_least = std::min(m_least, lateness);
        m_drift = now - (m_start + m_count * kPeriod);
        const bool again = ++m_count < kFirings;
        if (!again) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_finished = true;
            m_cond.notify_all();
        }
        m_ideal = Kapi::Timer::now() + kPeriod;
        return again;
    }

    void waitFinished()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_cond.wait(lock, [this] { return m_finished; });
    }

    // Read after waitFinished(): the counters were written before the notification.
    double meanLateness() const { return static_cast<double>(m_total) / m_count; }
    int64 maxLateness() const { return m_most; }
    int64 minLateness() const { return m_least; }
    int64 drift() const { return m_drift; }
    int count() const { return m_count; }

private:
    int64 m_start = 0;
    int64 m_ideal = 0;
    int64 m_total = 0;
    int64 m_most = 0;
    int64 m_least = INT64_MAX;
    int64 m_drift = 0;
    int m_count = 0;
    std::mutex m_mutex;
    std::condition_variable m_cond;
    bool m_finished = false;
};

void BM_TimerLateness(benchmark::State& state)
{
    vLogSetLevelAll(VLOG_NONE);
    Kapi::TaskSchedulerInitNode* node = Kapi::TaskSchedulerInitNode::getInstance();
    if (!node->start(Kapi::vConfig())) {
        state.SkipWithError("the TaskScheduler node did not start");
        return;
    }
    for (auto _ : state) {
        LatenessTimer timed;
        timed.begin();
        timed.waitFinished();
        state.counters["firings"] = timed.count();
        state.counters["mean_late_us"] = timed.meanLateness();
        state.counters["max_late_us"] = static_cast<double>(timed.maxLateness());
        state.counters["min_late_us"] = static_cast<double>(timed.minLateness());
        state.counters["grid_drift_us"] = static_cast<double>(timed.drift());
    }
    node->stop();
}

} // namespace

BENCHMARK(BM_TimerLateness)->Iterations(1)->Unit(benchmark::kSecond);
