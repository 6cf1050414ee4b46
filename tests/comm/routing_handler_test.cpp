// MessageHandler and its thread-safe variant: sending needs a connection, refusal is logged, and
// any thread may send while the connection comes and goes.
#include "RoutingTestNodes.h"

#include "kapi/comm/MessageHandler.h"
#include "kapi/comm/MessageHandlerMtSafe.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

using namespace RoutingTest;
using Kapi::Comm::CommMessage;
using Kapi::Comm::MessageHandler;
using Kapi::Comm::MessageHandlerMtSafe;

namespace {

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

TYPED_TEST(Handlers, SendingNeedsAConnectionAndRefusalIsLogged)
{
    Engine<TypeParam> engine;
    auto connection = std::make_shared<FakeConnection>();
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_DEBUG);

    EXPECT_FALSE(engine.isConnected());
    EXPECT_FALSE(engine.send(messageOf("early")));
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{
                  "kapi_comm.info: MessageHandler: Cannot send message when not connected"}));

    engine.connected(connection);
    EXPECT_TRUE(engine.isConnected());
    EXPECT_TRUE(engine.send(messageOf("one")));
    EXPECT_TRUE(engine.send(messageOf("two")));
    EXPECT_EQ(connection->sent, (std::vector<std::string>{"one", "two"}));

    engine.disconnected();
    EXPECT_FALSE(engine.isConnected());
    EXPECT_FALSE(engine.send(messageOf("late")));
    EXPECT_EQ(connection->sent.size(), 2u);
    EXPECT_EQ(capture.lines().size(), 2u);
}

TYPED_TEST(Handlers, TheHandlerHoldsTheConnectionOnlyWhileConnected)
{
    Engine<TypeParam> engine;
    std::weak_ptr<FakeConnection> watch;
    {
        auto connection = std::make_shared<FakeConnection>();
        watch = connection;
        engine.connected(connection);
    }
    EXPECT_FALSE(watch.expired());
    auto replacement = std::make_shared<FakeConnection>();
    engine.connected(replacement); // a new connection replaces the old one
    EXPECT_TRUE(watch.expired());
    engine.send(messageOf("x"));
    EXPECT_EQ(replacement->sent.size(), 1u);
    engine.disconnected();
    EXPECT_EQ(replacement.use_count(), 1);
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
