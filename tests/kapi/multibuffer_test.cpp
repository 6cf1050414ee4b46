// MultiBuffer and TimedMultiBuffer: accounting by reserved size and length, back-buffer
// trimming, the end-of-file and readBuffer rules, blocking and release of producer and
// consumer, and a 1 GiB producer/consumer run whose two SHA-1 digests must agree.
#include "kapi/MultiBuffer.h"
#include "kapi/Thread.h"
#include "kapi/TimedMultiBuffer.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

using Kapi::Buffer;
using Kapi::BufferingInformation;
using Kapi::MultiBuffer;

namespace {

// A block of `length` bytes counting up from `first`, in an area of `reserved` bytes.
Buffer* block(unsigned length, unsigned reserved = 0, unsigned char first = 0)
{
    Buffer* b = new Buffer(reserved > length ? reserved : length);
    std::vector<unsigned char> bytes(length);
    for (unsigned i = 0; i < length; ++i)
        bytes[i] = static_cast<unsigned char>(first + i);
    b->assign(bytes.data(), length);
    return b;
}

BufferingInformation info(const MultiBuffer& mb)
{
    BufferingInformation result;
    EXPECT_EQ(mb.getBufferingInformation(result), Kapi::SUCCESS);
    return result;
}

// (begin, current, end, allocated) in one comparable value.
std::vector<int64> positions(const MultiBuffer& mb)
{
    const BufferingInformation i = info(mb);
    return {i.m_begin, i.m_currentPosition, i.m_end, i.m_bytesAllocated};
}

std::string pointer(const void* p)
{
    char text[32];
    snprintf(text, sizeof text, "%p", p);
    return text;
}

// Blocks until `capture` holds a line containing `text` (the other thread is then waiting or
// about to wait; either way its outcome is the same).
void awaitLog(const LogCapture& capture, const std::string& text)
{
    for (;;) {
        for (const std::string& line : capture.summary())
            if (line.find(text) != std::string::npos)
                return;
        Kapi::Thread::sleep(1000);
    }
}

long long kShort = 1000; // a time-out that must expire: nothing else happens meanwhile

} // namespace

