// Transfers against the loopback server. Blocking requests: defaults, ranges, POST bodies and
// headers, the in-memory body limit, output files, the response-header parser, packet
// listeners and the handle pool. Requests that wait on the shared multi handle: completion
// codes (success, body limit, own deadline, dropped connection), cancellation from another
// thread, cancel before perform, and shutdown's cancelAll with several transfers in flight.
#include "kapi/KeyValueMap.h"
#include "kapi/Timer.h"
#include "kapi/net/CurlAsync.h"
#include "kapi/net/CurlAsyncCancelList.h"
#include "kapi/net/CurlEasy.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/net/CurlPool.h"
#include "net/CurlTestLayer.h"
#include "net/CurlTestServers.h"
#include "net/NetThreadTestUtil.h"
#include "support/LogCapture.h"
#include "support/TestFiles.h"

#include <atomic>
#include <curl/curl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

using Kapi::Net::CurlAsync;
using Kapi::Net::CurlEasy;
using KeloTest::patternBytes;

namespace {

const char* const kFixedBody = "Hello from the loopback server\n";

class CurlEasyTest : public KeloTest::WithHttpServer<KeloTest::CurlLayerTest>
{
};
using CurlAsyncTest = CurlEasyTest;

// Collects the body and the Content-Length announcements; refuses blocks once `acceptBlocks`
// blocks have been taken (-1: never).
struct CollectingListener : CurlEasy::PacketListener
{
    bool gotBytes(void* data, unsigned int size) override
    {
        if (acceptBlocks >= 0 && blocks >= acceptBlocks)
            return false;
        ++blocks;
        body.append(static_cast<const char*>(data), size);
        return true;
    }
    void gotContentLength(unsigned long long length) override { lengths.push_back(length); }

    int acceptBlocks = -1;
    int blocks = 0;
    std::string body;
    std::vector<unsigned long long> lengths;
};

// Counts the bytes it receives; `started` counts transfers that have begun receiving, so a
// test can cancel mid-transfer.
struct SignallingListener : CurlEasy::PacketListener
{
    explicit SignallingListener(NetTest::Counter& started) : started(started) {}
    bool gotBytes(void*, unsigned int size) override
    {
        if (received == 0)
            started.add();
        received += size;
        return true;
    }
    NetTest::Counter& started;
    size_t received = 0;
};

double secondsSince(int64 start)
{
    return static_cast<double>(Kapi::Timer::now() - start) / 1e6;
}

} // namespace

TEST_F(CurlEasyTest, FetchesABodyWithItsStatusAndHeadersAndLogsTheBlockingCall)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_ERROR);
    CurlEasy request(pool());
    request.setUrl(url("/fixed"));
    EXPECT_EQ(request.perform(), 0);
    EXPECT_EQ(request.mBody, kFixedBody);
    EXPECT_EQ(request.getStatusCode(), 200);
    EXPECT_EQ(request.mResponseHeaders.getValueAsString("Content-Length"), "31");
    EXPECT_EQ(request.mResponseHeaders.getValueAsString("Content-Type"), "text/plain");
    EXPECT_EQ(request.getPrimaryIp(), "127.0.0.1");
    CurlEasy::Stats stats;
    request.getStats(&stats);
    EXPECT_GT(stats.totalTime, 0.0);
    EXPECT_EQ(stats.numConnects, 1);
    std::ostringstream expected;
    expected << "kapi_net.error: CurlEasy(" << static_cast<void*>(&request)
             << ")::perform() called. Use CurlAsync instead so that we dont block on core.stop()";
    EXPECT_EQ(capture.summary(), std::vector<std::string>{expected.str()});
}

