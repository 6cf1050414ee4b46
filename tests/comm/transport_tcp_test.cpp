// The framed TCP stack on the real network thread against tests/fixtures/frame_peer.py over
// loopback: round trips, frames joined into one read or split byte by byte, an empty frame,
// a large frame to a peer that stops reading (checked by the SHA-1 of what the peer received),
// link properties, both ends of the connection, the thread-safe front, and the more-follows
// hint as the kernel sees it (strace records a probe's sends: all but the last of several
// queued frames carry MSG_MORE).
#include "comm/CommTestLoop.h"

#include "kapi/comm/MessageConnectionMtSafe.h"

#include "support/LogCapture.h"
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/sha.h>
#include <regex>
#include <sstream>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace Kapi::Comm;
using CommTest::makeMessage;
using CommTest::pattern;
using CommTest::property;
using CommTest::Recorder;

namespace {

// A loop thread and a framed TCP stack on it, closed when the object goes.
struct Stack
{
    ~Stack()
    {
        loop.onLoop([&] {
            if (cxn)
                cxn->close();
            cxn.reset();
        });
    }
    // Connects to the peer, on the loop thread; false when the connection did not come up.
    bool connect(int port)
    {
        loop.onLoop([&] { cxn = CommTest::connectPlain(loop.system(), port, &recorder); });
        return cxn && recorder.waitForConnect();
    }
    void send(const std::string& payload)
    {
        loop.onLoop([&] { cxn->send(makeMessage(payload)); });
    }
    size_t queued() { return std::static_pointer_cast<MessageConnection>(cxn)->queuedCount(); }

