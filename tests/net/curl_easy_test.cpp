// CurlEasy against the loopback server: request defaults, ranges, POST bodies and headers,
// the in-memory body limit, output files, the response-header parser, packet listeners and
// the handle pool.
#include "kapi/KeyValueMap.h"
#include "kapi/net/CurlEasy.h"
#include "kapi/net/CurlPool.h"
#include "net/CurlTestLayer.h"
#include "net/CurlTestServers.h"
#include "support/LogCapture.h"

#include <curl/curl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

using Kapi::Net::CurlEasy;
using KeloTest::patternBytes;

namespace {

class CurlEasyTest : public KeloTest::WithHttpServer<KeloTest::CurlLayerTest>
{
};

// Collects the body and the Content-Length announcements; refuses blocks once `acceptBlocks`
// blocks have been taken (-1: never).
struct CollectingListener : CurlEasy::PacketListener
{
    bool gotBytes(void* data, unsigned int size) override
    {
        if (acceptBlocks >= 0 && blocks >= acceptBlocks) {
            return false;
        }
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

// True when the /echo answer lists the request header exactly as given.
bool echoHasHeader(const std::string& echo, const std::string& name, const std::string& value)
{
    return echo.find("[\"" + name + "\", \"" + value + "\"]") != std::string::npos;
}

bool echoHasHeaderName(const std::string& echo, const std::string& name)
{
    return echo.find("[\"" + name + "\", ") != std::string::npos;
}

} // namespace

TEST_F(CurlEasyTest, FetchesABodyWithItsStatusAndHeaders)
{
    CurlEasy request(pool());
    request.setUrl(url("/fixed"));
    EXPECT_EQ(request.perform(), 0);
    EXPECT_EQ(request.mBody, "Hello from the loopback server\n");
    EXPECT_EQ(request.getStatusCode(), 200);
    EXPECT_EQ(request.mResponseHeaders.getValueAsString("Content-Length"), "31");
    EXPECT_EQ(request.mResponseHeaders.getValueAsString("Content-Type"), "text/plain");
    EXPECT_EQ(request.getPrimaryIp(), "127.0.0.1");
    CurlEasy::Stats stats;
    request.getStats(&stats);
    EXPECT_GT(stats.totalTime, 0.0);
    EXPECT_EQ(stats.numConnects, 1);
}

TEST_F(CurlEasyTest, BlockingPerformIsLoggedAsAnErrorEveryTime)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_ERROR);
    CurlEasy request(pool());
    request.setUrl(url("/fixed"));
    request.perform();
    std::ostringstream expected;
    expected << "kapi_net.error: CurlEasy(" << static_cast<void*>(&request)
             << ")::perform() called. Use CurlAsync instead so that we dont block on core.stop()";
    ASSERT_EQ(capture.summary().size(), 1u);
    EXPECT_EQ(capture.summary()[0], expected.str());
}

TEST_F(CurlEasyTest, RangeEndIsExclusiveAndResumeFromZeroStillSendsARange)
{
    CurlEasy ranged(pool());
    ranged.mMaxBodySize = 100000;
    ranged.setUrl(url("/echo"));
    ranged.setRange(100, 200);
    ASSERT_EQ(ranged.perform(), 0);
    EXPECT_TRUE(echoHasHeader(ranged.mBody, "Range", "bytes=100-199")) << ranged.mBody;

    CurlEasy resumed(pool());
    resumed.mMaxBodySize = 100000;
    resumed.setUrl(url("/echo"));
    resumed.setResumeFrom(0);
    ASSERT_EQ(resumed.perform(), 0);
    EXPECT_TRUE(echoHasHeader(resumed.mBody, "Range", "bytes=0-")) << resumed.mBody;

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
}

TEST_F(CurlEasyTest, DefaultLimitIs4096Bytes)
{
    CurlEasy request(pool());
    EXPECT_EQ(request.mMaxBodySize, 4096u);
    request.setUrl(url("/bytes/4097"));
    EXPECT_EQ(request.perform(), 23);
}

