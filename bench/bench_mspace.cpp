// The memory space against the process heap (glibc malloc) in the same program: malloc/free
// pairs and a random working set, for 64 KiB stream samples and for mixed sizes 16 B..256 KiB;
// then the mspace's fragmentation after a long random run (largest free block against all free
// bytes). The mspace runs unlocked over a 24 MiB region, as the streaming region is used.
#include "kapi/KeloMspace.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr size_t kRegionSize = 24u << 20;
constexpr size_t kSample = 65528;
constexpr size_t kWorkingSet = 200; // live blocks: 200 samples use about half the region

// Request sizes: all kSample (mixed == false) or log-uniform over 16 B..256 KiB.
std::vector<size_t> requestSizes(bool mixed)
{
    std::mt19937 rng(7);
    std::vector<size_t> sizes(4096, kSample);
    if (mixed)
        for (size_t& size : sizes) {
            const unsigned bits = 4 + rng() % 14;
            size = (size_t(1) << bits) + rng() % (size_t(1) << bits);
        }
    return sizes;
}

struct ProcessHeap
{
    void* allocate(size_t n) { return ::malloc(n); }
    void release(void* p) { ::free(p); }
};

struct Mspace
{
    Mspace()
        : region(new unsigned char[kRegionSize]),
          msp(create_mspace_with_base(region.get(), kRegionSize, 0))
    {
    }
    ~Mspace() { destroy_mspace(msp); }
    void* allocate(size_t n) { return KELO_mspace_malloc(msp, n); }
    void release(void* p) { KELO_mspace_free(msp, p); }

    std::unique_ptr<unsigned char[]> region;
    mspace msp;
};

template <typename Heap> void BM_Pairs(benchmark::State& state)
{
    Heap heap;
    const std::vector<size_t> sizes = requestSizes(state.range(0) != 0);
    size_t i = 0;
    for (auto _ : state) {
        auto* p = static_cast<char*>(heap.allocate(sizes[i++ % sizes.size()]));
        benchmark::DoNotOptimize(*p = 1);
        heap.release(p);
    }
    state.SetItemsProcessed(state.iterations());
}

// Each step frees a random live block and allocates the next size in its place.
template <typename Heap> void BM_WorkingSet(benchmark::State& state)
{
    Heap heap;
    const std::vector<size_t> sizes = requestSizes(state.range(0) != 0);
    std::vector<void*> live(kWorkingSet);
    size_t next = 0;
    for (void*& p : live)
        p = heap.allocate(sizes[next++ % sizes.size()]);
    std::mt19937 rng(11);
    long refused = 0;
    for (auto _ : state) {
        void*& slot = live[rng() % kWorkingSet];
        heap.release(slot);
        slot = heap.allocate(sizes[next++ % sizes.size()]);
        if (slot == nullptr)
            ++refused;
        else
            benchmark::DoNotOptimize(*static_cast<char*>(slot) = 1);
    }
    for (void* p : live)
        heap.release(p);
    state.SetItemsProcessed(state.iterations());
    state.counters["refused"] = static_cast<double>(refused);
}

// A million random mallocs, frees and reallocs with the region kept about 80% full; reports how
// much of the free space the largest free block holds at the end.
void BM_MspaceFragmentation(benchmark::State& state)
{
    const bool mixed = state.range(0) != 0;
    for (auto _ : state) {
        Mspace heap;
        std::mt19937 rng(3);
        std::vector<void*> live;
        size_t liveBytes = 0;
        std::vector<size_t> liveSizes;
        const std::vector<size_t> sizes = requestSizes(mixed);
        for (long op = 0; op < 1000000; ++op) {
            const bool release = !live.empty() && (liveBytes > kRegionSize * 8 / 10 || rng() % 2);
            if (release) {
                const size_t index = rng() % live.size();
                heap.release(live[index]);
                liveBytes -= liveSizes[index];
                live[index] = live.back();
                liveSizes[index] = liveSizes.back();
                live.pop_back();
                liveSizes.pop_back();
            } else if (void* p = heap.allocate(sizes[rng() % sizes.size()])) {
                live.push_back(p);
                liveSizes.push_back(mspace_usable_size(p));
                liveBytes += liveSizes.back();
            }
        }
        const KeloMallinfo info = mspace_mallinfo(heap.msp);
        state.counters["liveBytes"] = static_cast<double>(liveBytes);
        state.counters["freeBytes"] = static_cast<double>(info.free);
        state.counters["largestFree"] = static_cast<double>(info.largestFree);
        state.counters["largestPerFree"] =
            info.free != 0 ? static_cast<double>(info.largestFree) / info.free : 1.0;
        state.counters["freeBlocks"] = static_cast<double>(info.freeBlocks);
        for (void* p : live)
            heap.release(p);
    }
}

// Argument 0: 64 KiB samples; 1: mixed sizes.
BENCHMARK_TEMPLATE(BM_Pairs, Mspace)->Arg(0)->Arg(1);
BENCHMARK_TEMPLATE(BM_Pairs, ProcessHeap)->Arg(0)->Arg(1);
BENCHMARK_TEMPLATE(BM_WorkingSet, Mspace)->Arg(0)->Arg(1);
BENCHMARK_TEMPLATE(BM_WorkingSet, ProcessHeap)->Arg(0)->Arg(1);
BENCHMARK(BM_MspaceFragmentation)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
