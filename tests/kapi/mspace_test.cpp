// The memory space: a million random operations checked against a shadow model of the live
// blocks (inside the region, aligned, disjoint, contents kept, usage figures exact, everything
// coalescing back to one block), the in-place resizing and the edges of each entry point, the
// locked heap under several threads, and the end of the process on a corrupted heap.
#include "kapi/KeloMspace.h"
#include "kapi/Log.h"

#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr size_t kAlign = alignof(std::max_align_t);
constexpr size_t kRegionSize = 24u << 20;
// The random run is single-threaded; the thread-checking build only needs it to pass once.
#if defined(__SANITIZE_THREAD__)
constexpr long kOperations = 100000;
#else
constexpr long kOperations = 1000000;
#endif

uintptr_t toInt(const void* p)
{
    return reinterpret_cast<uintptr_t>(p);
}

// A region with its heap; the heap is destroyed with the region.
struct Heap
{
    explicit Heap(size_t size, int locked = 0, size_t skew = 0)
        : storage(new unsigned char[size + skew]), base(storage.get() + skew), size(size),
          msp(create_mspace_with_base(base, size, locked))
    {
    }
    ~Heap()
    {
        if (msp != nullptr)
            destroy_mspace(msp);
    }
    bool inside(const void* p, size_t n) const
    {
        return toInt(p) >= toInt(base) && toInt(p) + n <= toInt(base) + size;
    }

    std::unique_ptr<unsigned char[]> storage;
    unsigned char* base;
    size_t size;
    mspace msp;
};

// The pattern byte of block `id` at `offset`.
unsigned char patternByte(uint32_t id, size_t offset)
{
    return static_cast<unsigned char>(id * 131u + offset * 7u + (offset >> 8));
}

// Calls f(offset) for the sampled offsets of an n-byte block: its first and last 64 bytes and
// one word every 4 KiB (writing whole 64 KiB blocks a million times would dwarf the heap).
template <typename F> void forSampledOffsets(size_t n, F f)
{
    for (size_t i = 0; i < n && i < 64; ++i)
        f(i);
    for (size_t i = 64; i + 8 <= n; i += 4096)
        for (size_t j = i; j < i + 8; ++j)
            f(j);
    for (size_t i = n > 64 ? n - 64 : 0; i < n; ++i)
        f(i);
}

void fill(void* p, uint32_t id, size_t n)
{
    auto* bytes = static_cast<unsigned char*>(p);
    forSampledOffsets(n, [&](size_t i) { bytes[i] = patternByte(id, i); });
}

// True when the pattern of block `id` (n bytes) is intact below `limit`.
bool intact(const void* p, uint32_t id, size_t n, size_t limit)
{
    const auto* bytes = static_cast<const unsigned char*>(p);
    bool ok = true;
    forSampledOffsets(n,
                      [&](size_t i) { ok = ok && (i >= limit || bytes[i] == patternByte(id, i)); });
    return ok;
}

bool zeroed(const void* p, size_t n)
{
    const auto* bytes = static_cast<const unsigned char*>(p);
    bool ok = true;
    forSampledOffsets(n, [&](size_t i) { ok = ok && bytes[i] == 0; });
    return ok;
}

struct LiveBlock
{
    uint32_t id;
    size_t requested;
    size_t usable;
};

// The shadow model: live blocks by address, plus a vector for picking one at random.
class Shadow
{
public:
    // Records a new block after checking it against the region and every live block.
    void add(const Heap& heap, void* p, uint32_t id, size_t requested, size_t alignment)
    {
        const size_t usable = mspace_usable_size(p);
        ASSERT_GE(usable, requested);
        ASSERT_TRUE(heap.inside(p, usable)) << p;
        ASSERT_EQ(toInt(p) % alignment, 0u) << p;
        auto next = m_blocks.lower_bound(toInt(p));
        if (next != m_blocks.end()) {
            ASSERT_LE(toInt(p) + usable, next->first) << "overlaps the next live block";
        }
        if (next != m_blocks.begin()) {
            auto prev = std::prev(next);
            ASSERT_LE(prev->first + prev->second.usable, toInt(p)) << "overlaps the previous";
        }
        m_blocks.emplace(toInt(p), LiveBlock{id, requested, usable});
        m_order.push_back(p);
        m_usableTotal += usable;
    }
    // Forgets the block at m_order[index]; returns its record.
    LiveBlock remove(size_t index)
    {
        void* p = m_order[index];
        m_order[index] = m_order.back();
        m_order.pop_back();
        auto it = m_blocks.find(toInt(p));
        LiveBlock block = it->second;
        m_blocks.erase(it);
        m_usableTotal -= block.usable;
        return block;
    }
    const LiveBlock& at(size_t index) const { return m_blocks.at(toInt(m_order[index])); }
    void* pointer(size_t index) const { return m_order[index]; }
    size_t count() const { return m_order.size(); }
    size_t usableTotal() const { return m_usableTotal; }

private:
    std::map<uintptr_t, LiveBlock> m_blocks;
    std::vector<void*> m_order;
    size_t m_usableTotal = 0;
};