    CommTest::LoopThread loop;
    Recorder recorder;
    std::shared_ptr<IMessageConnection> cxn;
};

struct TcpTransport : ::testing::Test, Stack
{
    void SetUp() override
    {
        ASSERT_TRUE(loop.started());
        ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    }
    // The thread-safe front over a plain stack to the peer; `recorder` hears the front.
    // Without `keepCxn` the front holds the only reference to the stack.
    std::shared_ptr<MessageConnectionMtSafe> connectFront(bool keepCxn)
    {
        std::shared_ptr<MessageConnectionMtSafe> front;
        loop.onLoop([&] {
            cxn = CommTest::connectPlain(loop.system(), peer.port(), nullptr);
            front = MessageConnectionMtSafe::create(loop.system(), cxn, &recorder);
            if (!keepCxn)
                cxn.reset();
        });
        return front;
    }
    KeloTest::PortServer peer;
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

sockaddr_in loopbackAddress(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(CommTest::kLoopback);
    return address;
}

} // namespace

TEST(TcpTransportPeers, FramesRoundTripWholeHoweverThePeerCutsOrJoinsThem)
{
    struct Case
    {
        std::vector<std::string> peerOptions;
        std::vector<std::string> payloads;
    };
    const Case cases[] = {{{}, {"hello", "", pattern(300), pattern(65535, 7)}},
                          {{"--join", "3"}, {"first", "", "third"}}, // one read, three frames
                          {{"--split"}, {pattern(40, 3), "z"}}};     // byte by byte
    for (const Case& c : cases) {
        SCOPED_TRACE(c.peerOptions.empty() ? "echo" : c.peerOptions[0]);
        KeloTest::PortServer peer;
        ASSERT_TRUE(CommTest::startFramePeer(peer, c.peerOptions)) << peer.lastError();
        Stack stack;
        ASSERT_TRUE(stack.connect(peer.port()));
        for (const std::string& payload : c.payloads)
            stack.send(payload);
        ASSERT_TRUE(stack.recorder.waitForMessages(c.payloads.size()));
        EXPECT_EQ(c.payloads, stack.recorder.messages());
        EXPECT_EQ(0, stack.recorder.state().disconnected);
    }
}

TEST(TcpTransportPeers, LargeFramesToAPeerThatStopsReadingResumeAtTheExactByte)
{
    KeloTest::PortServer peer;
    constexpr size_t kFrames = 100; // about 6 MB: more than the kernel buffers
    constexpr size_t kPayload = 60 * 1024;
    const size_t total = kFrames * (kPayload + 2);
    ASSERT_TRUE(CommTest::startFramePeer(peer, {"--stall", "--digest", std::to_string(total)}))
        << peer.lastError();
    Stack stack;
    ASSERT_TRUE(stack.connect(peer.port()));

    std::string stream;
    size_t queuedAfterSending = 0;
    stack.loop.onLoop([&] {
        for (size_t i = 0; i < kFrames; ++i) {
            std::shared_ptr<CommMessage> m =
                makeMessage(pattern(kPayload, static_cast<unsigned>(i)));
            stream +=
                std::string{static_cast<char>(kPayload >> 8), static_cast<char>(kPayload & 0xFF)};
            stream.append(reinterpret_cast<const char*>(m->getPayload()), kPayload);
            stack.cxn->send(m);
        }
        queuedAfterSending = stack.queued();
    });
    // The peer's window is closed, so the kernel cannot have taken everything.
    EXPECT_GT(queuedAfterSending, 0u);
    // A bare connection from the test thread releases the stalled peer.
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopbackAddress(peer.port());
    EXPECT_EQ(0, ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    close(fd);
    ASSERT_TRUE(stack.recorder.waitForMessages(1));
    EXPECT_EQ(sha1Hex(stream), stack.recorder.messages()[0]);
    stack.loop.onLoop([&] { EXPECT_EQ(0u, stack.queued()); });
}

TEST_F(TcpTransport, LinkPropertiesComeFromTheSocketAndClosingFromTheTopIsOneDisconnect)
{
    ASSERT_TRUE(connect(peer.port()));
    loop.onLoop([&] {
        EXPECT_EQ(property(cxn, LINK_REMOTE_IP), CommTest::kLoopback);
        EXPECT_EQ(property(cxn, LINK_REMOTE_PORT), static_cast<unsigned>(peer.port()));
        EXPECT_EQ(property(cxn, LINK_LOCAL_IP), CommTest::kLoopback);
        EXPECT_NE(property(cxn, LINK_LOCAL_PORT), 0u);
        EXPECT_NE(property(cxn, LINK_LOCAL_PORT), CommTest::kNoProperty);
        // Plain TCP is not encrypted, and says nothing about it.
        EXPECT_EQ(property(cxn, LINK_IS_ENCRYPTED), CommTest::kNoProperty);
        cxn->close();
    });
    ASSERT_TRUE(recorder.waitForDisconnect());
    loop.onLoop([&] { cxn.reset(); });
    EXPECT_EQ(1, recorder.state().disconnected);
}

TEST_F(TcpTransport, APeerThatGoesAwayEndsTheStackOnceAndLateSendsAreDropped)
{
    ASSERT_TRUE(connect(peer.port()));
    send("ping");
    ASSERT_TRUE(recorder.waitForMessages(1));
    peer.stop();
    ASSERT_TRUE(recorder.waitForDisconnect());
    loop.onLoop([&] {
        EXPECT_EQ(property(cxn, LINK_REMOTE_PORT), CommTest::kNoProperty);
        cxn->send(makeMessage("late"));
        EXPECT_EQ(1u, queued());
        cxn->close();
    });
    EXPECT_EQ(1, recorder.state().disconnected);
}

TEST(TcpTransportPeers, ANoDelayConnectionToAClosedPortEndsWithDisconnected)
{
    // A port nobody listens on: bind one, read its number, close it.
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopbackAddress(0);
    ASSERT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    socklen_t length = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    close(fd);

    Stack stack;
    ASSERT_TRUE(stack.loop.started());
    stack.loop.onLoop([&] {
        stack.cxn =
            CommTest::connectPlain(stack.loop.system(), ntohs(address.sin_port), &stack.recorder);
    });
    ASSERT_TRUE(stack.cxn);
    // A refused connect still counts as the socket's first event, so connected() may come
    // first; what matters is that the end is reported, once.
    ASSERT_TRUE(stack.recorder.waitForDisconnect());
    stack.loop.onLoop([&] { stack.cxn.reset(); });
    EXPECT_EQ(1, stack.recorder.state().disconnected);
}

// ---- the thread-safe front ----

TEST_F(TcpTransport, SendsFromOtherThreadsGoOutInEachThreadsOrder)
{
    std::shared_ptr<MessageConnectionMtSafe> front = connectFront(true);
    ASSERT_TRUE(recorder.waitForConnect());

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
    ASSERT_TRUE(recorder.waitForMessages(kThreads * kEach));
    std::vector<int> next(kThreads, 0);
    for (const std::string& message : recorder.messages()) {
        const int t = message[0] - '0';
        ASSERT_EQ(std::to_string(t) + ":" + std::to_string(next[t]), message);
        ++next[t];
    }
    loop.onLoop([&] {
        EXPECT_EQ(property(front, LINK_REMOTE_PORT), static_cast<unsigned>(peer.port()));
        front->close();
    });
    ASSERT_TRUE(recorder.waitForDisconnect());
    loop.onLoop([&] {
        EXPECT_EQ(property(front, LINK_REMOTE_PORT), CommTest::kNoProperty);
        front.reset();
        cxn.reset();
    });
}

TEST_F(TcpTransport, AFrontWhoseConnectionEndedDropsSendsWithALogLine)
{
    std::shared_ptr<MessageConnectionMtSafe> front = connectFront(false);
    ASSERT_TRUE(recorder.waitForConnect());
    loop.onLoop([&] { front->close(); });
    ASSERT_TRUE(recorder.waitForDisconnect());

    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    std::thread([&] { front->send(makeMessage("lost")); }).join();
    loop.onLoop([&] {
        front->close();
        front.reset();
    });
    // The front's address is only known to the loop; compare the shape of both lines.
    ASSERT_EQ(2u, capture.lines().size());
    const std::string first = capture.lines()[0].text;
    EXPECT_EQ(0u, first.find("MessageConnectionMtSafe("));
    EXPECT_NE(std::string::npos, first.find(")::tick: cxn is closed. dropping msg"));
    EXPECT_NE(std::string::npos, capture.lines()[1].text.find("): no connexion to close"));
    EXPECT_EQ(1, recorder.state().disconnected);
    EXPECT_TRUE(recorder.messages().empty());
}

TEST(TransportSendFlags, StraceSeesMsgMoreOnAllButTheLastOfSeveralQueuedFrames)
{
    if (access("/usr/bin/strace", X_OK) != 0)
        GTEST_SKIP() << "strace is not installed";
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    char dir[] = "/tmp/comm_strace_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string traceFile = std::string(dir) + "/trace";
    KeloTest::ProcessResult run = KeloTest::runProcess(
        "/usr/bin/strace",
        {"-f", "-e", "trace=sendto,sendmsg", "-o", traceFile, KeloTest::binPath("comm_more_probe"),
         std::to_string(peer.port())},
        "", {"ASAN_OPTIONS=detect_leaks=0"}); // the leak checker cannot run under ptrace
    if (run.exitStatus != 0 && run.err.find("ptrace") != std::string::npos)
        GTEST_SKIP() << "strace cannot trace here: " << run.err;
    ASSERT_EQ(0, run.exitStatus) << run.err;
    EXPECT_EQ("done\n", run.out);

    // Successful sends only: payload text, length and flags.
    std::vector<std::string> sends;
    std::istringstream lines(KeloTest::readFile(traceFile));
    std::string line;
    const std::regex shape(
        R"re(^(?:\d+\s+)?sendto\(\d+, "(.*)", (\d+), ([A-Z_|0-9]+), NULL, 0\) = (\d+)$)re");
    std::smatch match;
    while (std::getline(lines, line)) {
        if (std::regex_match(line, match, shape))
            sends.push_back(
                std::regex_replace(match[1].str(), std::regex(R"re(^.*?([a-z]+)$)re"), "$1") + " " +
                match[2].str() + " " +
                (match[3].str().find("MSG_MORE") != std::string::npos ? "more" : "last") + " = " +
                match[4].str());
        else if (line.find("sendto(") != std::string::npos ||
                 line.find("sendmsg(") != std::string::npos)
            sends.push_back("unexpected: " + line);
    }
    EXPECT_EQ(
        (std::vector<std::string>{"first 7 more = 7", "second 8 more = 8", "third 7 last = 7"}),
        sends);
    unlink(traceFile.c_str());
    rmdir(dir);
}
