// Message names, direct delivery, and delivery through a MessageProcessor's own thread.
#include "handle_test_util.h"

#include "kapi/MessageProcessor.h"

#include <gtest/gtest.h>

using HandleTest::CountedMessage;
using HandleTest::waitUntil;

TEST(MessageTest, CodeNames)
{
    EXPECT_EQ(Kapi::Message::codeToString(0), "BufferReader is finished (BufferReaderFinished)");
    EXPECT_EQ(Kapi::Message::codeToString(9),
              "File writer has finished for a socket (FinishedMessage) ");
    EXPECT_EQ(Kapi::Message::codeToString(17),
              "Send by MultiReceiveManager: abort (MRMAbortMessage)");
    EXPECT_EQ(Kapi::Message::codeToString(Kapi::MSG_PIPELINE_EVENT), "Pipeline Event");
    EXPECT_EQ(Kapi::Message::codeToString(88), "Streamer error");
    EXPECT_EQ(Kapi::Message::codeToString(Kapi::NUM_CODES), "NUM_CODES");
    EXPECT_EQ(Kapi::Message::codeToString(90), "Received unknown message code: 90");
    EXPECT_EQ(Kapi::Message::codeToString(1000), "Received unknown message code: 1000");
    EXPECT_EQ(Kapi::Message::codeToString(-1), "Received unknown message code: -1");
    EXPECT_EQ(Kapi::Message(Kapi::MSG_STREAMER_BITRATE_CHANGED).toString(),
              "[Streamer bitrate changed]");
}

namespace {

class Keeper : public Kapi::MessageReceiver
{
public:
    bool notify(Kapi::Message*) override { return !keep; }
    bool keep = false;
};

} // namespace

TEST(MessageTest, DirectReceiveDeletesOnlyWhenNotifyAsks)
{
    std::atomic<int> deleted{0};
    Keeper receiver;
    receiver.receive(new CountedMessage(1, &deleted), nullptr);
    EXPECT_EQ(deleted, 1);
    receiver.keep = true;
    CountedMessage kept(2, &deleted);
    receiver.receive(&kept, nullptr);
    EXPECT_EQ(deleted, 1);
}

class MessageProcessorTest : public HandleTest::HandleLibTest
{
protected:
    // The receiver's first delivery (value 0) waits until `release` is set.
    void SetUp() override
    {
        HandleLibTest::SetUp();
        receiver.onNotify = [this](int value) {
            if (value == 0) {
                entered = true;
                waitUntil([this] { return release.load(); });
            }
        };
    }

    HandleTest::Recorder receiver;
    std::atomic<bool> entered{false};
    std::atomic<bool> release{false};
    std::atomic<int> deleted{0};
};

TEST_F(MessageProcessorTest, DeliversOnAWorkerInOrderUnderTheReceiversMutex)
{
    std::vector<int> expected;
    {
        Kapi::MessageProcessor processor(&receiver, "test");
        EXPECT_EQ(receiver.getProcessor(), &processor);
        receiver.receive(new CountedMessage(0, &deleted), nullptr);
        ASSERT_TRUE(waitUntil([this] { return entered.load(); }));
        for (int i = 0; i <= 20; ++i) {
            expected.push_back(i);
            if (i > 0)
                receiver.receive(new CountedMessage(i, &deleted), nullptr);
        }
        // Deliveries that come from the processor take the direct path, here on another thread;
        // the receiver's mutex keeps them apart from the queued ones.
        std::thread other([&] {
            for (int i = 100; i < 120; ++i)
                receiver.receive(new CountedMessage(i, &deleted), &processor);
        });
        release = true;
        other.join();
        ASSERT_TRUE(waitUntil([this] { return deleted.load() == 41; }));
    }
    EXPECT_EQ(receiver.getProcessor(), nullptr);
    EXPECT_FALSE(receiver.overlapped);
    std::vector<int> queued;
    const std::vector<int> values = receiver.values();
    const std::vector<std::thread::id> threads = receiver.threads();
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i] < 100) {
            queued.push_back(values[i]);
            EXPECT_NE(threads[i], std::this_thread::get_id()); // a scheduler worker
        }
    }
    EXPECT_EQ(queued, expected);
}

TEST_F(MessageProcessorTest, DestructionDropsQueuedMessages)
{
    auto processor = std::make_unique<Kapi::MessageProcessor>(&receiver, "drop");
    receiver.receive(new CountedMessage(0, &deleted), nullptr);
    ASSERT_TRUE(waitUntil([this] { return entered.load(); }));
    for (int i = 1; i <= 3; ++i)
        receiver.receive(new CountedMessage(i, &deleted), nullptr);
    std::thread destroyer([&] { processor.reset(); });
    // The queued three are dropped while the first delivery is still held up.
    EXPECT_TRUE(waitUntil([this] { return deleted.load() == 3; }));
    release = true;
    destroyer.join();
    EXPECT_EQ(receiver.values(), std::vector<int>{0});
    EXPECT_EQ(deleted, 4);
}