// Request sizes: half the 64 KiB stream samples, half spread log-uniformly over 1 B..256 KiB.
size_t randomSize(std::mt19937& rng)
{
    if (rng() % 2 == 0)
        return 65528;
    const unsigned bits = rng() % 18;
    const size_t low = size_t(1) << bits;
    return low + rng() % low;
}

TEST(MspaceTest, MillionRandomOperationsAgreeWithTheShadowModel)
{
    Heap heap(kRegionSize);
    ASSERT_NE(heap.msp, nullptr);
    const size_t overhead = mspace_block_overhead();
    const KeloMallinfo initial = mspace_mallinfo(heap.msp);
    EXPECT_EQ(initial.arena, kRegionSize);
    EXPECT_EQ(initial.freeBlocks, 1u);
    EXPECT_EQ(initial.largestFree, initial.free);
    const size_t baseUsage = initial.used;
    EXPECT_LT(baseUsage, 4096u);

    std::mt19937 rng(20240611);
    Shadow shadow;
    uint32_t nextId = 1;
    long failures = 0, inPlaceReallocs = 0;
    bool lastFailed = false;
    for (long op = 0; op < kOperations; ++op) {
        const unsigned kind = rng() % 100;
        // Freeing is likelier right after the region turned a request down.
        const bool release = shadow.count() > 0 && (kind < 30 || (lastFailed && kind < 60));
        lastFailed = false;
        if (release) {
            const size_t index = rng() % shadow.count();
            void* p = shadow.pointer(index);
            const LiveBlock block = shadow.remove(index);
            ASSERT_TRUE(intact(p, block.id, block.requested, block.requested)) << "op " << op;
            KELO_mspace_free(heap.msp, p);
        } else if (kind < 45 && shadow.count() > 0) {
            const size_t index = rng() % shadow.count();
            void* p = shadow.pointer(index);
            const LiveBlock block = shadow.at(index);
            const size_t size = randomSize(rng);
            void* moved = KELO_mspace_realloc(heap.msp, p, size);
            if (moved == nullptr) {
                ++failures; // the old block must be untouched
                lastFailed = true;
                ASSERT_TRUE(intact(p, block.id, block.requested, block.requested));
                continue;
            }
            inPlaceReallocs += moved == p;
            shadow.remove(index);
            ASSERT_TRUE(intact(moved, block.id, block.requested, size)) << "op " << op;
            const uint32_t id = nextId++;
            fill(moved, id, size);
            ASSERT_NO_FATAL_FAILURE(shadow.add(heap, moved, id, size, kAlign));
        } else {
            const size_t size = randomSize(rng);
            size_t alignment = kAlign;
            void* p = nullptr;
            if (kind < 80) {
                p = KELO_mspace_malloc(heap.msp, size);
            } else if (kind < 90) {
                p = KELO_mspace_calloc(heap.msp, size, 1);
                if (p != nullptr) {
                    ASSERT_TRUE(zeroed(p, size)) << "op " << op;
                }
            } else {
                alignment = size_t(32) << (rng() % 8);
                p = KELO_mspace_memalign(heap.msp, alignment, size);
            }
            if (p == nullptr) {
                ++failures;
                lastFailed = true;
                // Only when no free block could have held it.
                if (alignment == kAlign) {
                    ASSERT_LT(mspace_mallinfo(heap.msp).largestFree, size + overhead + kAlign);
                }
                continue;
            }
            const uint32_t id = nextId++;
            fill(p, id, size);
            ASSERT_NO_FATAL_FAILURE(shadow.add(heap, p, id, size, alignment));
        }
        if (op % 1000 == 0) {
            const KeloMallinfo info = mspace_mallinfo(heap.msp);
            ASSERT_EQ(info.used, baseUsage + shadow.usableTotal() + shadow.count() * overhead);
            ASSERT_EQ(info.liveBlocks, shadow.count());
            ASSERT_EQ(info.arena, info.used + info.free);
            const char* problem = mspace_check(heap.msp);
            ASSERT_EQ(problem, nullptr) << problem << " after op " << op;
        }
    }
    const KeloMallinfo full = mspace_mallinfo(heap.msp);
    printf("[ stats    ] %ld operations: %u blocks allocated, %ld requests refused, %ld in-place "
           "reallocs; at the end %zu live blocks holding %zu bytes, %zu free blocks\n",
           kOperations, nextId - 1, failures, inPlaceReallocs, shadow.count(), shadow.usableTotal(),
           full.freeBlocks);
    RecordProperty("operations", static_cast<int>(kOperations));
    EXPECT_GT(inPlaceReallocs, 0);

    while (shadow.count() > 0) {
        void* p = shadow.pointer(0);
        const LiveBlock block = shadow.remove(0);
        ASSERT_TRUE(intact(p, block.id, block.requested, block.requested));
        KELO_mspace_free(heap.msp, p);
    }
    const KeloMallinfo empty = mspace_mallinfo(heap.msp);
    EXPECT_EQ(empty.used, baseUsage);
    EXPECT_EQ(empty.freeBlocks, 1u);
    EXPECT_EQ(empty.liveBlocks, 0u);
    EXPECT_EQ(empty.largestFree, empty.free);
    EXPECT_EQ(mspace_check(heap.msp), nullptr);
}

