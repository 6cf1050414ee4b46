// TokenBucket rate accuracy: one taker consumes fixed pieces as fast as the bucket allows for
// 5 s, at 1, 10 and 100 MB/s (pieces of 1/100 s worth of tokens, a bucket of 1/10 s, no
// initial tokens). Reported: "achieved/configured", the tokens taken per second of wall time
// over the configured rate (1.0 is exact; the pieces' waiting rounds down, so a little below
// 1.0 is expected).
#include "kapi/Timer.h"
#include "kapi/TokenBucket.h"

#include <benchmark/benchmark.h>

namespace {

constexpr int64 kDuration = 5000000; // microseconds

void BM_TokenBucketRate(benchmark::State& state)
{
    const int64 rate = state.range(0);
    const int64 piece = rate / 100;
    double ratio = 0;
    for (auto _ : state) {
        Kapi::TokenBucket bucket(rate, rate / 10, 0);
        const int64 start = Kapi::Timer::now();
        int64 taken = 0;
        int64 now = start;
        while (now - start < kDuration) {
            if (bucket.consume(piece) != Kapi::SUCCESS) {
                state.SkipWithError("consume failed");
                break;
            }
            taken += piece;
            now = Kapi::Timer::now();
        }
        const double seconds = static_cast<double>(now - start) / 1e6;
        ratio = static_cast<double>(taken) / seconds / static_cast<double>(rate);
    }
    state.counters["achieved/configured"] = ratio;
    state.counters["rate_MBps"] = static_cast<double>(rate) / 1e6;
}

} // namespace

BENCHMARK(BM_TokenBucketRate)
    ->Arg(1000000)
    ->Arg(10000000)
    ->Arg(100000000)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
