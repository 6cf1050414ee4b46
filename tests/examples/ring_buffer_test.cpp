// The locked byte ring: power-of-two sizes only, writes bounded by the free space, reads
// that wrap past the end of the storage, and a producer and a consumer on two threads.
#include "ring_buffer_lock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

std::vector<uint8> pattern(size_t n, uint8 start)
{
    std::vector<uint8> v(n);
    for (size_t i = 0; i < n; ++i)
        v[i] = static_cast<uint8>(start + i * 7);
    return v;
}

} // namespace

TEST(LockedFifo, SizesMustBePowersOfTwo)
{
    EXPECT_EQ(x_locked_fifo_alloc(1000), nullptr);
    uint8 storage[1000];
    EXPECT_EQ(x_locked_fifo_init(storage, 1000), nullptr);
    EXPECT_EQ(x_locked_fifo_alloc(3), nullptr);
    locked_fifo_t* f = x_locked_fifo_alloc(1024);
    ASSERT_NE(f, nullptr);
    EXPECT_TRUE(f->alloc);
    EXPECT_EQ(x_locked_fifo_size(f), 1024u);
    EXPECT_EQ(f->puc_data, reinterpret_cast<uint8*>(f + 1)); // storage follows the record
    x_locked_fifo_free(f);
}

TEST(LockedFifo, AWriteStoresAtMostTheFreeSpace)
{
    locked_fifo_t* f = x_locked_fifo_alloc(1024);
    ASSERT_NE(f, nullptr);
    const std::vector<uint8> data = pattern(1500, 1);
    EXPECT_EQ(x_locked_fifo_write(f, data.data(), 1500), 1024u);
    EXPECT_EQ(x_locked_fifo_len(f), 1024u);
    EXPECT_TRUE(x_locked_fifo_full(f));
    EXPECT_EQ(x_locked_fifo_write(f, data.data(), 1), 0u);

    std::vector<uint8> out(1024);
    EXPECT_EQ(x_locked_fifo_read(f, out.data(), 1024), 1024u);
    EXPECT_TRUE(std::equal(out.begin(), out.end(), data.begin()));
    EXPECT_EQ(x_locked_fifo_len(f), 0u);
    EXPECT_FALSE(x_locked_fifo_full(f));
    x_locked_fifo_free(f);
}

TEST(LockedFifo, DataWrapsPastTheEndOfTheCallersStorage)
{
    std::vector<uint8> storage(16, 0xee);
    locked_fifo_t* f = x_locked_fifo_init(storage.data(), 16);
    ASSERT_NE(f, nullptr);
    EXPECT_FALSE(f->alloc);
    EXPECT_EQ(f->puc_data, storage.data());

    const std::vector<uint8> first = pattern(12, 10);
    ASSERT_EQ(x_locked_fifo_write(f, first.data(), 12), 12u);
    std::vector<uint8> out(16);
    ASSERT_EQ(x_locked_fifo_read(f, out.data(), 10), 10u);
    // 2 bytes left at positions 10..11; 10 more go to 12..15 and 0..5.
    const std::vector<uint8> second = pattern(10, 100);
    ASSERT_EQ(x_locked_fifo_write(f, second.data(), 10), 10u);
    EXPECT_EQ(storage[15], second[3]);
    EXPECT_EQ(storage[0], second[4]);
    EXPECT_EQ(x_locked_fifo_len(f), 12u);

    ASSERT_EQ(x_locked_fifo_read(f, out.data(), 12), 12u);
    EXPECT_EQ(out[0], first[10]);
    EXPECT_EQ(out[1], first[11]);
    EXPECT_TRUE(std::equal(second.begin(), second.end(), out.begin() + 2));
    EXPECT_EQ(f->z_read, 22u);
    EXPECT_EQ(f->z_write, 22u);

    x_locked_fifo_reset(f);
    EXPECT_EQ(f->z_read, 0u);
    EXPECT_EQ(f->z_write, 0u);
    x_locked_fifo_free(f); // the caller's storage stays
    EXPECT_EQ(storage.size(), 16u);
}

TEST(LockedFifo, IndicesKeepWorkingWhenTheyPassTwoToTheThirtyTwo)
{
    locked_fifo_t* f = x_locked_fifo_alloc(8);
    ASSERT_NE(f, nullptr);
    f->z_read = f->z_write = 0xfffffffcu;
    const std::vector<uint8> data = pattern(8, 3);
    EXPECT_EQ(x_locked_fifo_write(f, data.data(), 8), 8u);
    EXPECT_EQ(f->z_write, 4u);
    EXPECT_EQ(x_locked_fifo_len(f), 8u);
    EXPECT_TRUE(x_locked_fifo_full(f));
    std::vector<uint8> out(8);
    EXPECT_EQ(x_locked_fifo_read(f, out.data(), 8), 8u);
    EXPECT_EQ(out, data);
    x_locked_fifo_free(f);
}

TEST(LockedFifo, AProducerAndAConsumerOnTwoThreadsPassEveryByteInOrder)
{
    locked_fifo_t* f = x_locked_fifo_alloc(256);
    ASSERT_NE(f, nullptr);
    constexpr uint32 kTotal = 200000;
    std::thread producer([f] {
        uint8 chunk[97];
        uint32 sent = 0;
        while (sent < kTotal) {
            const uint32 n = std::min<uint32>(sizeof(chunk), kTotal - sent);
            for (uint32 i = 0; i < n; ++i)
                chunk[i] = static_cast<uint8>((sent + i) % 251);
            uint32 done = 0;
            while (done < n) {
                done += x_locked_fifo_write(f, chunk + done, n - done);
                if (done < n)
                    std::this_thread::yield();
            }
            sent += n;
        }
    });
    uint32 received = 0;
    bool inOrder = true;
    uint8 buffer[64];
    while (received < kTotal) {
        // Never more than the fill level: the ring's read contract.
        const uint32 n = std::min<uint32>(sizeof(buffer), x_locked_fifo_len(f));
        const uint32 got = x_locked_fifo_read(f, buffer, n);
        for (uint32 i = 0; i < got; ++i)
            inOrder = inOrder && buffer[i] == static_cast<uint8>((received + i) % 251);
        received += got;
        if (got == 0)
            std::this_thread::yield();
    }
    producer.join();
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(received, kTotal);
    EXPECT_EQ(x_locked_fifo_len(f), 0u);
    x_locked_fifo_free(f);
}
