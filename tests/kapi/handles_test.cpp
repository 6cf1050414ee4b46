// The handle library: numbering, locking, deletion, per-handle delivery, observers, the
// locked-handle check and the start-up node.
#include "handle_test_util.h"

#include "kapi/HandleNotifier.h"
#include "kapi/HandleTasks.h"
#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/Timer.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <climits>

using HandleTest::CountedMessage;
using HandleTest::Recorder;
using HandleTest::waitUntil;

class HandlesTest : public HandleTest::HandleLibTest
{
protected:
    std::atomic<int> deleted{0};
};

namespace {

class Mortal : public Handleable
{
public:
    explicit Mortal(std::atomic<int>* destroyed) : m_destroyed(destroyed) {}
    ~Mortal() override { ++*m_destroyed; }

private:
    std::atomic<int>* m_destroyed;
};

} // namespace

TEST_F(HandlesTest, NodeDependsOnTheSchedulerAndNumbersFromHandleStart)
{
    EXPECT_STREQ(GenHandleLib::g_initNode.name, "GenHandleLib");
    ASSERT_EQ(GenHandleLib::g_initNode.numDeps, 1u);
    EXPECT_EQ(GenHandleLib::g_initNode.deps[0], Kapi::TaskSchedulerInitNode::getInstance());

    Recorder a, b, c;
    EXPECT_EQ(lib->newHandle(&a), 10000u);
    EXPECT_EQ(lib->newHandle(&b), 10001u);
    EXPECT_EQ(lib->getHandleForPtr(&b), 10001u);
    EXPECT_EQ(lib->getHandleForPtr(&c), 0u);
    lib->deleteHandle(10000, false);
    EXPECT_EQ(lib->getHandleForPtr(&a), 0u);
    EXPECT_EQ(lib->newHandle(&c), 10002u); // 10000 is free but not reused yet
    lib->deleteHandle(10001, false);
    lib->deleteHandle(10002, false);
}

TEST_F(HandlesTest, CounterWrapsPastZeroAndDestructionLogsWhatIsLeft)
{
    LogCapture capture(VLOGSRC_P2P_UTIL, VLOG_INFO);
    Recorder a, b, c;
    {
        GenHandleLib wrapping(UINT32_MAX - 1);
        EXPECT_EQ(wrapping.newHandle(&a), UINT32_MAX - 1);
        EXPECT_EQ(wrapping.newHandle(&b), UINT32_MAX);
        EXPECT_EQ(wrapping.newHandle(&c), 1u);
        wrapping.deleteHandle(UINT32_MAX - 1, false);
        wrapping.deleteHandle(UINT32_MAX, false);
    }
    char line[64];
    snprintf(line, sizeof(line), "p2p_util.info: 1 %p", static_cast<void*>(&c));
    EXPECT_EQ(capture.summary(), (std::vector<std::string>{
                                     "p2p_util.info: ~GenHandleLib:Handles left ... 1 1", line}));
    GenHandleLib fromZero(0);
    EXPECT_EQ(fromZero.newHandle(&a), 1u);
    fromZero.deleteHandle(1, false);
}

