// The framed TCP stack on the real network thread against tests/fixtures/frame_peer.py over
// loopback: round trips, frames joined into one read or split byte by byte, an empty frame,
// a large frame to a peer that stops reading (checked by the SHA-1 of what the peer received),
// link properties, both ends of the connection, and the thread-safe front.
#include "comm/CommTestLoop.h"

#include "kapi/comm/MessageConnectionMtSafe.h"
#include "kapi/net/NetworkThread.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/sha.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace Kapi::Comm;
using CommTest::LoopThread;
using CommTest::makeMessage;
using CommTest::pattern;
using CommTest::Recorder;

namespace {

struct TcpTransport : ::testing::Test
{
    void SetUp() override { ASSERT_TRUE(loop.started()); }

    // Connects a framed TCP stack to the peer, on the loop thread.
    void connect(KeloTest::PortServer& peer)
    {
        loop.onLoop([&] { cxn = CommTest::connectPlain(loop.system(), peer.port(), &recorder); });
        ASSERT_TRUE(cxn);
        ASSERT_TRUE(recorder.waitForConnect());
    }
    void send(const std::string& payload)
    {
        loop.onLoop([&] { cxn->send(makeMessage(payload)); });
    }
    void TearDown() override
    {
        loop.onLoop([&] {
            if (cxn)
                cxn->close();
            cxn.reset();
        });
    }

    LoopThread loop;
    Recorder recorder;
    std::shared_ptr<IMessageConnection> cxn;
};

std::string sha1Hex(const std::string& data)
{
    unsigned char digest[SHA_DIGEST_LENGTH];
    SHA1(reinterpret_cast<const unsigned char*>(data.data()), data.size(), digest);
    static const char* const kHex = "0123456789abcdef";
    std::string hex;
    for (unsigned char byte : digest) {
        hex += kHex[byte >> 4];
        hex += kHex[byte & 15];
    }
    return hex;
}

// A bare connection to the peer from the test thread (releases a stalled peer).
void pokePeer(int port)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(CommTest::kLoopback);
    EXPECT_EQ(0, ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    close(fd);
}

} // namespace

TEST_F(TcpTransport, MessagesRoundTripWithTheirExactPayloadsIncludingAnEmptyOne)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    connect(peer);
    const std::vector<std::string> sent = {"hello", "", pattern(300), pattern(65535, 7)};
    for (const std::string& payload : sent)
        send(payload);
    ASSERT_TRUE(recorder.waitForMessages(sent.size()));
    EXPECT_EQ(sent, recorder.messages());
    EXPECT_EQ(0, recorder.disconnectedCount());
}

TEST_F(TcpTransport, SeveralFramesArrivingInOneReadGiveOneMessageEach)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {"--join", "3"})) << peer.lastError();
    connect(peer);
    send("first");
    send("");
    send("third");
    ASSERT_TRUE(recorder.waitForMessages(3));
    EXPECT_EQ((std::vector<std::string>{"first", "", "third"}), recorder.messages());
}

TEST_F(TcpTransport, AFrameArrivingByteByByteIsDeliveredOnceAndWhole)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {"--split"})) << peer.lastError();
    connect(peer);
    const std::string payload = pattern(40, 3);
    send(payload);
    send("z");
    ASSERT_TRUE(recorder.waitForMessages(2));
    EXPECT_EQ((std::vector<std::string>{payload, "z"}), recorder.messages());
}

TEST_F(TcpTransport, LargeFramesToAPeerThatStopsReadingResumeAtTheExactByte)
{
    KeloTest::PortServer peer;
    constexpr size_t kFrames = 100; // about 6 MB: more than the kernel buffers
    constexpr size_t kPayload = 60 * 1024;
    const size_t total = kFrames * (kPayload + 2);
    ASSERT_TRUE(CommTest::startFramePeer(peer, {"--stall", "--digest", std::to_string(total)}))
        << peer.lastError();
    connect(peer);

    std::string stream;
    size_t queuedAfterSending = 0;
    loop.onLoop([&] {
        for (size_t i = 0; i < kFrames; ++i) {
            std::shared_ptr<CommMessage> m =
                makeMessage(pattern(kPayload, static_cast<unsigned>(i)));
            stream.push_back(static_cast<char>(kPayload >> 8));
            stream.push_back(static_cast<char>(kPayload & 0xFF));
            stream.append(reinterpret_cast<const char*>(m->getPayload()), kPayload);
            cxn->send(m);
        }
        queuedAfterSending = std::static_pointer_cast<MessageConnection>(cxn)->queuedCount();
    });
    // The peer's window is closed, so the kernel cannot have taken everything.
    EXPECT_GT(queuedAfterSending, 0u);
    pokePeer(peer.port());
    ASSERT_TRUE(recorder.waitForMessages(1));
    EXPECT_EQ(sha1Hex(stream), recorder.messages()[0]);
    loop.onLoop(
        [&] { EXPECT_EQ(0u, std::static_pointer_cast<MessageConnection>(cxn)->queuedCount()); });
}

TEST_F(TcpTransport, LinkPropertiesComeFromTheSocketAndPlainTcpIsNotEncrypted)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    connect(peer);
    loop.onLoop([&] {
        unsigned int value = 0;
        EXPECT_TRUE(cxn->getUInt32Property(LINK_REMOTE_IP, &value));
        EXPECT_EQ(CommTest::kLoopback, value);
        EXPECT_TRUE(cxn->getUInt32Property(LINK_REMOTE_PORT, &value));
        EXPECT_EQ(static_cast<unsigned>(peer.port()), value);
        EXPECT_TRUE(cxn->getUInt32Property(LINK_LOCAL_IP, &value));
        EXPECT_EQ(CommTest::kLoopback, value);
        EXPECT_TRUE(cxn->getUInt32Property(LINK_LOCAL_PORT, &value));
        EXPECT_NE(0u, value);
        value = 77;
        EXPECT_FALSE(cxn->getUInt32Property(LINK_IS_ENCRYPTED, &value));
        EXPECT_EQ(77u, value);
    });
}

