// The root router on a message connection: the service header in exact bytes, one message per
// tick in queue order, routing of received messages by client id, replies, connection changes,
// the 1400-byte limit, and the log lines of each refusal.
#include "RoutingTestNodes.h"

#include "kapi/StringUtil.h"
#include "kapi/comm/ConnectionMessageNodeRouter.h"
#include "kapi/net/System.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

using namespace RoutingTest;
using Kapi::Comm::ConnectionMessageNodeRouter;

namespace {

constexpr unsigned kClientId = 0x12345678;

std::string hex(const std::string& bytes)
{
    return Kapi::StringUtil::toHexString(bytes.data(), bytes.size());
}

// The bytes python's struct module builds for `expression` (a bytes value), as hex.
std::string pythonHex(const std::string& expression)
{
    const KeloTest::ProcessResult result =
        KeloTest::runProcess("/usr/bin/python3", {"-c", "import struct, sys\nsys.stdout.write((" +
                                                            expression + ").hex())"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    return result.out;
}

// root -> inner (u8 index) -> a (0), b (1), on a recording connection.
struct ConnectionRouter : ::testing::Test
{
    std::vector<std::string> trace;
    Kapi::Net::System system;
    ConnectionMessageNodeRouter root{kClientId};
    IndexRouter inner;
    LeafNode a{trace, "a"}, b{trace, "b"};
    std::shared_ptr<FakeConnection> connection = std::make_shared<FakeConnection>();

    void SetUp() override
    {
        inner.addChild(&a);
        inner.addChild(&b);
        root.setMessageNode(&inner);
    }
    void connect() { root.setConnection(&system, connection); }
};

TEST_F(ConnectionRouter, TheHeaderIsTheServiceCategoryAndTheClientId)
{
    connect();
    a.sendLater("ping");
    system.doTimeouts();
    ASSERT_EQ(connection->sent.size(), 1u);
    EXPECT_EQ(hex(connection->sent[0]),
              pythonHex("struct.pack('<BIB', 1, 0x12345678, 0) + b'ping'"));
}

TEST_F(ConnectionRouter, SetClientIdChangesTheHeaderAndTheAcceptedId)
{
    connect();
    root.setClientId(0x80);
    b.sendLater("x");
    system.doTimeouts();
    ASSERT_EQ(connection->sent.size(), 1u);
    EXPECT_EQ(hex(connection->sent[0]), pythonHex("struct.pack('<BIB', 1, 0x80, 1) + b'x'"));
    root.receive(messageOf(std::string("\x01\x80\x00\x00\x00\x01"
                                       "in",
                                       8)));
    EXPECT_EQ(b.received, (std::vector<std::string>{"in"}));
}

TEST_F(ConnectionRouter, EachTickSendsOneMessageInQueueOrder)
{
    connect();
    a.pending = {"a1", "a2"};
    b.pending = {"b1", "b2"};
    a.requestWrite();
    b.requestWrite();
    const std::string header = std::string("\x01\x78\x56\x34\x12", 5);
    root.tick();
    ASSERT_EQ(connection->sent.size(), 1u);
    EXPECT_EQ(connection->sent[0], header + std::string("\x00"
                                                        "a1",
                                                        3));
    root.tick();
    ASSERT_EQ(connection->sent.size(), 2u);
    EXPECT_EQ(connection->sent[1], header + std::string("\x01"
                                                        "b1",
                                                        3));
    // The rest drains through the loop's instant list, still one message per tick.
    system.doTimeouts();
    ASSERT_EQ(connection->sent.size(), 4u);
    EXPECT_EQ(connection->sent[2], header + std::string("\x00"
                                                        "a2",
                                                        3));
    EXPECT_EQ(connection->sent[3], header + std::string("\x01"
                                                        "b2",
                                                        3));
    EXPECT_EQ(a.turns + b.turns, 4);
    EXPECT_EQ(system.doTimeouts(), -1); // nothing left scheduled
}

TEST_F(ConnectionRouter, AnEmptyWriteTurnSendsNothing)
{
    connect();
    a.requestWrite();
    system.doTimeouts();
    EXPECT_TRUE(connection->sent.empty());
    EXPECT_EQ(a.turns, 1);
}

TEST_F(ConnectionRouter, AReceivedMessageReachesTheChildAndItsReplyGoesBack)
{
    connect();
    b.replyText = "pong";
    root.receive(messageOf(std::string("\x01\x78\x56\x34\x12\x01"
                                       "ping",
                                       10)));
    EXPECT_EQ(b.received, (std::vector<std::string>{"ping"}));
    ASSERT_EQ(connection->sent.size(), 1u);
    EXPECT_EQ(hex(connection->sent[0]),
              pythonHex("struct.pack('<BIB', 1, 0x12345678, 1) + b'pong'"));
}

TEST_F(ConnectionRouter, TheServiceCategoryIsReadAsAVarU32)
{
    connect();
    // 300 takes two bytes (0x81 0x2C); the client id follows it.
    root.receive(messageOf(std::string("\x81\x2C\x78\x56\x34\x12\x00"
                                       "q",
                                       8)));
    EXPECT_EQ(a.received, (std::vector<std::string>{"q"}));
    EXPECT_TRUE(connection->sent.empty()); // no reply made
}

TEST_F(ConnectionRouter, AWrongClientIdIsDroppedWithTheErrorLineAndNoReply)
{
    connect();
    a.replyText = "never";
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    root.receive(messageOf(std::string("\x01\x21\x43\x65\x87\x00"
                                       "data",
                                       10)));
    EXPECT_TRUE(a.received.empty());
    EXPECT_TRUE(connection->sent.empty());
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{"kapi_comm.error: ConnectionMessageNodeRouter: Received "
                                        "wrong clientId (got 0x87654321, expected 0x12345678)"}));
}

TEST_F(ConnectionRouter, ATruncatedHeaderIsDroppedWithAnError)
{
    connect();
    trace.clear();
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    root.receive(messageOf(std::string("\x01\x78\x56", 3)));
    root.receive(messageOf(std::string()));
    EXPECT_TRUE(trace.empty());
    EXPECT_TRUE(connection->sent.empty());
    ASSERT_EQ(capture.lines().size(), 2u);
    EXPECT_EQ(capture.lines()[0].priority, Kapi::Log::PRIO_ERROR);
}

TEST_F(ConnectionRouter, AReplyWithoutConnectionIsLoggedNotSent)
{
    b.replyText = "pong";
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    root.receive(messageOf(std::string("\x01\x78\x56\x34\x12\x01"
                                       "ping",
                                       10)));
    EXPECT_EQ(b.received, (std::vector<std::string>{"ping"}));
    EXPECT_EQ(capture.summary(), (std::vector<std::string>{
                                     "kapi_comm.warning: ConnectionMessageNodeRouter: received a "
                                     "message without an out connection"}));
}

TEST_F(ConnectionRouter, ATickWithoutConnectionIsLoggedNotSent)
{
    a.pending = {"lost"};
    a.requestWrite();
    EXPECT_EQ(system.doTimeouts(), -1); // no system while disconnected: no tick scheduled
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    root.tick();
    EXPECT_EQ(capture.summary(), (std::vector<std::string>{
                                     "kapi_comm.warning: ConnectionMessageNodeRouter: "
                                     "writeMessage returned a message without an out connection"}));
}

TEST_F(ConnectionRouter, ConnectionChangesReachTheChildren)
{
    connect();
    EXPECT_EQ(trace, (std::vector<std::string>{"a.connected", "b.connected"}));
    trace.clear();
    auto second = std::make_shared<FakeConnection>();
    root.setConnection(&system, second);
    EXPECT_EQ(trace, (std::vector<std::string>{"a.disconnected", "b.disconnected", "a.connected",
                                               "b.connected"}));
    trace.clear();
    root.setConnection(nullptr, nullptr);
    EXPECT_EQ(trace, (std::vector<std::string>{"a.disconnected", "b.disconnected"}));
    trace.clear();
    root.setConnection(nullptr, nullptr); // nothing set: no second disconnect
    root.disconnected();
    root.setConnection(&system, second);
    EXPECT_EQ(trace, (std::vector<std::string>{"a.disconnected", "b.disconnected", "a.connected",
                                               "b.connected"}));
}

TEST_F(ConnectionRouter, DisconnectingCancelsPendingTurns)
{
    connect();
    a.sendLater("late");
    root.disconnected();
    EXPECT_TRUE(root.isQueueEmpty());
    EXPECT_EQ(system.doTimeouts(), -1);
    EXPECT_TRUE(connection->sent.empty());
    EXPECT_EQ(a.turns, 0);
}

TEST_F(ConnectionRouter, ATurnAskedForBeforeConnectingGoesOutOnConnect)
{
    a.sendLater("early");
    connect();
    system.doTimeouts();
    ASSERT_EQ(connection->sent.size(), 1u);
    EXPECT_EQ(connection->sent[0], std::string("\x01\x78\x56\x34\x12\x00"
                                               "early",
                                               11));
}

TEST_F(ConnectionRouter, AMessageFillingTheBufferExactlyIsSentOneMoreByteIsRefused)
{
    connect();
    const size_t room = ConnectionMessageNodeRouter::kMessageCapacity - 6; // 5 + 1 header bytes
    a.sendLater(std::string(room, 'f'));
    system.doTimeouts();
    ASSERT_EQ(connection->sent.size(), 1u);
    EXPECT_EQ(connection->sent[0].size(), 1400u);

    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    a.sendLater(std::string(room + 1, 'o'));
    b.sendLater("after");
    system.doTimeouts();
    ASSERT_EQ(connection->sent.size(), 2u); // the oversize one is dropped, the next goes out
    EXPECT_EQ(connection->sent[1], std::string("\x01\x78\x56\x34\x12\x01"
                                               "after",
                                               11));
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{"kapi_comm.error: ConnectionMessageNodeRouter: message "
                                        "larger than 1400 bytes, dropped"}));
}

TEST_F(ConnectionRouter, AnOversizeReplyIsRefused)
{
    connect();
    b.replyText = std::string(1400, 'r');
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    root.receive(messageOf(std::string("\x01\x78\x56\x34\x12\x01", 6)));
    EXPECT_EQ(b.received, (std::vector<std::string>{""}));
    EXPECT_TRUE(connection->sent.empty());
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{"kapi_comm.error: ConnectionMessageNodeRouter: reply "
                                        "larger than 1400 bytes, dropped"}));
}

TEST_F(ConnectionRouter, WithoutAChildEverythingIsDropped)
{
    ConnectionMessageNodeRouter lonely(kClientId);
    lonely.setConnection(&system, connection);
    lonely.receive(messageOf(std::string("\x01\x78\x56\x34\x12"
                                         "x",
                                         6)));
    lonely.tick();
    lonely.setConnection(nullptr, nullptr);
    EXPECT_TRUE(connection->sent.empty());
}

} // namespace