TEST(MspaceTest, CreationNeedsRoomForBookkeepingAndOneBlock)
{
    unsigned char small[64];
    EXPECT_EQ(create_mspace_with_base(small, sizeof(small), 0), nullptr);
    EXPECT_EQ(create_mspace_with_base(nullptr, 1 << 20, 0), nullptr);
    // An odd base is aligned inside; the whole region except the bookkeeping is one block.
    Heap heap(1 << 20, 0, 3);
    ASSERT_NE(heap.msp, nullptr);
    const KeloMallinfo info = mspace_mallinfo(heap.msp);
    EXPECT_EQ(info.freeBlocks, 1u);
    void* p = KELO_mspace_malloc(heap.msp, info.largestFree - mspace_block_overhead());
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(heap.inside(p, mspace_usable_size(p)));
    EXPECT_EQ(mspace_mallinfo(heap.msp).free, 0u);
    EXPECT_EQ(KELO_mspace_malloc(heap.msp, 1), nullptr);
    KELO_mspace_free(heap.msp, p);
    EXPECT_EQ(KELO_mspace_malloc(heap.msp, info.largestFree), nullptr);
    EXPECT_EQ(KELO_mspace_malloc(heap.msp, SIZE_MAX), nullptr);
    EXPECT_EQ(destroy_mspace(heap.msp), size_t(1 << 20));
    heap.msp = nullptr;
}

TEST(MspaceTest, EdgesOfEachEntryPoint)
{
    Heap heap(1 << 20);
    void* zero = KELO_mspace_malloc(heap.msp, 0);
    void* zero2 = KELO_mspace_malloc(heap.msp, 0);
    ASSERT_NE(zero, nullptr);
    EXPECT_NE(zero, zero2);
    EXPECT_GE(mspace_usable_size(zero), 1u);
    EXPECT_EQ(mspace_usable_size(nullptr), 0u);
    KELO_mspace_free(heap.msp, nullptr);

    EXPECT_EQ(KELO_mspace_calloc(heap.msp, SIZE_MAX / 2, 4), nullptr); // overflow
    auto* zeros = static_cast<unsigned char*>(KELO_mspace_calloc(heap.msp, 100, 3));
    ASSERT_NE(zeros, nullptr);
    for (size_t i = 0; i < mspace_usable_size(zeros); ++i)
        ASSERT_EQ(zeros[i], 0) << i;

    for (size_t alignment : {size_t(1), size_t(24), size_t(64), size_t(4096), size_t(65536)}) {
        void* p = KELO_mspace_memalign(heap.msp, alignment, 1000);
        ASSERT_NE(p, nullptr) << alignment;
        const size_t expected = alignment < kAlign ? kAlign : std::bit_ceil(alignment);
        EXPECT_EQ(toInt(p) % expected, 0u) << alignment;
        EXPECT_GE(mspace_usable_size(p), 1000u);
    }
    EXPECT_EQ(KELO_mspace_memalign(heap.msp, size_t(1) << 21, 1), nullptr);
    EXPECT_EQ(mspace_check(heap.msp), nullptr);

    void* fresh = KELO_mspace_realloc(heap.msp, nullptr, 50);
    ASSERT_NE(fresh, nullptr);
    EXPECT_GE(mspace_usable_size(fresh), 50u);
    KELO_mspace_malloc_stats(heap.msp);
}