TEST_F(TcpTransport, APeerThatGoesAwayEndsTheStackOnceAndLateSendsAreDropped)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    connect(peer);
    send("ping");
    ASSERT_TRUE(recorder.waitForMessages(1));
    peer.stop();
    ASSERT_TRUE(recorder.waitForDisconnect());
    loop.onLoop([&] {
        unsigned int value = 0;
        EXPECT_FALSE(cxn->getUInt32Property(LINK_REMOTE_PORT, &value));
        cxn->send(makeMessage("late"));
        EXPECT_EQ(1u, std::static_pointer_cast<MessageConnection>(cxn)->queuedCount());
        cxn->close();
    });
    EXPECT_EQ(1, recorder.disconnectedCount());
}

TEST_F(TcpTransport, ClosingFromTheTopComesBackAsOneDisconnect)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    connect(peer);
    loop.onLoop([&] { cxn->close(); });
    ASSERT_TRUE(recorder.waitForDisconnect());
    loop.onLoop([&] { cxn.reset(); });
    EXPECT_EQ(1, recorder.disconnectedCount());
}

TEST(TcpConnectionSetup, ANoDelayConnectionToAClosedPortEndsWithDisconnected)
{
    LoopThread loop;
    ASSERT_TRUE(loop.started());
    // A port nobody listens on: bind one, read its number, close it.
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(CommTest::kLoopback);
    ASSERT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    socklen_t length = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    close(fd);

    Recorder recorder;
    std::shared_ptr<IMessageConnection> cxn;
    loop.onLoop(
        [&] { cxn = CommTest::connectPlain(loop.system(), ntohs(address.sin_port), &recorder); });
    ASSERT_TRUE(cxn);
    // A refused connect still counts as the socket's first event, so connected() may come
    // first; what matters is that the end is reported, once.
    ASSERT_TRUE(recorder.waitForDisconnect());
    loop.onLoop([&] { cxn.reset(); });
    EXPECT_EQ(1, recorder.disconnectedCount());
}

// ---- the thread-safe front ----

TEST_F(TcpTransport, SendsFromOtherThreadsGoOutInEachThreadsOrder)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    Recorder frontRecorder;
    std::shared_ptr<MessageConnectionMtSafe> front;
    loop.onLoop([&] {
        cxn = CommTest::connectPlain(loop.system(), peer.port(), nullptr);
        front = MessageConnectionMtSafe::create(loop.system(), cxn, &frontRecorder);
    });
    ASSERT_TRUE(frontRecorder.waitForConnect());

    constexpr int kThreads = 3;
    constexpr int kEach = 200;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kEach; ++i)
                front->send(makeMessage(std::to_string(t) + ":" + std::to_string(i)));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_TRUE(frontRecorder.waitForMessages(kThreads * kEach));
    std::vector<int> next(kThreads, 0);
    for (const std::string& message : frontRecorder.messages()) {
        const int t = message[0] - '0';
        ASSERT_EQ(std::to_string(t) + ":" + std::to_string(next[t]), message);
        ++next[t];
    }
    loop.onLoop([&] {
        unsigned int value = 0;
        EXPECT_TRUE(front->getUInt32Property(LINK_REMOTE_PORT, &value));
        EXPECT_EQ(static_cast<unsigned>(peer.port()), value);
        front->close();
    });
    ASSERT_TRUE(frontRecorder.waitForDisconnect());
    loop.onLoop([&] {
        unsigned int value = 0;
        EXPECT_FALSE(front->getUInt32Property(LINK_REMOTE_PORT, &value));
        front.reset();
        cxn.reset();
    });
}

TEST_F(TcpTransport, AFrontWhoseConnectionEndedDropsSendsWithALogLine)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    Recorder frontRecorder;
    std::shared_ptr<MessageConnectionMtSafe> front;
    loop.onLoop([&] {
        cxn = CommTest::connectPlain(loop.system(), peer.port(), nullptr);
        front = MessageConnectionMtSafe::create(loop.system(), cxn, &frontRecorder);
        cxn.reset(); // the front holds the only reference
    });
    ASSERT_TRUE(frontRecorder.waitForConnect());
    loop.onLoop([&] { front->close(); });
    ASSERT_TRUE(frontRecorder.waitForDisconnect());

    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    std::thread([&] { front->send(makeMessage("lost")); }).join();
    loop.onLoop([&] {
        front->close();
        front.reset();
    });
    char expected[128];
    std::vector<std::string> texts;
    for (const LogCapture::Line& line : capture.lines())
        texts.push_back(line.text);
    // The front's address is only known to the loop; compare the shape of both lines.
    ASSERT_EQ(2u, texts.size());
    snprintf(expected, sizeof expected, "MessageConnectionMtSafe(");
    EXPECT_EQ(0u, texts[0].find(expected));
    EXPECT_NE(std::string::npos, texts[0].find(")::tick: cxn is closed. dropping msg"));
    EXPECT_NE(std::string::npos, texts[1].find("): no connexion to close"));
    EXPECT_EQ(1, frontRecorder.disconnectedCount());
    EXPECT_TRUE(frontRecorder.messages().empty());
}
