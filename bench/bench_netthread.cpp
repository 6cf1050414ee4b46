// The network loop's costs. RoundTrip: a thread posts a CrossThreadTimeout to the running
// network thread (lock, queue, one byte to the wake pipe) and waits on a semaphore that the
// callback posts on the loop thread; one iteration is the whole round trip. SubmitCancel: a
// timed Timeout submitted and cancelled on an idle System, with `range` other timeouts already
// in the same list (a submit appends at the tail, so the cost should not grow). SubmitAndRun:
// an instant Timeout submitted and run by one doTimeouts pass.
#include "kapi/Semaphore.h"
#include "kapi/net/NetworkThread.h"
#include "kapi/net/System.h"
#include "kapi/net/Timeout.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace {

struct Echo
{
    static void ran(void* self) { static_cast<Echo*>(self)->done->post(); }

    std::unique_ptr<Kapi::Semaphore> done = Kapi::Semaphore::New(0);
    Kapi::Net::CrossThreadTimeout node{this, &Echo::ran};
};

void RoundTrip(benchmark::State& state)
{
    Kapi::NetThread::NetworkThread thread(0);
    if (!thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL)) {
        state.SkipWithError("the network thread did not start");
        return;
    }
    Kapi::Net::System* system = thread.getSystem();
    Echo echo;
    for (auto _ : state) {
        echo.node.submitInstantFromAnotherThread(system);
        echo.done->wait(Kapi::kInfinite);
    }
    thread.stop();
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(RoundTrip)->UseRealTime();

void SubmitCancel(benchmark::State& state)
{
    Kapi::Net::System system;
    std::vector<std::unique_ptr<Kapi::Net::Timeout>> others;
    for (int64_t i = 0; i < state.range(0); ++i) {
        others.push_back(std::make_unique<Kapi::Net::Timeout>(nullptr, [](void*) {}));
        others.back()->submitTenthSecond(&system);
    }
    Kapi::Net::Timeout timeout(nullptr, [](void*) {});
    for (auto _ : state) {
        timeout.submitTenthSecond(&system);
        timeout.cancel();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(SubmitCancel)->Arg(0)->Arg(1000);

void SubmitAndRun(benchmark::State& state)
{
    Kapi::Net::System system;
    int runs = 0;
    Kapi::Net::Timeout timeout(&runs, [](void* count) { ++*static_cast<int*>(count); });
    for (auto _ : state) {
        timeout.submitInstant(&system);
        benchmark::DoNotOptimize(system.doTimeouts());
    }
    if (runs != static_cast<int>(state.iterations()))
        state.SkipWithError("a timeout did not run");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(SubmitAndRun);

} // namespace