TEST(MspaceTest, ReallocGrowsIntoAFreeNeighbourAndShrinksInPlace)
{
    Heap heap(1 << 20);
    const size_t baseUsage = mspace_mallinfo(heap.msp).used;
    auto* a = static_cast<unsigned char*>(KELO_mspace_malloc(heap.msp, 1000));
    void* b = KELO_mspace_malloc(heap.msp, 4000);
    void* fence = KELO_mspace_malloc(heap.msp, 100);
    memset(a, 0x5a, 1000);
    KELO_mspace_free(heap.msp, b);
    // The free neighbour is absorbed; the content stays.
    EXPECT_EQ(KELO_mspace_realloc(heap.msp, a, 3000), a);
    EXPECT_GE(mspace_usable_size(a), 3000u);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(a[i], 0x5a) << i;
    // Shrinking gives the tail back, which merges with the rest of b's block.
    EXPECT_EQ(KELO_mspace_realloc(heap.msp, a, 10), a);
    EXPECT_EQ(a[9], 0x5a);
    EXPECT_EQ(mspace_check(heap.msp), nullptr);
    EXPECT_EQ(mspace_mallinfo(heap.msp).freeBlocks, 2u); // the hole and the region's tail
    // Too big to grow anywhere: null, and the block is left as it was.
    EXPECT_EQ(KELO_mspace_realloc(heap.msp, a, 2 << 20), nullptr);
    EXPECT_EQ(a[0], 0x5a);
    // Growth that does not fit next to the block moves it.
    void* moved = KELO_mspace_realloc(heap.msp, a, 100000);
    ASSERT_NE(moved, a);
    EXPECT_EQ(static_cast<unsigned char*>(moved)[5], 0x5a);
    KELO_mspace_free(heap.msp, moved);
    KELO_mspace_free(heap.msp, fence);
    const KeloMallinfo info = mspace_mallinfo(heap.msp);
    EXPECT_EQ(info.used, baseUsage);
    EXPECT_EQ(info.freeBlocks, 1u);
}

TEST(MspaceTest, LockedHeapServesSeveralThreads)
{
    Heap heap(4 << 20, 1);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 4; ++t)
        threads.emplace_back([&heap, t] {
            std::mt19937 rng(t);
            std::vector<void*> mine;
            for (int i = 0; i < 20000; ++i) {
                if (mine.size() > 20 || (!mine.empty() && rng() % 2 == 0)) {
                    const size_t index = rng() % mine.size();
                    KELO_mspace_free(heap.msp, mine[index]);
                    mine[index] = mine.back();
                    mine.pop_back();
                } else if (void* p = KELO_mspace_malloc(heap.msp, rng() % 20000)) {
                    memset(p, static_cast<int>(t), mspace_usable_size(p));
                    mine.push_back(p);
                }
            }
            for (void* p : mine)
                KELO_mspace_free(heap.msp, p);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mspace_check(heap.msp), nullptr);
    EXPECT_EQ(mspace_mallinfo(heap.msp).freeBlocks, 1u);
}

TEST(MspaceDeathTest, CorruptionEndsTheProcess)
{
    KELO_SKIP_UNDER_TSAN();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Heap heap(1 << 20);
            void* p = KELO_mspace_malloc(heap.msp, 100);
            void* q = KELO_mspace_malloc(heap.msp, 100);
            KELO_mspace_free(heap.msp, p);
            KELO_mspace_free(heap.msp, q); // merges with p's block
            KELO_mspace_free(heap.msp, p);
        },
        "Assertion failure: KeloDLMallocAbort: double free");
    EXPECT_DEATH(
        {
            Heap heap(1 << 20);
            auto* p = static_cast<unsigned char*>(KELO_mspace_malloc(heap.msp, 100));
            memset(p, 0xff, mspace_usable_size(p) + 4); // over the footer
            KELO_mspace_free(heap.msp, p);
        },
        "KeloDLMallocAbort: bad block footer");
    EXPECT_DEATH(
        {
            Heap heap(1 << 20);
            alignas(16) static unsigned char outside[64];
            KELO_mspace_free(heap.msp, outside + 16);
        },
        "KeloDLMallocAbort: pointer not in the heap");
}

} // namespace