TEST(MultiBufferTest, AccountsReservedBytesAndReadsAcrossBlocks)
{
    MultiBuffer mb(1000, 1000);
    ASSERT_EQ(mb.append(block(10, 16, 0), nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.append(block(5, 8, 10), nullptr), Kapi::SUCCESS);
    EXPECT_EQ(positions(mb), (std::vector<int64>{0, 0, 15, 24}));

    unsigned char out[100];
    unsigned n = 4;
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(n, 4u);
    n = 100; // more than held: returns what is there without waiting again
    ASSERT_EQ(mb.read(out + 4, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(n, 11u);
    for (unsigned i = 0; i < 15; ++i)
        EXPECT_EQ(out[i], i);
    EXPECT_EQ(positions(mb), (std::vector<int64>{0, 15, 15, 24}));

    const Kapi::KeyValueMap map = info(mb).toKeyValueMap();
    EXPECT_EQ(map.size(), 5u);
    EXPECT_EQ(map.getValueAsInteger64("m_begin"), 0);
    EXPECT_EQ(map.getValueAsInteger64("m_currentPosition"), 15);
    EXPECT_EQ(map.getValueAsInteger64("m_end"), 15);
    EXPECT_FALSE(map.getValueAsBoolean("m_eofReached"));
    EXPECT_EQ(map.getValueAsInteger64("m_bytesAllocated"), 24);
}

TEST(MultiBufferTest, EndOfFileRules)
{
    LogCapture capture(VLOGSRC_KAPI_HELPER, VLOG_ERROR);
    MultiBuffer mb(100, 0);
    unsigned char out[8];
    unsigned n = 0;
    EXPECT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS); // 0 wanted: no wait, no data needed

    ASSERT_EQ(mb.append(block(3), nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.appendEof(), Kapi::SUCCESS);
    EXPECT_EQ(mb.appendEof(), Kapi::INVALID_ARGUMENTS);
    Buffer* late = block(2);
    EXPECT_EQ(mb.append(late, nullptr), Kapi::INVALID_ARGUMENTS);
    EXPECT_EQ(late->getLength(), 2u); // still the caller's
    delete late;

    n = 8; // the bytes before end of file are still delivered
    EXPECT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(n, 3u);
    n = 8;
    EXPECT_EQ(mb.read(out, &n, nullptr), Kapi::PIPELINE_END_OF_FILE);
    EXPECT_EQ(n, 0u);
    EXPECT_TRUE(info(mb).m_eofReached);

    const std::string self = pointer(&mb);
    EXPECT_EQ(
        capture.summary(),
        (std::vector<std::string>{
            "kapi_helper.error: MultiBuffer@" + self + "::appendEof(): EOF has already been set",
            "kapi_helper.error: MultiBuffer@" + self + "::append(): Trying to append after EOF"}));
}

TEST(MultiBufferTest, WithoutBackBufferTrimsEveryReadBlockButTheCurrent)
{
    MultiBuffer mb(1000, 0);
    for (unsigned char i = 0; i < 3; ++i)
        ASSERT_EQ(mb.append(block(10, 12, 10 * i), nullptr), Kapi::SUCCESS);
    unsigned char out[32];
    unsigned n = 10; // exactly the first block: the read position moves on into the second
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(positions(mb), (std::vector<int64>{10, 10, 30, 24}));
    n = 20; // to the very end: the newest block stays, being current
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(positions(mb), (std::vector<int64>{20, 30, 30, 12}));
    ASSERT_EQ(mb.append(block(10, 12, 30), nullptr), Kapi::SUCCESS);
    EXPECT_EQ(positions(mb), (std::vector<int64>{20, 30, 40, 24}));
    n = 1; // the read position is in the new block: the old one goes
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(out[0], 30);
    EXPECT_EQ(positions(mb), (std::vector<int64>{30, 31, 40, 12}));
}

TEST(MultiBufferTest, BackBufferKeepsAtMostItsSizeOfReadBytes)
{
    MultiBuffer mb(1000, 15);
    for (unsigned char i = 0; i < 4; ++i)
        ASSERT_EQ(mb.append(block(10, 10, 10 * i), nullptr), Kapi::SUCCESS);
    unsigned char out[40];
    unsigned n = 15; // back buffer 15: nothing trimmed
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(positions(mb), (std::vector<int64>{0, 15, 40, 40}));
    n = 16; // 31 read: oldest blocks go until at most 15 remain (21 -> 11)
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(positions(mb), (std::vector<int64>{20, 31, 40, 20}));
    EXPECT_EQ(out[0], 15);
}

TEST(MultiBufferTest, CapacityCountsReservedSizeAndTheCurrentBlock)
{
    MultiBuffer mb(100, 0);
    Buffer* huge = block(1, 101); // reserved alone exceeds the capacity: never accepted
    EXPECT_EQ(mb.append(huge, &kShort), Kapi::TIMED_OUT);
    ASSERT_EQ(mb.append(block(60), nullptr), Kapi::SUCCESS);
    unsigned char out[60];
    unsigned n = 60;
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    // Fully read, but still the current block, so its memory still counts.
    Buffer* next = block(60);
    EXPECT_EQ(mb.append(next, &kShort), Kapi::TIMED_OUT);
    EXPECT_EQ(mb.waitForSpace(41, &kShort), Kapi::TIMED_OUT);
    EXPECT_EQ(mb.waitForSpace(40, nullptr), Kapi::SUCCESS);

    // A disable releases a producer waiting for space that can never come.
    LogCapture capture(VLOGSRC_KAPI_HELPER, VLOG_DEBUG);
    Kapi::Status status = Kapi::SUCCESS;
    std::thread producer([&] { status = mb.append(huge, nullptr); });
    awaitLog(capture, "Waiting for space 100 (0 60 60, allocated 60, req 101)");
    mb.disable();
    producer.join();
    EXPECT_EQ(status, Kapi::FAILURE);
    EXPECT_EQ(mb.append(next, nullptr), Kapi::FAILURE);
    EXPECT_EQ(mb.appendEof(), Kapi::FAILURE);
    n = 1;
    EXPECT_EQ(mb.read(out, &n, nullptr), Kapi::FAILURE);
    EXPECT_EQ(info(mb).m_bytesAllocated, 0);
    delete huge; // both stayed the caller's
    delete next;
}

TEST(MultiBufferTest, ProducerBlocksUntilTheConsumerMovesPastABlock)
{
    LogCapture capture(VLOGSRC_KAPI_HELPER, VLOG_DEBUG);
    MultiBuffer mb(150, 0);
    ASSERT_EQ(mb.append(block(60, 60, 0), nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.append(block(60, 60, 60), nullptr), Kapi::SUCCESS);
    Kapi::Status status = Kapi::FAILURE;
    std::thread producer([&] { status = mb.append(block(60, 60, 120), nullptr); });
    awaitLog(capture, "Waiting for space");
    unsigned char out[180];
    unsigned n = 61; // into the second block: the first is trimmed, making room
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    producer.join();
    EXPECT_EQ(status, Kapi::SUCCESS);
    EXPECT_EQ(positions(mb), (std::vector<int64>{60, 61, 180, 120}));
    n = 119;
    ASSERT_EQ(mb.read(out + 61, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(n, 119u);
    for (unsigned i = 0; i < 180; ++i)
        ASSERT_EQ(out[i], static_cast<unsigned char>(i));
}

TEST(MultiBufferTest, ConsumerBlocksUntilDataEndOfFileOrDisable)
{
    for (int ending = 0; ending < 3; ++ending) {
        LogCapture capture(VLOGSRC_KAPI_HELPER, VLOG_DEBUG);
        MultiBuffer mb(100, 0);
        unsigned char out[10];
        unsigned n = 10;
        EXPECT_EQ(mb.read(out, &n, &kShort), Kapi::TIMED_OUT);
        Kapi::Status status = Kapi::SUCCESS;
        n = 10;
        std::thread consumer([&] { status = mb.read(out, &n, nullptr); });
        awaitLog(capture, "Waiting for read 0 (0 0 0 allocated 0)");
        if (ending == 0)
            ASSERT_EQ(mb.append(block(4, 4, 7), nullptr), Kapi::SUCCESS);
        else if (ending == 1)
            ASSERT_EQ(mb.appendEof(), Kapi::SUCCESS);
        else
            mb.disable();
        consumer.join();
        const Kapi::Status expected[] = {Kapi::SUCCESS, Kapi::PIPELINE_END_OF_FILE, Kapi::FAILURE};
        EXPECT_EQ(status, expected[ending]) << ending;
        EXPECT_EQ(n, ending == 0 ? 4u : 0u);
    }
}

TEST(MultiBufferTest, ReadBufferHandsOutWholeBlocks)
{
    MultiBuffer withBackBuffer(100, 1);
    Buffer* out = nullptr;
    long long zero = 0; // would time out, were it to wait
    EXPECT_EQ(withBackBuffer.readBuffer(out, &zero), Kapi::NOT_SUPPORTED);

    MultiBuffer mb(100, 0);
    Buffer* first = block(10, 20, 0);
    Buffer* second = block(5, 10, 10);
    ASSERT_EQ(mb.append(first, nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.append(second, nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.readBuffer(out, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(out, first);
    EXPECT_EQ(positions(mb), (std::vector<int64>{10, 10, 15, 10}));
    delete out; // ours now

    unsigned char bytes[8];
    unsigned n = 2; // stops inside the second block
    ASSERT_EQ(mb.read(bytes, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(bytes[0], 10);
    EXPECT_EQ(mb.readBuffer(out, nullptr), Kapi::NOT_SUPPORTED);
    n = 3;
    ASSERT_EQ(mb.read(bytes, &n, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(n, 3u);

    ASSERT_EQ(mb.append(block(7), nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.appendEof(), Kapi::SUCCESS);
    ASSERT_EQ(mb.readBuffer(out, nullptr), Kapi::SUCCESS);
    EXPECT_EQ(out->getLength(), 7u);
    delete out;
    EXPECT_EQ(mb.readBuffer(out, nullptr), Kapi::PIPELINE_END_OF_FILE);
    EXPECT_EQ(positions(mb), (std::vector<int64>{22, 22, 22, 0}));
}

TEST(TimedMultiBufferTest, ReportsTheHeldTimeRange)
{
    LogCapture capture(VLOGSRC_KAPI_HELPER, VLOG_DEBUG);
    Kapi::TimedMultiBuffer mb(1000, 0);
    Kapi::TimedBufferingInformation ti;
    ASSERT_EQ(mb.getTimedBufferingInformation(ti), Kapi::SUCCESS);
    EXPECT_EQ(ti.m_beginTimeUs + ti.m_currentTimeUs + ti.m_endTimeUs, 0);

    ASSERT_EQ(mb.append(block(10), 1000, 1999, nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.append(block(10), 2000, 2999, nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.append(block(10), 3000, 3999, nullptr), Kapi::SUCCESS);
    unsigned char out[10];
    unsigned n = 5;
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.getTimedBufferingInformation(ti), Kapi::SUCCESS);
    EXPECT_EQ(ti.m_beginTimeUs, 1000);
    EXPECT_EQ(ti.m_currentTimeUs, 1000);
    EXPECT_EQ(ti.m_endTimeUs, 3999);
    EXPECT_EQ(ti.m_currentPosition, 5);
    n = 10;
    ASSERT_EQ(mb.read(out, &n, nullptr), Kapi::SUCCESS);
    ASSERT_EQ(mb.getTimedBufferingInformation(ti), Kapi::SUCCESS);
    EXPECT_EQ(ti.m_beginTimeUs, 2000);
    EXPECT_EQ(ti.m_currentTimeUs, 2000);
    EXPECT_EQ(ti.m_begin, 10);

    const std::string expected = "kapi_helper.debug: TimedMultiBuffer@" + pointer(&mb) +
                                 "::append() buffer for loTs=1000 and hiTs=1999";
    bool found = false;
    for (const std::string& line : capture.summary())
        found = found || line == expected;
    EXPECT_TRUE(found);
}

// The evidence run: 1 GiB of a deterministic pseudo-random pattern pushed in 65,528-byte blocks
// and read in 131,036-byte pieces by another thread; both sides digest what they handled.
TEST(MultiBufferTest, OneGibibyteThroughTwoThreadsKeepsEveryByte)
{
    constexpr uint64 kTotal = 1073741824;
    constexpr unsigned kIn = 65528;
    constexpr unsigned kOut = 131036;
    MultiBuffer mb(4 * 1024 * 1024, 256 * 1024);

    struct Side
    {
        uint64 bytes = 0;
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned digestLength = 0;
        Kapi::Status last = Kapi::SUCCESS;
    } produced, consumed;

    auto digestInit = [] {
        EVP_MD_CTX* ctx = EVP_MD_CTX_new();
        EXPECT_EQ(EVP_DigestInit_ex(ctx, EVP_sha1(), nullptr), 1);
        return ctx;
    };

    std::thread producer([&] {
        EVP_MD_CTX* ctx = digestInit();
        uint64 state = 0x9e3779b97f4a7c15ull; // xorshift64 state
        while (produced.bytes < kTotal) {
            const unsigned length = kTotal - produced.bytes < kIn
                                        ? static_cast<unsigned>(kTotal - produced.bytes)
                                        : kIn;
            auto b = std::make_unique<Buffer>(length);
            unsigned char* p = b->getWritableData();
            for (unsigned i = 0; i < length; i += 8) {
                state ^= state << 13;
                state ^= state >> 7;
                state ^= state << 17;
                memcpy(p + i, &state, length - i < 8 ? length - i : 8);
            }
            b->setRange(0, length);
            EVP_DigestUpdate(ctx, p, length);
            produced.last = mb.append(b.get(), nullptr);
            if (produced.last != Kapi::SUCCESS)
                break;
            b.release(); // the multibuffer owns it now
            produced.bytes += length;
        }
        if (produced.last == Kapi::SUCCESS)
            produced.last = mb.appendEof();
        EVP_DigestFinal_ex(ctx, produced.digest, &produced.digestLength);
        EVP_MD_CTX_free(ctx);
    });
    std::thread consumer([&] {
        EVP_MD_CTX* ctx = digestInit();
        std::vector<unsigned char> piece(kOut);
        for (;;) {
            unsigned n = kOut;
            consumed.last = mb.read(piece.data(), &n, nullptr);
            if (consumed.last != Kapi::SUCCESS)
                break;
            EVP_DigestUpdate(ctx, piece.data(), n);
            consumed.bytes += n;
        }
        EVP_DigestFinal_ex(ctx, consumed.digest, &consumed.digestLength);
        EVP_MD_CTX_free(ctx);
    });
    producer.join();
    consumer.join();

    EXPECT_EQ(produced.last, Kapi::SUCCESS);
    EXPECT_EQ(consumed.last, Kapi::PIPELINE_END_OF_FILE);
    EXPECT_EQ(produced.bytes, kTotal);
    EXPECT_EQ(consumed.bytes, kTotal);
    ASSERT_EQ(produced.digestLength, 20u);
    ASSERT_EQ(consumed.digestLength, 20u);
    EXPECT_EQ(0, memcmp(produced.digest, consumed.digest, 20));
    const BufferingInformation end = info(mb);
    EXPECT_EQ(end.m_end, static_cast<int64>(kTotal));
    EXPECT_EQ(end.m_currentPosition, static_cast<int64>(kTotal));
    EXPECT_LE(end.m_currentPosition - end.m_begin, 256 * 1024);
    EXPECT_TRUE(end.m_eofReached);
}
