// MultiBuffer throughput for the streaming pattern: a producer thread appends 65,528-byte
// blocks (each a fresh heap Buffer filled from a source area) while a consumer thread reads
// 131,036 bytes at a time, through a 15 MiB multibuffer without back buffer. The baseline does
// the same two copies of the same bytes on one thread with plain memcpy (into a staging ring,
// then out of it), so the difference is the cost of the multibuffer: allocation, locking,
// waking and the hand-over between threads. Reported as the rate counter "GB" (1e9 bytes per
// second).
#include "kapi/Buffer.h"
#include "kapi/MultiBuffer.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr unsigned kIn = 65528;
constexpr unsigned kOut = 131036;
constexpr size_t kTotal = 256u * 1024 * 1024; // per iteration
constexpr size_t kSource = 4u * 1024 * 1024;

const std::vector<unsigned char>& source()
{
    static const std::vector<unsigned char> bytes = [] {
        std::vector<unsigned char> b(kSource + kIn);
        uint32 state = 2463534242u;
        for (unsigned char& c : b) {
            state ^= state << 13;
            state ^= state >> 17;
            state ^= state << 5;
            c = static_cast<unsigned char>(state);
        }
        return b;
    }();
    return bytes;
}

void report(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
    state.counters["GB"] = benchmark::Counter(
        static_cast<double>(state.iterations() * kTotal) / 1e9, benchmark::Counter::kIsRate);
}

void BM_MultiBuffer(benchmark::State& state)
{
    const std::vector<unsigned char>& src = source();
    std::vector<unsigned char> dst(kOut);
    for (auto _ : state) {
        Kapi::MultiBuffer mb(15 * 1024 * 1024, 0);
        std::thread producer([&] {
            for (size_t done = 0; done < kTotal;) {
                const unsigned n = kTotal - done < kIn ? static_cast<unsigned>(kTotal - done) : kIn;
                auto b = std::make_unique<Kapi::Buffer>(n);
                b->assign(src.data() + done % kSource, n);
                if (mb.append(b.get(), nullptr) != Kapi::SUCCESS)
                    return;
                b.release();
                done += n;
            }
            mb.appendEof();
        });
        size_t received = 0;
        for (;;) {
            unsigned n = kOut;
            if (mb.read(dst.data(), &n, nullptr) != Kapi::SUCCESS)
                break;
            received += n;
            benchmark::DoNotOptimize(dst.data());
        }
        producer.join();
        if (received != kTotal)
            state.SkipWithError("lost bytes");
    }
    report(state);
}

void BM_MemcpyBaseline(benchmark::State& state)
{
    const std::vector<unsigned char>& src = source();
    std::vector<unsigned char> staging(15 * 1024 * 1024 + kOut);
    std::vector<unsigned char> dst(kOut);
    const size_t ring = 15u * 1024 * 1024;
    for (auto _ : state) {
        size_t in = 0, out = 0;
        while (out < kTotal) {
            // Fill in 65,528-byte pieces while a full read piece is not yet staged.
            while (in < kTotal && in - out < kOut) {
                const unsigned n = kTotal - in < kIn ? static_cast<unsigned>(kTotal - in) : kIn;
                const size_t at = in % ring;
                const size_t first = n < ring - at ? n : ring - at;
                memcpy(staging.data() + at, src.data() + in % kSource, first);
                memcpy(staging.data(), src.data() + in % kSource + first, n - first);
                in += n;
            }
            const size_t n = in - out < kOut ? in - out : kOut;
            const size_t at = out % ring;
            const size_t first = n < ring - at ? n : ring - at;
            memcpy(dst.data(), staging.data() + at, first);
            memcpy(dst.data() + first, staging.data(), n - first);
            benchmark::DoNotOptimize(dst.data());
            out += n;
        }
    }
    report(state);
}

} // namespace

BENCHMARK(BM_MultiBuffer)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_MemcpyBaseline)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
