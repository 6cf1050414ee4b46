// The streaming-region allocator: usage counting, each full-region behaviour (fail at once, fall
// back to the process heap and count it, wait for a free), destroy with live blocks (its error
// line, the release, waking waiters) and the exact log lines.
#include "kapi/MspaceBufferAllocator.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

using Kapi::MspaceBufferAllocator;

namespace {

constexpr unsigned kRegionSize = 1u << 20;
constexpr unsigned kSample = 65528;

struct Region
{
    Region() : bytes(new unsigned char[kRegionSize]) {}
    MspaceBufferAllocator allocator(MspaceBufferAllocator::NoMemBehavior behaviour)
    {
        return MspaceBufferAllocator(bytes.get(), kRegionSize, behaviour);
    }
    bool contains(const void* p) const
    {
        const auto* q = static_cast<const unsigned char*>(p);
        return q >= bytes.get() && q < bytes.get() + kRegionSize;
    }
    std::unique_ptr<unsigned char[]> bytes;
};

// How many samples a fresh region holds, learnt from an allocator that fails when full (the
// heap's layout is the same for every region from new[]).
size_t samplesThatFit()
{
    Region probe;
    MspaceBufferAllocator allocator = probe.allocator(MspaceBufferAllocator::NOMEM_FAIL);
    std::vector<void*> blocks;
    while (void* p = allocator.malloc(kSample))
        blocks.push_back(p);
    for (void* p : blocks)
        allocator.free(p);
    return blocks.size();
}

// Allocates as many samples as the region holds; none may be a fallback block.
std::vector<void*> fillRegion(MspaceBufferAllocator& allocator, const Region& region)
{
    static const size_t s_count = samplesThatFit();
    std::vector<void*> blocks;
    for (size_t i = 0; i < s_count; ++i) {
        blocks.push_back(allocator.malloc(kSample));
        EXPECT_TRUE(region.contains(blocks.back()));
    }
    return blocks;
}

TEST(MspaceBufferAllocatorTest, CountsBytesBeyondItsBookkeepingAndLogsItsLife)
{
    Region region;
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_DEBUG);
    {
        MspaceBufferAllocator allocator = region.allocator(MspaceBufferAllocator::NOMEM_FAIL);
        EXPECT_EQ(allocator.getAllocedBytes(), 0u);
        void* p = allocator.malloc(100);
        ASSERT_TRUE(region.contains(p));
        EXPECT_EQ(allocator.getAllocedBytes(), mspace_usable_size(p) + mspace_block_overhead());
        allocator.reportStats();
        p = allocator.realloc(p, 5000);
        ASSERT_TRUE(region.contains(p));
        EXPECT_GE(mspace_usable_size(p), 5000u);
        allocator.free(p);
        allocator.free(nullptr);
        EXPECT_EQ(allocator.getAllocedBytes(), 0u);
    }
    const std::vector<std::string> lines = capture.summary();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "misc_system.notice: MspaceBufferAllocator::MspaceBufferAllocator() "
                        "STARTING TO USE EXTERNAL STREAMING BUFFERS!");
    EXPECT_EQ(lines[1].rfind("misc_system.info: MspaceBufferAllocator::reportStats(0x", 0), 0u)
        << lines[1];
    EXPECT_NE(lines[1].find(") used="), std::string::npos);
    EXPECT_NE(lines[1].find(" size=1048576 numFallbackAllocs=0"), std::string::npos);
    EXPECT_EQ(lines[2], "misc_system.notice: MspaceBufferAllocator::destroy() DONE USING USE "
                        "EXTERNAL STREAMING BUFFERS!");
}

TEST(MspaceBufferAllocatorTest, FullRegionFallsBackToTheProcessHeapAndCounts)
{
    Region region;
    MspaceBufferAllocator allocator = region.allocator(MspaceBufferAllocator::NOMEM_FALLBACK);
    std::vector<void*> inside = fillRegion(allocator, region);
    ASSERT_GE(inside.size(), 14u);
    std::vector<void*> outside;
    for (int i = 0; i < 3; ++i) {
        outside.push_back(allocator.malloc(kSample));
        ASSERT_FALSE(region.contains(outside.back()));
        memset(outside.back(), i, kSample);
    }
    EXPECT_EQ(allocator.getNumFallbackAllocs(), 3u);
    // A region block that cannot grow in place moves to the process heap with its content.
    memset(inside[0], 0x77, kSample);
    auto* moved = static_cast<unsigned char*>(allocator.realloc(inside[0], 3 * kSample));
    ASSERT_FALSE(region.contains(moved));
    EXPECT_EQ(moved[0], 0x77);
    EXPECT_EQ(moved[kSample - 1], 0x77);
    EXPECT_EQ(allocator.getNumFallbackAllocs(), 4u);
    // Fallback blocks resize on the process heap.
    moved = static_cast<unsigned char*>(allocator.realloc(moved, 4 * kSample));
    EXPECT_EQ(moved[kSample - 1], 0x77);
    inside[0] = moved;
    for (void* p : outside)
        allocator.free(p);
    EXPECT_EQ(allocator.getNumFallbackAllocs(), 1u);
    for (void* p : inside)
        allocator.free(p);
    EXPECT_EQ(allocator.getNumFallbackAllocs(), 0u);
    EXPECT_EQ(allocator.getAllocedBytes(), 0u);
}