TEST_F(HandlesTest, LockingAndDeletion)
{
    EXPECT_EQ(lib->lockObject(0), nullptr);
    EXPECT_EQ(lib->lockObject(424242), nullptr);

    std::atomic<int> destroyed{0};
    auto* mortal = new Mortal(&destroyed);
    const unsigned h = lib->newHandle(mortal);
    ASSERT_EQ(lib->lockObject(h), mortal);
    std::atomic<bool> returned{false};
    std::thread deleter([&] {
        lib->deleteHandle(h, true);
        returned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(returned); // still waiting for the unlock
    lib->unlockObject(h);
    deleter.join();
    EXPECT_EQ(destroyed, 1);
    EXPECT_FALSE(handleExists(h));
    lib->deleteHandle(h, true); // gone: nothing happens

    lib->asyncDeleteHandle(lib->newHandle(new Mortal(&destroyed)), Kapi::Timer::now());
    EXPECT_TRUE(waitUntil([&] { return destroyed.load() == 2; }));
}

TEST_F(HandlesTest, MessagesForGoneHandlesAreDeletedUndelivered)
{
    Recorder recorder;
    const unsigned h = lib->newHandle(&recorder);
    lib->deleteHandle(h, false);
    lib->sendMessageToHandle(h, new CountedMessage(1, &deleted), Kapi::Timer::now());
    EXPECT_EQ(deleted, 1);

    // Queued for later, then the handle goes: the queued delivery is dropped.
    const unsigned h2 = lib->newHandle(&recorder);
    lib->sendMessageToHandle(h2, new CountedMessage(2, &deleted),
                             Kapi::Timer::now() + 3600000000LL);
    lib->deleteHandle(h2, false);
    EXPECT_EQ(deleted, 2);

    // A delivery task that finds the object gone deletes the message.
    HandleMessageDeliveryTask task(h2, new CountedMessage(3, &deleted));
    EXPECT_EQ(task.toString(),
              "[HandleMessageDeliveryTask: handle=" + std::to_string(h2) + ", [Custom Message]]");
    task.work();
    EXPECT_EQ(deleted, 3);
    EXPECT_TRUE(recorder.values().empty());
}

TEST_F(HandlesTest, OneHandleDeliversOneAtATimeInDueOrderWhileLocked)
{
    LogCapture capture(VLOGSRC_P2P_UTIL, VLOG_ERROR);
    std::atomic<bool> entered{false}, release{false};
    Recorder recorder;
    const unsigned h = lib->newHandle(&recorder);
    recorder.onNotify = [&](int value) {
        lib->assertHandleIsLocked(h);
        if (value == -1) {
            entered = true;
            waitUntil([&] { return release.load(); });
        }
    };
    const long long now = Kapi::Timer::now();
    lib->sendMessageToHandle(h, new CountedMessage(-1, &deleted), now);
    ASSERT_TRUE(waitUntil([&] { return entered.load(); }));
    // Sent in reverse due order while the first delivery holds the handle's processor.
    for (int i = 9; i >= 0; --i)
        lib->sendMessageToHandle(h, new CountedMessage(i, &deleted), now - 1000 + i);
    release = true;
    EXPECT_TRUE(waitUntil([&] { return deleted.load() == 11; }));
    EXPECT_EQ(recorder.values(), (std::vector<int>{-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_FALSE(recorder.overlapped);
    EXPECT_TRUE(capture.summary().empty());
    lib->deleteHandle(h, false);
}

TEST_F(HandlesTest, TwoHandlesDeliverInParallel)
{
    std::atomic<bool> bRan{false}, aSawB{false};
    Recorder a, b;
    a.onNotify = [&](int) { aSawB = waitUntil([&] { return bRan.load(); }); };
    b.onNotify = [&](int) { bRan = true; };
    const unsigned ha = lib->newHandle(&a);
    const unsigned hb = lib->newHandle(&b);
    lib->sendMessageToHandle(ha, new CountedMessage(1, &deleted), Kapi::Timer::now());
    lib->sendMessageToHandle(hb, new CountedMessage(2, &deleted), Kapi::Timer::now());
    EXPECT_TRUE(waitUntil([&] { return deleted.load() == 2; }));
    EXPECT_TRUE(aSawB); // a was still inside its delivery when b's arrived
    lib->deleteHandle(ha, false);
    lib->deleteHandle(hb, false);
}

namespace {

// Each clone carries the next number of a shared counter, so the receivers show cloning order.
class Numbered : public CountedMessage
{
public:
    Numbered(std::atomic<int>* deleted, std::atomic<int>* clones)
        : CountedMessage(-1, deleted), m_clones(clones)
    {
    }
    Kapi::CloneableMessage* clone() const override
    {
        auto* copy = new Numbered(*this);
        copy->value = (*m_clones)++;
        return copy;
    }

private:
    std::atomic<int>* m_clones;
};

} // namespace

TEST_F(HandlesTest, NotifierSendsClonesInHandleOrderAndDeletesTheOriginal)
{
    Recorder r[4];
    unsigned handles[4];
    HandleNotifier notifier;
    for (int i = 0; i < 4; ++i)
        handles[i] = lib->newHandle(&r[i]);
    for (int i = 3; i >= 0; --i)
        EXPECT_TRUE(notifier.addObserver(handles[i]));
    EXPECT_FALSE(notifier.addObserver(handles[0]));
    EXPECT_TRUE(notifier.removeObserver(handles[2]));
    EXPECT_FALSE(notifier.containsObserver(handles[2]));
    EXPECT_TRUE(notifier.containsObserver(handles[3]));
    lib->deleteHandle(handles[3], false); // a stale observer: its clone is deleted

    std::atomic<int> clones{0};
    notifier.notifyObservers(new Numbered(&deleted, &clones), Kapi::Timer::now());
    EXPECT_TRUE(waitUntil([&] { return deleted.load() == 4; })); // 3 clones + the original
    EXPECT_EQ(r[0].values(), std::vector<int>{0});
    EXPECT_EQ(r[1].values(), std::vector<int>{1});
    EXPECT_TRUE(r[2].values().empty());
    EXPECT_TRUE(r[3].values().empty());
    for (int i = 0; i < 3; ++i)
        lib->deleteHandle(handles[i], false);
}

TEST_F(HandlesTest, AssertHandleIsLockedLogsButGoesOn)
{
    LogCapture capture(VLOGSRC_P2P_UTIL, VLOG_ERROR);
    Recorder recorder;
    const unsigned h = lib->newHandle(&recorder);
    lib->assertHandleIsLocked(424242);
    lib->assertHandleIsLocked(h);
    lib->lockObject(h);
    lib->assertHandleIsLocked(h);
    lib->unlockObject(h);
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{
                  "p2p_util.error: assertHandleIsLocked(): handle 424242 not found!",
                  "p2p_util.error: GenHandleLib::assertHandleIsLocked(h=" + std::to_string(h) +
                      ") ASSERTs!"}));
    lib->deleteHandle(h, false);
}
