// TokenBucket: the refill arithmetic at extreme rates and times, and the consume rules driven
// by an injected clock (waiting, the cap, the rate-lowered reset, disable). Waiters are watched
// through their log lines; no assertion depends on elapsed real time.
#include "kapi/Thread.h"
#include "kapi/TokenBucket.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

using Kapi::kInfinite;
using Kapi::TokenBucket;

namespace {

constexpr int64 kSecond = 1000000;

class TokenBucketTest : public ::testing::Test
{
protected:
    TokenBucket::Clock clock()
    {
        return [this] { return mNow.load(); };
    }
    void advance(int64 us) { mNow += us; }
    // The start of the bucket's debug lines.
    std::string prefix(const TokenBucket& bucket) const
    {
        char text[64];
        snprintf(text, sizeof text, "p2p_util.debug: TokenBucket@%p",
                 static_cast<const void*>(&bucket));
        return text;
    }
    bool logged(const std::string& line) const
    {
        for (const std::string& got : mCapture.summary())
            if (got == line)
                return true;
        return false;
    }
    void awaitLog(const std::string& line) const
    {
        while (!logged(line))
            Kapi::Thread::sleep(1000);
    }

    std::atomic<int64> mNow{5 * kSecond};
    LogCapture mCapture{VLOGSRC_P2P_UTIL, VLOG_DEBUG};
};

} // namespace

TEST(TokenBucketArithmeticTest, ProductionIsExactWithoutOverflow)
{
    constexpr int64 k10Gbit = 1250000000; // bytes per second
    // Three hours at 10 Gbit/s: the direct product (1.35e19) would overflow.
    EXPECT_EQ(TokenBucket::tokensProduced(3 * 3600 * kSecond, k10Gbit), 13500000000000);
    EXPECT_EQ(TokenBucket::tokensProduced(10800123457, k10Gbit), 13500154321250);
    // Truncation toward zero, also for negative products.
    EXPECT_EQ(TokenBucket::tokensProduced(999999, 1), 0);
    EXPECT_EQ(TokenBucket::tokensProduced(1500000, 3), 4);
    EXPECT_EQ(TokenBucket::tokensProduced(1500000, -3), -4);
    EXPECT_EQ(TokenBucket::tokensProduced(1234567, 0), 0);
    // A rate beyond 1e12 per second with a sub-second remainder.
    EXPECT_EQ(TokenBucket::tokensProduced(2500000, 4000000000001), 10000000000002);
    // A result that cannot be represented saturates.
    EXPECT_EQ(TokenBucket::tokensProduced(kInfinite, kInfinite), kInfinite);
    EXPECT_EQ(TokenBucket::tokensProduced(kInfinite, -kInfinite), INT64_MIN);

    EXPECT_EQ(TokenBucket::waitTimeUs(1, 1000), 1000);
    EXPECT_EQ(TokenBucket::waitTimeUs(500, 1000), 500000);
    EXPECT_EQ(TokenBucket::waitTimeUs(7, 3), 2333333);
    EXPECT_EQ(TokenBucket::waitTimeUs(13500000000000, k10Gbit), 3 * 3600 * kSecond);
    EXPECT_EQ(TokenBucket::waitTimeUs(1, 0), kInfinite);
    EXPECT_EQ(TokenBucket::waitTimeUs(1, -5), kInfinite);
    EXPECT_EQ(TokenBucket::waitTimeUs(kInfinite, 1), kInfinite);
}

