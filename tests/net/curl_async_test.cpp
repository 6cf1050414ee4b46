// CurlAsync against the loopback server: completion codes (success, body limit, own
// deadline, dropped connection), cancellation from another thread, cancel before perform,
// and shutdown's cancelAll with several transfers in flight.
#include "kapi/Timer.h"
#include "kapi/net/CurlAsync.h"
#include "kapi/net/CurlAsyncCancelList.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/net/CurlPool.h"
#include "net/CurlTestLayer.h"
#include "net/CurlTestServers.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <vector>

using Kapi::Net::CurlAsync;
using Kapi::Net::CurlEasy;
using KeloTest::patternBytes;

namespace {

class CurlAsyncTest : public KeloTest::WithHttpServer<KeloTest::CurlLayerTest>
{
};

// Counts transfers that have begun receiving, so a test can cancel mid-transfer.
class Started
{
public:
    void arrive()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_count;
        m_cond.notify_all();
    }
    bool waitFor(int count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_cond.wait_for(lock, std::chrono::seconds(30), [&] { return m_count >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    int m_count = 0;
};

struct SignallingListener : CurlEasy::PacketListener
{
    explicit SignallingListener(Started& started) : started(started) {}
    bool gotBytes(void*, unsigned int size) override
    {
        if (received == 0) {
            started.arrive();
        }
        received += size;
        return true;
    }
    Started& started;
    size_t received = 0;
};

double secondsSince(int64 start)
{
    return static_cast<double>(Kapi::Timer::now() - start) / 1e6;
}

} // namespace

TEST_F(CurlAsyncTest, CompletesLikeTheBlockingRequest)
{
    CurlAsync request(pool());
    request.mMaxBodySize = 200000;
    request.setUrl(url("/bytes/200000"));
    EXPECT_EQ(request.perform(), 0);
    EXPECT_EQ(request.getStatusCode(), 200);
    EXPECT_EQ(request.mBody, patternBytes(0, 200000));
    EXPECT_EQ(request.mResponseHeaders.getValueAsString("Content-Length"), "200000");
}

TEST_F(CurlAsyncTest, OneObjectRunsSeveralTransfersInTurn)
{
    CurlAsync request(pool());
    for (int size : {10, 20, 30}) {
        request.mBody.clear();
        request.setUrl(url("/bytes/" + std::to_string(size)));
        EXPECT_EQ(request.perform(), 0);
        EXPECT_EQ(request.mBody, patternBytes(0, size));
    }
}

TEST_F(CurlAsyncTest, BodyOneByteOverTheLimitGivesWriteError)
{
    CurlAsync exact(pool());
    exact.mMaxBodySize = 1000;
    exact.setUrl(url("/bytes/1000"));
    EXPECT_EQ(exact.perform(), 0);

    CurlAsync over(pool());
    over.mMaxBodySize = 1000;
    over.setUrl(url("/bytes/1001"));
    EXPECT_EQ(over.perform(), 23);
}

TEST_F(CurlAsyncTest, StalledTransferEndsWithTimeoutAtItsDeadline)
{
    CurlAsync request(pool());
    request.setUrl(url("/stall/100?seconds=40"));
    request.setTimeout(2);
    const int64 start = Kapi::Timer::now();
    EXPECT_EQ(request.perform(), 28);
    // Loose bound: the deadline, not the 40 s stall, ended it.
    EXPECT_LT(secondsSince(start), 20.0);
}

TEST_F(CurlAsyncTest, DroppedConnectionIsAPartialFile)
{
    CurlAsync request(pool());
    request.mMaxBodySize = 2000000;
    request.setUrl(url("/drop/500"));
    EXPECT_EQ(request.perform(), 18);
    EXPECT_EQ(request.mBody, patternBytes(0, 500));
}

TEST_F(CurlAsyncTest, CancelFromAnotherThreadEndsAStalledTransferPromptly)
{
    Started started;
    SignallingListener listener(started);
    CurlAsync request(pool());
    request.setUrl(url("/stall/100?seconds=60"));
    request.setPacketListener(&listener);
    std::atomic<int> result{-1};
    const int64 start = Kapi::Timer::now();
    std::thread performer([&] { result = request.perform(); });
    ASSERT_TRUE(started.waitFor(1));
    request.cancelPerform();
    performer.join();
    EXPECT_EQ(result.load(), 18);
    EXPECT_TRUE(request.performCancelled());
    EXPECT_EQ(listener.received, 100u);
    EXPECT_LT(secondsSince(start), 30.0); // well under the 60 s stall
}

TEST_F(CurlAsyncTest, CancelBeforePerformStopsItUntilReset)
{
    CurlAsync request(pool());
    request.setUrl(url("/fixed"));
    request.cancelPerform();
    EXPECT_EQ(request.perform(), 18);
    EXPECT_TRUE(request.mBody.empty());
    request.resetCancel();
    EXPECT_FALSE(request.performCancelled());
    EXPECT_EQ(request.perform(), 0);
    EXPECT_EQ(request.mBody, "Hello from the loopback server\n");
}

TEST_F(CurlAsyncTest, CancelAllReleasesEveryTransferAndRefusesNewOnes)
{
    constexpr int kTransfers = 5;
    Started started;
    std::vector<std::unique_ptr<SignallingListener>> listeners;
    std::vector<std::unique_ptr<CurlAsync>> requests;
    std::vector<int> results(kTransfers, -1);
    std::vector<std::thread> threads;
    for (int i = 0; i < kTransfers; ++i) {
        listeners.push_back(std::make_unique<SignallingListener>(started));
        requests.push_back(std::make_unique<CurlAsync>(pool()));
        requests.back()->setUrl(url("/stall/10?seconds=60"));
        requests.back()->setPacketListener(listeners.back().get());
    }
    for (int i = 0; i < kTransfers; ++i) {
        threads.emplace_back([&, i] { results[i] = requests[i]->perform(); });
    }
    ASSERT_TRUE(started.waitFor(kTransfers));
    Kapi::Net::CurlInitNode::s_instance->getCurlAsyncCancelList()->cancelAll();
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int i = 0; i < kTransfers; ++i) {
        EXPECT_EQ(results[i], 18) << "transfer " << i;
    }

    // After shutdown has begun, a new transfer returns at once without sending anything.
    CurlAsync late(pool());
    late.setUrl(url("/fixed"));
    EXPECT_EQ(late.perform(), 18);
    EXPECT_EQ(late.getStatusCode(), 0);
    EXPECT_TRUE(late.mBody.empty());
}

TEST_F(CurlAsyncTest, ManyTransfersOnManyThreadsShareThePool)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 10;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                CurlAsync request(pool());
                const int size = 1000 + t * 100 + round;
                request.setUrl(url("/bytes/" + std::to_string(size)));
                if (request.perform() != 0 || request.mBody != patternBytes(0, size)) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    unsigned short inUse = 99;
    unsigned short created = 0;
    pool()->getHandleStats(&inUse, &created);
    EXPECT_EQ(inUse, 0);
    EXPECT_LE(created, kThreads); // handles were reused, not made per request
}