TEST(MspaceBufferAllocatorTest, FullRegionFailsAtOnceWithoutFallback)
{
    Region region;
    MspaceBufferAllocator allocator = region.allocator(MspaceBufferAllocator::NOMEM_FAIL);
    std::vector<void*> inside = fillRegion(allocator, region);
    EXPECT_EQ(allocator.malloc(kSample), nullptr);
    EXPECT_EQ(allocator.realloc(inside[0], 3 * kSample), nullptr);
    EXPECT_EQ(allocator.getNumFallbackAllocs(), 0u);
    // Outside pointers are not this allocator's: realloc refuses, free ignores them.
    int local = 0;
    EXPECT_EQ(allocator.realloc(&local, 10), nullptr);
    allocator.free(&local);
    allocator.free(inside[0]);
    EXPECT_NE(allocator.malloc(kSample), nullptr); // the freed block is usable again
}

TEST(MspaceBufferAllocatorTest, FullRegionWaitsForAnotherThreadToFree)
{
    Region region;
    MspaceBufferAllocator allocator = region.allocator(MspaceBufferAllocator::NOMEM_WAIT);
    std::vector<void*> inside = fillRegion(allocator, region);
    ASSERT_FALSE(inside.empty());
    std::atomic<bool> done{false};
    void* got = nullptr;
    void* grown = nullptr;
    std::thread waiter([&] {
        got = allocator.malloc(kSample);
        grown = allocator.realloc(got, 2 * kSample);
        done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(done); // still waiting: nothing has been freed
    allocator.free(inside.back());
    inside.pop_back();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(done); // the malloc got its block; the realloc now waits for room to grow
    allocator.free(inside.back());
    inside.pop_back();
    allocator.free(inside.back()); // one of these frees leaves room beside or for the block
    inside.pop_back();
    waiter.join();
    EXPECT_TRUE(region.contains(got));
    EXPECT_TRUE(region.contains(grown));
    EXPECT_GE(mspace_usable_size(grown), 2 * kSample);
    allocator.free(grown);
    for (void* p : inside)
        allocator.free(p);
    EXPECT_EQ(allocator.getAllocedBytes(), 0u);
}

TEST(MspaceBufferAllocatorTest, DestroyWithLiveBlocksLogsReleasesAndWakesWaiters)
{
    Region region;
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
    MspaceBufferAllocator allocator = region.allocator(MspaceBufferAllocator::NOMEM_WAIT);
    std::vector<void*> inside = fillRegion(allocator, region);
    const size_t alloced = allocator.getAllocedBytes();
    ASSERT_GT(alloced, 0u);
    void* got = &region;
    std::thread waiter([&] { got = allocator.malloc(kSample); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    allocator.destroy();
    waiter.join();
    EXPECT_EQ(got, nullptr);
    ASSERT_EQ(capture.summary().size(), 1u);
    EXPECT_EQ(capture.summary()[0],
              "misc_system.error: MspaceBufferAllocator::destroy(): Trying to destory mspace "
              "before freeing all allocations from it. Alloced=" +
                  std::to_string(alloced) + ", Fallback=0");
    // Released: nothing more is handed out, frees into the old region are ignored, and a
    // second destroy (the destructor's) says nothing.
    EXPECT_EQ(allocator.malloc(16), nullptr);
    EXPECT_EQ(allocator.realloc(inside[0], 32), nullptr);
    allocator.free(inside[0]);
    EXPECT_EQ(allocator.getAllocedBytes(), 0u);
    allocator.destroy();
    EXPECT_EQ(capture.summary().size(), 1u);
}

TEST(MspaceBufferAllocatorTest, DestroyCountsLiveFallbackBlocks)
{
    Region region;
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
    auto allocator = std::make_unique<MspaceBufferAllocator>(region.bytes.get(), kRegionSize,
                                                             MspaceBufferAllocator::NOMEM_FALLBACK);
    void* outside = allocator->malloc(2 * kRegionSize);
    ASSERT_NE(outside, nullptr);
    allocator.reset();
    ::free(outside);
    ASSERT_EQ(capture.summary().size(), 1u);
    EXPECT_EQ(capture.summary()[0],
              "misc_system.error: MspaceBufferAllocator::destroy(): Trying to destory mspace "
              "before freeing all allocations from it. Alloced=0, Fallback=1");
}

TEST(MspaceBufferAllocatorTest, ThreadsShareTheRegionWhileWaiting)
{
    Region region;
    MspaceBufferAllocator allocator = region.allocator(MspaceBufferAllocator::NOMEM_WAIT);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&allocator, t] {
            std::vector<void*> mine;
            for (int i = 0; i < 2000; ++i) {
                // A waiting thread holds 3 samples; 4 x 3 leave room, so one always proceeds.
                if (mine.size() == 4) {
                    allocator.free(mine.front());
                    mine.erase(mine.begin());
                }
                void* p = allocator.malloc(kSample);
                ASSERT_NE(p, nullptr);
                memset(p, t, 64);
                mine.push_back(p);
            }
            for (void* p : mine)
                allocator.free(p);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(allocator.getAllocedBytes(), 0u);
}

} // namespace
