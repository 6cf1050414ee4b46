// The root router on a message connection: the service header in exact bytes, one message per
// tick in queue order, routing of received messages by client id, replies, connection changes,
// the 1400-byte limit, and the log lines of each refusal. Also the message handlers (plain and
// thread-safe): sending needs a connection, refusal is logged, and any thread may send while
// the connection comes and goes.
#include "RoutingTestNodes.h"

#include "kapi/StringUtil.h"
#include "kapi/comm/ConnectionMessageNodeRouter.h"
#include "kapi/comm/MessageHandler.h"
#include "kapi/comm/MessageHandlerMtSafe.h"
#include "kapi/net/System.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace RoutingTest;
using Kapi::Comm::CommMessage;
using Kapi::Comm::ConnectionMessageNodeRouter;
using Kapi::Comm::MessageHandler;
using Kapi::Comm::MessageHandlerMtSafe;
using Lines = std::vector<std::string>;

namespace {

constexpr unsigned kClientId = 0x12345678;

// Service category 1, then the client id little-endian, then the inner router's child index.
std::string framed(char child, const std::string& payload, unsigned id = kClientId)
{
    std::string bytes(1, '\x01');
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>((id >> shift) & 0xFF);
    return bytes + child + payload;
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

std::string hex(const std::string& bytes)
{
    return Kapi::StringUtil::toHexString(bytes.data(), bytes.size());
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
    void receive(const std::string& bytes) { root.receive(messageOf(bytes)); }
};

TEST_F(ConnectionRouter, TheHeaderIsTheServiceCategoryAndTheClientIdWhichSetClientIdChanges)
{
    connect();
    a.sendLater("ping");
    system.doTimeouts();
    ASSERT_EQ(connection->sent.size(), 1u);
    EXPECT_EQ(hex(connection->sent[0]),
              pythonHex("struct.pack('<BIB', 1, 0x12345678, 0) + b'ping'"));

    root.setClientId(0x80);
    b.sendLater("x");
    system.doTimeouts();
    ASSERT_EQ(connection->sent.size(), 2u);
    EXPECT_EQ(hex(connection->sent[1]), pythonHex("struct.pack('<BIB', 1, 0x80, 1) + b'x'"));
    receive(framed(1, "in", 0x80));
    EXPECT_EQ(b.received, Lines{"in"});
}

TEST_F(ConnectionRouter, EachTickSendsOneMessageInQueueOrder)
{
    connect();
    a.pending = {"a1", "a2"};
    b.pending = {"b1", "b2"};
    a.requestWrite();
    b.requestWrite();
    root.tick();
    EXPECT_EQ(connection->sent, Lines{framed(0, "a1")});
    root.tick();
    EXPECT_EQ(connection->sent, (Lines{framed(0, "a1"), framed(1, "b1")}));
    // The rest drains through the loop's instant list, still one message per tick.
    system.doTimeouts();
    EXPECT_EQ(connection->sent,
              (Lines{framed(0, "a1"), framed(1, "b1"), framed(0, "a2"), framed(1, "b2")}));
    EXPECT_EQ(a.turns + b.turns, 4);
    EXPECT_EQ(system.doTimeouts(), -1); // nothing left scheduled

    a.requestWrite(); // an empty turn sends nothing
    system.doTimeouts();
    EXPECT_EQ(connection->sent.size(), 4u);
    EXPECT_EQ(a.turns, 3);
}

TEST_F(ConnectionRouter, ATurnAskedForBeforeConnectingGoesOutOnConnect)
{
    a.sendLater("early");
    connect();
    system.doTimeouts();
    EXPECT_EQ(connection->sent, Lines{framed(0, "early")});
}

TEST_F(ConnectionRouter, AReceivedMessageReachesTheChildAndItsReplyGoesBack)
{
    connect();
    b.replyText = "pong";
    receive(framed(1, "ping"));
    EXPECT_EQ(b.received, Lines{"ping"});
    ASSERT_EQ(connection->sent.size(), 1u);
    EXPECT_EQ(hex(connection->sent[0]),
              pythonHex("struct.pack('<BIB', 1, 0x12345678, 1) + b'pong'"));

    // The service category is a var-u32: 300 takes two bytes (0x81 0x2C).
    receive(std::string("\x81\x2C\x78\x56\x34\x12\x00q", 8));
    EXPECT_EQ(a.received, Lines{"q"});
    EXPECT_EQ(connection->sent.size(), 1u); // a makes no reply
}

TEST_F(ConnectionRouter, BadHeadersAreDroppedWithAnErrorAndNoReply)
{
    connect();
    a.replyText = "never";
    trace.clear();
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    receive(framed(0, "data", 0x87654321));
    receive(std::string("\x01\x78\x56", 3));
    receive("");
    EXPECT_TRUE(trace.empty());
    EXPECT_TRUE(connection->sent.empty());
    ASSERT_EQ(capture.lines().size(), 3u);
    EXPECT_EQ(capture.summary()[0], "kapi_comm.error: ConnectionMessageNodeRouter: Received "
                                    "wrong clientId (got 0x87654321, expected 0x12345678)");
    EXPECT_EQ(capture.lines()[1].priority, Kapi::Log::PRIO_ERROR);
    EXPECT_EQ(capture.lines()[2].priority, Kapi::Log::PRIO_ERROR);
}

TEST_F(ConnectionRouter, RepliesAndTurnsWithoutConnectionAreLoggedNotSent)
{
    b.replyText = "pong";
    a.pending = {"lost"};
    a.requestWrite();
    EXPECT_EQ(system.doTimeouts(), -1); // no system while disconnected: no tick scheduled
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    receive(framed(1, "ping"));
    EXPECT_EQ(b.received, Lines{"ping"});
    root.tick();
    EXPECT_EQ(capture.summary(), (Lines{"kapi_comm.warning: ConnectionMessageNodeRouter: "
                                        "received a message without an out connection",
                                        "kapi_comm.warning: ConnectionMessageNodeRouter: "
                                        "writeMessage returned a message without an out "
                                        "connection"}));
}

TEST_F(ConnectionRouter, ConnectionChangesReachTheChildrenAndDisconnectingCancelsTurns)
{
    const Lines down = {"a.disconnected", "b.disconnected"};
    const Lines downUp = {"a.disconnected", "b.disconnected", "a.connected", "b.connected"};
    connect();
    EXPECT_EQ(trace, (Lines{"a.connected", "b.connected"}));
    trace.clear();
    auto second = std::make_shared<FakeConnection>();
    root.setConnection(&system, second);
    EXPECT_EQ(trace, downUp);
    trace.clear();
    root.setConnection(nullptr, nullptr);
    EXPECT_EQ(trace, down);
    trace.clear();
    root.setConnection(nullptr, nullptr); // nothing set: no second disconnect
    root.disconnected();
    root.setConnection(&system, second);
    EXPECT_EQ(trace, downUp);

    a.sendLater("late");
    root.disconnected();
    EXPECT_TRUE(root.isQueueEmpty());
    EXPECT_EQ(system.doTimeouts(), -1);
    EXPECT_TRUE(second->sent.empty());
    EXPECT_EQ(a.turns, 0);
}

TEST_F(ConnectionRouter, MessagesAndRepliesOver1400BytesAreRefused)
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
    EXPECT_EQ(connection->sent[1], framed(1, "after"));

    b.replyText = std::string(1400, 'r');
    receive(framed(1, ""));
    EXPECT_EQ(b.received, Lines{""});
    EXPECT_EQ(connection->sent.size(), 2u);
    EXPECT_EQ(capture.summary(),
              (Lines{"kapi_comm.error: ConnectionMessageNodeRouter: message larger than 1400 "
                     "bytes, dropped",
                     "kapi_comm.error: ConnectionMessageNodeRouter: reply larger than 1400 bytes, "
                     "dropped"}));
}

TEST_F(ConnectionRouter, WithoutAChildEverythingIsDropped)
{
    ConnectionMessageNodeRouter lonely(kClientId);
    lonely.setConnection(&system, connection);
    lonely.receive(messageOf(framed('x', "")));
    lonely.tick();
    lonely.setConnection(nullptr, nullptr);
    EXPECT_TRUE(connection->sent.empty());
}

template <class Base> struct Engine : Base
{
    void receive(std::shared_ptr<CommMessage> message) override { received.push_back(message); }
    std::vector<std::shared_ptr<CommMessage>> received;
};

// Counts what is sent through it, from any thread.
struct CountingConnection : Kapi::Comm::IMessageConnection
{
    void send(std::shared_ptr<CommMessage>) override { sent.fetch_add(1); }
    void close() override {}
    bool getUInt32Property(Kapi::Comm::LinkProperty, unsigned int*) const override { return false; }
    std::atomic<int> sent{0};
};

template <class T> struct Handlers : ::testing::Test
{
};
typedef ::testing::Types<MessageHandler, MessageHandlerMtSafe> HandlerKinds;
TYPED_TEST_SUITE(Handlers, HandlerKinds);

TYPED_TEST(Handlers, SendingNeedsAConnectionWhichTheHandlerHoldsOnlyWhileConnected)
{
    Engine<TypeParam> engine;
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);
    EXPECT_FALSE(engine.isConnected());
    EXPECT_FALSE(engine.send(messageOf("early")));
    EXPECT_EQ(capture.summary(),
              Lines{"kapi_comm.info: MessageHandler: Cannot send message when not connected"});