// What the server's /echo saw of each request: its method, body and headers, as JSON text.
TEST_F(CurlEasyTest, RequestsCarryTheirRangeBodyAndHeadersExactly)
{
    struct Case
    {
        const char* name;
        const char* path;
        std::function<void(CurlEasy&)> setUp;
        std::vector<std::string> present; // texts of the /echo answer
        std::vector<std::string> absentHeaders;
    };
    // The request keeps a pointer to its body: the bodies outlive the requests.
    const std::string form = "a=1&b=2", payload = "payload", large(2000, 'x');
    Kapi::KeyValueMap headers;
    headers.addValue("X-Number", Kapi::Variant(42));
    headers.addValue("X-Text", Kapi::Variant(std::string("some text")));
    const Case cases[] = {
        {"range end is exclusive",
         "/echo",
         [](CurlEasy& r) { r.setRange(100, 200); },
         {"[\"Range\", \"bytes=100-199\"]"},
         {}},
        {"resume from zero still sends a range",
         "/echo",
         [](CurlEasy& r) { r.setResumeFrom(0); },
         {"[\"Range\", \"bytes=0-\"]"},
         {}},
        {"post with types and no Expect",
         "/echo",
         [&](CurlEasy& r) { r.setData(form, "application/x-test", "text/x-answer"); },
         {"\"method\": \"POST\"", "\"body\": \"a=1&b=2\"",
          "[\"Content-Type\", \"application/x-test\"]", "[\"Accept\", \"text/x-answer\"]"},
         {"Expect"}},
        // Large enough that libcurl would add "Expect"; the Accept is libcurl's own.
        {"empty types",
         "/echo",
         [&](CurlEasy& r) { r.setData(large, "", ""); },
         {"[\"Accept\", \"*/*\"]"},
         {"Content-Type", "Expect"}},
        {"headers from a map",
         "/echo",
         [&](CurlEasy& r) {
             r.addHttpHeaders(headers);
             r.setUserAgent("Mozilla/4.0(compatible; KELO 1.0)");
         },
         {"[\"X-Number\", \"42\"]", "[\"X-Text\", \"some text\"]",
          "[\"User-Agent\", \"Mozilla/4.0(compatible; KELO 1.0)\"]"},
         {}},
        {"post survives a 301",
         "/redirect301?to=/echo",
         [&](CurlEasy& r) { r.setData(payload, "text/plain", ""); },
         {"\"method\": \"POST\"", "\"body\": \"payload\""},
         {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CurlEasy request(pool());
        request.mMaxBodySize = 100000;
        request.setUrl(url(c.path));
        c.setUp(request);
        ASSERT_EQ(request.perform(), 0);
        for (const std::string& text : c.present)
            EXPECT_NE(request.mBody.find(text), std::string::npos) << text << request.mBody;
        for (const std::string& name : c.absentHeaders)
            EXPECT_EQ(request.mBody.find("[\"" + name + "\", "), std::string::npos) << name;
    }
}

TEST_F(CurlEasyTest, ARangeOfDataIsAPartialAnswer)
{
    CurlEasy data(pool());
    data.setUrl(url("/bytes/1000"));
    data.setRange(100, 200);
    ASSERT_EQ(data.perform(), 0);
    EXPECT_EQ(data.getStatusCode(), 206);
    EXPECT_EQ(data.mBody, patternBytes(100, 100));
    EXPECT_EQ(data.mResponseHeaders.getValueAsString("Content-Range"), "bytes 100-199/1000");
}

TEST_F(CurlEasyTest, BodyOfExactlyTheLimitSucceedsAndOneByteMoreFailsWithWriteError)
{
    CurlEasy exact(pool());
    exact.mMaxBodySize = 5000;
    exact.setUrl(url("/bytes/5000"));
    EXPECT_EQ(exact.perform(), 0);
    EXPECT_EQ(exact.mBody, patternBytes(0, 5000));

    CurlEasy over(pool());
    over.mMaxBodySize = 5000;
    over.setUrl(url("/bytes/5001"));
    EXPECT_EQ(over.perform(), 23);
    EXPECT_EQ(over.mErrorMessage, curl_easy_strerror(CURLE_WRITE_ERROR));
    // The headers received before the failure remain.
    EXPECT_EQ(over.mResponseHeaders.getValueAsString("Content-Length"), "5001");
    EXPECT_LE(over.mBody.size(), 5000u);

    CurlEasy byDefault(pool()); // the default limit is 4096 bytes
    byDefault.setUrl(url("/bytes/4097"));
    EXPECT_EQ(byDefault.perform(), 23);
}

TEST_F(CurlEasyTest, OutputFileGetsTheBodyAndAnUnopenableOneFailsBeforeSending)
{
    const std::string path = testing::TempDir() + "curl_easy_out_" + std::to_string(getpid());
    CurlEasy toFile(pool());
    toFile.setUrl(url("/bytes/70000"));
    toFile.setOutputFile(path);
    ASSERT_EQ(toFile.perform(), 0);
    EXPECT_EQ(KeloTest::readFile(path), patternBytes(0, 70000));
    EXPECT_TRUE(toFile.mBody.empty());
    unlink(path.c_str());

    CurlEasy nowhere(pool());
    nowhere.setUrl(url("/fixed"));
    nowhere.setOutputFile("/nonexistent-directory/out.bin");
    EXPECT_EQ(nowhere.perform(), 23);
    EXPECT_EQ(nowhere.getStatusCode(), 0); // nothing was sent
    EXPECT_EQ(nowhere.mErrorMessage, curl_easy_strerror(CURLE_WRITE_ERROR));
}

TEST_F(CurlEasyTest, HeaderParserSkipsBlanksAfterTheColonAndIgnoresLowerCaseLength)
{
    CollectingListener listener;
    CurlEasy request(pool());
    request.setUrl(url("/spaced-length"));
    request.setPacketListener(&listener);
    ASSERT_EQ(request.perform(), 0);
    EXPECT_EQ(listener.body, "hello world");
    // Only the exact name "Content-Length" is announced; the lower-case one is just stored.
    EXPECT_EQ(listener.lengths, std::vector<unsigned long long>{11});
    EXPECT_EQ(request.mResponseHeaders.getValueAsString("Content-Length"), "11");
    EXPECT_EQ(request.mResponseHeaders.getValueAsString("content-length"), "11");
    EXPECT_EQ(request.mResponseHeaders.getValueAsString("Connection"), "close");
    EXPECT_FALSE(request.mResponseHeaders.hasValue("HTTP/1.1 200 OK"));
}

TEST_F(CurlEasyTest, PacketListenerGetsEveryByteAndCanStopTheTransfer)
{
    CollectingListener all;
    CurlEasy whole(pool());
    whole.setUrl(url("/bytes/300000"));
    whole.setPacketListener(&all);
    ASSERT_EQ(whole.perform(), 0);
    EXPECT_EQ(all.body, patternBytes(0, 300000));
    EXPECT_EQ(all.lengths, std::vector<unsigned long long>{300000});
    EXPECT_TRUE(whole.mBody.empty());

    CollectingListener refusing;
    refusing.acceptBlocks = 1;
    CurlEasy stopped(pool());
    stopped.setUrl(url("/bytes/300000"));
    stopped.setPacketListener(&refusing);
    EXPECT_EQ(stopped.perform(), 23);
    EXPECT_EQ(refusing.blocks, 1);
    EXPECT_LT(refusing.body.size(), 300000u);
}

TEST_F(CurlEasyTest, ErrorStatusesAndTransferErrorsWithTheirTexts)
{
    CurlEasy notFound(pool());
    notFound.setUrl(url("/status/404"));
    EXPECT_EQ(notFound.perform(), 0); // an HTTP error status is not a transfer error
    EXPECT_EQ(notFound.getStatusCode(), 404);
    EXPECT_EQ(notFound.mBody, "status 404\n");

    KeloTest::PortServer gone;
    ASSERT_TRUE(KeloTest::startHttpServer(gone, {}));
    const std::string deadUrl = gone.url("/fixed");
    gone.stop();
    CurlEasy refused(pool());
    refused.setUrl(deadUrl);
    EXPECT_EQ(refused.perform(), 7);
    EXPECT_EQ(refused.mErrorMessage, curl_easy_strerror(CURLE_COULDNT_CONNECT));

    // Success keeps the previous text.
    refused.setErrorMessage(6);
    EXPECT_EQ(refused.mErrorMessage, curl_easy_strerror(CURLE_COULDNT_RESOLVE_HOST));
    refused.setErrorMessage(0);
    EXPECT_EQ(refused.mErrorMessage, curl_easy_strerror(CURLE_COULDNT_RESOLVE_HOST));
}

TEST_F(CurlEasyTest, StatsTextHasTheFixedLayout)
{
    CurlEasy::Stats stats;
    EXPECT_EQ(stats.toString(), "total=0.000000; dns=0.000000; connect=0.000000; pre=0.000000; "
                                "speed=0.000000; start=0.000000; redir=0.000000:0, ncons=0");
    stats.totalTime = 1.5;
    stats.redirectCount = 2;
    stats.numConnects = 3;
    EXPECT_EQ(stats.toString(), "total=1.500000; dns=0.000000; connect=0.000000; pre=0.000000; "
                                "speed=0.000000; start=0.000000; redir=0.000000:2, ncons=3");
}

TEST_F(CurlEasyTest, PoolReusesResetHandlesWhichGetTheDefaultsAgain)
{
    unsigned short inUse = 99;
    unsigned short created = 99;
    pool()->getHandleStats(&inUse, &created);
    EXPECT_EQ(inUse, 0);
    EXPECT_EQ(created, 0);
    {
        CurlEasy first(pool());
        CurlEasy second(pool());
        pool()->getHandleStats(&inUse, &created);
        EXPECT_EQ(inUse, 2);
        EXPECT_EQ(created, 2);
        first.setUrl(url("/fixed"));
        first.setIgnoreBody(true);
        ASSERT_EQ(first.perform(), 0);
        EXPECT_TRUE(first.mBody.empty());
    }
    pool()->getHandleStats(&inUse, &created);
    EXPECT_EQ(inUse, 0);
    EXPECT_EQ(created, 2);

    // A reused handle forgot NOBODY and follows redirects again.
    CurlEasy reused(pool());
    reused.setUrl(url("/redirect?to=/fixed"));
    ASSERT_EQ(reused.perform(), 0);
    EXPECT_EQ(reused.mBody, kFixedBody);
    CurlEasy::Stats stats;
    reused.getStats(&stats);
    EXPECT_EQ(stats.redirectCount, 1);
    pool()->getHandleStats(&inUse, &created);
    EXPECT_EQ(inUse, 1);
    EXPECT_EQ(created, 2);
}

TEST_F(CurlEasyTest, RequestWithoutPoolOwnsItsHandleAndFindsItsPrivateData)
{
    CurlEasy request(nullptr);
    request.setUrl(url("/fixed"));
    EXPECT_EQ(request.perform(), 0);
    EXPECT_EQ(request.mBody, kFixedBody);

    int marker = 0;
    request.setPrivateData(&marker);
    EXPECT_EQ(CurlEasy::getAndClearPrivateData(request.getEasyHandle()), &marker);
    EXPECT_EQ(request.getPrivateData(), nullptr);
    EXPECT_EQ(CurlEasy::getAndClearPrivateData(request.getEasyHandle()), nullptr);
}

TEST_F(CurlAsyncTest, CompletionCodesOfFinishedTransfers)
{
    struct Case
    {
        const char* path;
        unsigned maxBody;
        int code;
        size_t bodyBytes; // of the /bytes pattern
    };
    const Case cases[] = {{"/bytes/200000", 200000, 0, 200000},
                          {"/bytes/1000", 1000, 0, 1000},
                          {"/bytes/1001", 1000, 23, 0},     // one byte over the limit: write error
                          {"/drop/500", 2000000, 18, 500}}; // dropped: a partial file
    CurlAsync reused(pool()); // one object runs several transfers in turn
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        reused.mBody.clear();
        reused.mMaxBodySize = c.maxBody;
        reused.setUrl(url(c.path));
        EXPECT_EQ(reused.perform(), c.code);
        if (c.code != 23) {
            EXPECT_EQ(reused.mBody, patternBytes(0, c.bodyBytes));
        }
        if (c.code == 0) {
            EXPECT_EQ(reused.getStatusCode(), 200);
            EXPECT_EQ(reused.mResponseHeaders.getValueAsString("Content-Length"),
                      std::to_string(c.bodyBytes));
        }
    }
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

TEST_F(CurlAsyncTest, CancelFromAnotherThreadEndsAStalledTransferPromptly)
{
    NetTest::Counter started;
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
    EXPECT_EQ(request.mBody, kFixedBody);
}

TEST_F(CurlAsyncTest, CancelAllReleasesEveryTransferAndRefusesNewOnes)
{
    constexpr int kTransfers = 5;
    NetTest::Counter started;
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
    for (int i = 0; i < kTransfers; ++i)
        threads.emplace_back([&, i] { results[i] = requests[i]->perform(); });
    ASSERT_TRUE(started.waitFor(kTransfers));
    Kapi::Net::CurlInitNode::s_instance->getCurlAsyncCancelList()->cancelAll();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(results, std::vector<int>(kTransfers, 18));

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
                if (request.perform() != 0 || request.mBody != patternBytes(0, size))
                    ++failures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);
    unsigned short inUse = 99;
    unsigned short created = 0;
    pool()->getHandleStats(&inUse, &created);
    EXPECT_EQ(inUse, 0);
    EXPECT_LE(created, kThreads); // handles were reused, not made per request
}