TEST_F(TokenBucketTest, WaitsForTokensAndCapsTheBucket)
{
    TokenBucket bucket(1000, 5000, 0, clock());
    const std::string p = prefix(bucket);
    EXPECT_TRUE(
        logged(p + "::TokenBucket(): rateInTokensPerSec=1000 m_initialTokens=0, m_maxTokens=5000"));
    EXPECT_EQ(bucket.consume(6000), Kapi::FAILURE);
    EXPECT_TRUE(logged(p + "::consume(t=6000) will never be satisfied as m_maxTokens=5000"));

    Kapi::Status status = Kapi::FAILURE;
    std::thread taker([&] { status = bucket.consume(500); });
    awaitLog(p + ": we are 500 tokens short, so we will have to wait for 500000 us");
    advance(500000);
    ASSERT_EQ(bucket.setRate(1000), Kapi::SUCCESS); // same rate: only wakes the taker early
    taker.join();
    EXPECT_EQ(status, Kapi::SUCCESS);

    advance(10 * kSecond); // idle: 10,000 produced, but the bucket holds at most 5,000
    EXPECT_EQ(bucket.consume(5000), Kapi::SUCCESS);
    EXPECT_TRUE(logged(p + ":: adjusting availableTokens down to 5000"));
    EXPECT_TRUE(logged(p + "::consume(t=5000) adjusted @ now=15500000, producedTokens=10500, "
                           "m_consumedTokens=5500, availableTokens=5000"));

    taker = std::thread([&] { status = bucket.consume(1); });
    awaitLog(p + ": we are 1 tokens short, so we will have to wait for 1000 us");
    advance(1000);
    bucket.setRate(1000);
    taker.join();
    EXPECT_EQ(status, Kapi::SUCCESS);
}

TEST_F(TokenBucketTest, LoweringTheRateWakesAndResetsTheCounters)
{
    TokenBucket bucket(1000, 5000, 0, clock());
    const std::string p = prefix(bucket);
    advance(2 * kSecond);
    ASSERT_EQ(bucket.consume(2000), Kapi::SUCCESS); // everything produced so far

    Kapi::Status status = Kapi::FAILURE;
    std::thread taker([&] { status = bucket.consume(1000); });
    awaitLog(p + ": we are 1000 tokens short, so we will have to wait for 1000000 us");
    // Recomputed over the whole 2 s, production (200) now lies below consumption (2000).
    ASSERT_EQ(bucket.setRate(100), Kapi::SUCCESS);
    awaitLog(p + "::consume(t=1000) hit negative available @ now=7000000, (rate lowered? ) - reset "
                 "to producedTokens=m_consumedTokens=200, availableTokens=0");
    awaitLog(p + ": we are 1000 tokens short, so we will have to wait for 10000000 us");
    advance(10 * kSecond);
    bucket.setRate(100);
    taker.join();
    EXPECT_EQ(status, Kapi::SUCCESS);
}

TEST_F(TokenBucketTest, DisableReleasesWaitersAndStopsChanges)
{
    TokenBucket bucket(0, 100, 10, clock()); // rate 0: a short taker waits without limit
    const std::string p = prefix(bucket);
    EXPECT_EQ(bucket.consume(10), Kapi::SUCCESS); // the initial tokens

    Kapi::Status status = Kapi::SUCCESS;
    std::thread taker([&] { status = bucket.consume(1); });
    awaitLog(p + ": we are 1 tokens short, so we will have to wait for 9223372036854775807 us");
    bucket.disable();
    taker.join();
    EXPECT_EQ(status, Kapi::FAILURE);
    EXPECT_TRUE(logged(p + "::disable()"));
    EXPECT_EQ(bucket.setRate(1000), Kapi::FAILURE);
    EXPECT_EQ(bucket.consume(1), Kapi::FAILURE); // would have to wait
    EXPECT_EQ(bucket.consume(0), Kapi::SUCCESS); // needs nothing: never reaches the wait
}

TEST_F(TokenBucketTest, RaisingTheRateFromZeroReleasesAWaiter)
{
    TokenBucket bucket(0, 1000, 0, clock());
    const std::string p = prefix(bucket);
    Kapi::Status status = Kapi::FAILURE;
    std::thread taker([&] { status = bucket.consume(100); });
    awaitLog(p + ": we are 100 tokens short, so we will have to wait for 9223372036854775807 us");
    advance(kSecond / 10);
    ASSERT_EQ(bucket.setRate(1000), Kapi::SUCCESS); // retroactive: 100 produced already
    taker.join();
    EXPECT_EQ(status, Kapi::SUCCESS);
}

TEST(TokenBucketRealClockTest, ConsumesOnTheMonotonicClock)
{
    TokenBucket bucket(1000000, 10000, 0); // a thousand tokens take about a millisecond
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(bucket.consume(1000), Kapi::SUCCESS);
}