    std::weak_ptr<FakeConnection> first;
    {
        auto connection = std::make_shared<FakeConnection>();
        first = connection;
        engine.connected(connection);
    }
    EXPECT_TRUE(engine.isConnected());
    EXPECT_TRUE(engine.send(messageOf("one")));
    EXPECT_TRUE(engine.send(messageOf("two")));
    EXPECT_EQ(first.lock()->sent, (Lines{"one", "two"}));
    auto replacement = std::make_shared<FakeConnection>();
    engine.connected(replacement); // a new connection replaces the old one
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(engine.send(messageOf("x")));

    engine.disconnected();
    EXPECT_FALSE(engine.isConnected());
    EXPECT_FALSE(engine.send(messageOf("late")));
    EXPECT_EQ(replacement->sent, Lines{"x"});
    EXPECT_EQ(replacement.use_count(), 1);
    EXPECT_EQ(capture.lines().size(), 2u);
}

TEST(MessageHandlerMtSafe, ThreadsSendWhileTheConnectionComesAndGoes)
{
    Engine<MessageHandlerMtSafe> engine;
    auto connection = std::make_shared<CountingConnection>();
    constexpr int kThreads = 4;
    constexpr int kEach = 500;
    std::atomic<int> accepted{0};
    std::atomic<int> refused{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> senders;
    for (int t = 0; t < kThreads; ++t)
        senders.emplace_back([&] {
            while (!go.load()) {
            }
            for (int i = 0; i < kEach; ++i)
                (engine.send(messageOf("m")) ? accepted : refused).fetch_add(1);
        });
    go.store(true);
    for (int flip = 0; flip < 200; ++flip) {
        if (flip % 2 == 0)
            engine.connected(connection);
        else
            engine.disconnected();
        (void)engine.isConnected();
    }
    for (std::thread& sender : senders)
        sender.join();
    EXPECT_EQ(accepted.load() + refused.load(), kThreads * kEach);
    EXPECT_EQ(connection->sent.load(), accepted.load());
}

} // namespace