TEST_F(CurlEasyTest, OutputFileGetsTheBodyAndAnUnopenableOneFailsBeforeSending)
{
    const std::string path = testing::TempDir() + "curl_easy_out_" + std::to_string(getpid());
    CurlEasy toFile(pool());
    toFile.setUrl(url("/bytes/70000"));
    toFile.setOutputFile(path);
    ASSERT_EQ(toFile.perform(), 0);
    std::ifstream in(path, std::ios::binary);
    std::string written((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(written, patternBytes(0, 70000));
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

TEST_F(CurlEasyTest, PostSendsBodyTypesAndSuppressesExpect)
{
    const std::string body = "a=1&b=2";
    CurlEasy request(pool());
    request.mMaxBodySize = 100000;
    request.setUrl(url("/echo"));
    request.setData(body, "application/x-test", "text/x-answer");
    ASSERT_EQ(request.perform(), 0);
    EXPECT_NE(request.mBody.find("\"method\": \"POST\""), std::string::npos) << request.mBody;
    EXPECT_NE(request.mBody.find("\"body\": \"a=1&b=2\""), std::string::npos);
    EXPECT_TRUE(echoHasHeader(request.mBody, "Content-Type", "application/x-test"));
    EXPECT_TRUE(echoHasHeader(request.mBody, "Accept", "text/x-answer"));
    EXPECT_FALSE(echoHasHeaderName(request.mBody, "Expect"));
}

TEST_F(CurlEasyTest, EmptyContentTypeLeavesTheHeaderOutAndEmptyAcceptAddsNone)
{
    const std::string body(2000, 'x'); // large enough that libcurl would add "Expect"
    CurlEasy request(pool());
    request.mMaxBodySize = 100000;
    request.setUrl(url("/echo"));
    request.setData(body, "", "");
    ASSERT_EQ(request.perform(), 0);
    EXPECT_FALSE(echoHasHeaderName(request.mBody, "Content-Type")) << request.mBody;
    EXPECT_FALSE(echoHasHeaderName(request.mBody, "Expect"));
    EXPECT_TRUE(echoHasHeader(request.mBody, "Accept", "*/*")); // libcurl's own
}

TEST_F(CurlEasyTest, HeadersFromAMapAreSentWithTheirTextValues)
{
    Kapi::KeyValueMap headers;
    headers.addValue("X-Number", Kapi::Variant(42));
    headers.addValue("X-Text", Kapi::Variant(std::string("some text")));
    CurlEasy request(pool());
    request.mMaxBodySize = 100000;
    request.setUrl(url("/echo"));
    request.addHttpHeaders(headers);
    request.setUserAgent("Mozilla/4.0(compatible; KELO 1.0)");
    ASSERT_EQ(request.perform(), 0);
    EXPECT_TRUE(echoHasHeader(request.mBody, "X-Number", "42")) << request.mBody;
    EXPECT_TRUE(echoHasHeader(request.mBody, "X-Text", "some text"));
    EXPECT_TRUE(echoHasHeader(request.mBody, "User-Agent", "Mozilla/4.0(compatible; KELO 1.0)"));
}

TEST_F(CurlEasyTest, HttpErrorStatusIsNotATransferError)
{
    CurlEasy request(pool());
    request.setUrl(url("/status/404"));
    EXPECT_EQ(request.perform(), 0);
    EXPECT_EQ(request.getStatusCode(), 404);
    EXPECT_EQ(request.mBody, "status 404\n");
}

TEST_F(CurlEasyTest, RedirectsAreFollowedAndPostSurvivesA301)
{
    CurlEasy get(pool());
    get.setUrl(url("/redirect?to=/fixed"));
    ASSERT_EQ(get.perform(), 0);
    EXPECT_EQ(get.mBody, "Hello from the loopback server\n");
    CurlEasy::Stats stats;
    get.getStats(&stats);
    EXPECT_EQ(stats.redirectCount, 1);

    const std::string body = "payload";
    CurlEasy post(pool());
    post.mMaxBodySize = 100000;
    post.setUrl(url("/redirect301?to=/echo"));
    post.setData(body, "text/plain", "");
    ASSERT_EQ(post.perform(), 0);
    EXPECT_NE(post.mBody.find("\"method\": \"POST\""), std::string::npos) << post.mBody;
    EXPECT_NE(post.mBody.find("\"body\": \"payload\""), std::string::npos);
}

TEST_F(CurlEasyTest, RefusedConnectionGivesLibcurlsCodeAndMessage)
{
    KeloTest::PortServer gone;
    ASSERT_TRUE(KeloTest::startHttpServer(gone, {}));
    const std::string deadUrl = gone.url("/fixed");
    gone.stop();
    CurlEasy request(pool());
    request.setUrl(deadUrl);
    EXPECT_EQ(request.perform(), 7);
    EXPECT_EQ(request.mErrorMessage, curl_easy_strerror(CURLE_COULDNT_CONNECT));
}

TEST_F(CurlEasyTest, ErrorMessageKeepsThePreviousTextForSuccess)
{
    CurlEasy request(pool());
    request.setErrorMessage(6);
    EXPECT_EQ(request.mErrorMessage, curl_easy_strerror(CURLE_COULDNT_RESOLVE_HOST));
    request.setErrorMessage(0);
    EXPECT_EQ(request.mErrorMessage, curl_easy_strerror(CURLE_COULDNT_RESOLVE_HOST));
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
    EXPECT_EQ(reused.mBody, "Hello from the loopback server\n");
    pool()->getHandleStats(&inUse, &created);
    EXPECT_EQ(inUse, 1);
    EXPECT_EQ(created, 2);
}

TEST_F(CurlEasyTest, RequestWithoutPoolOwnsItsHandle)
{
    CurlEasy request(nullptr);
    request.setUrl(url("/fixed"));
    EXPECT_EQ(request.perform(), 0);
    EXPECT_EQ(request.mBody, "Hello from the loopback server\n");
}

TEST_F(CurlEasyTest, PrivateDataIsFoundThroughTheEasyHandleAndCleared)
{
    int marker = 0;
    CurlEasy request(pool());
    request.setPrivateData(&marker);
    EXPECT_EQ(CurlEasy::getAndClearPrivateData(request.getEasyHandle()), &marker);
    EXPECT_EQ(request.getPrivateData(), nullptr);
    EXPECT_EQ(CurlEasy::getAndClearPrivateData(request.getEasyHandle()), nullptr);
}
