// Repeating timers: repetition while timer() says so, stopping and restarting, and the state
// machine around deschedule() and reschedule(), also while timer() is running.
#include "kapi/TaskScheduler.h"
#include "kapi/Timed.h"
#include "kapi/TimerTask.h"

#include "task_test_util.h"

#include <gtest/gtest.h>

using Kapi::Timed;
using KeloTest::Latch;
using KeloTest::waitUntil;

namespace {

constexpr int64 kMs = 1000;
constexpr int64 kHour = 3600LL * 1000000;

// A timer whose timer() runs a function; it deschedules itself before its members go.
class FnTimed : public Timed
{
public:
    explicit FnTimed(std::function<bool()> fn) : m_fn(std::move(fn)) {}
    ~FnTimed() override { deschedule(); }
    bool timer() override
    {
        ++runs;
        return m_fn();
    }
    std::atomic<int> runs{0};

private:
    std::function<bool()> m_fn;
};

bool reaches(const Timed& timed, Timed::State state)
{
    return waitUntil([&] { return timed.getState() == state; });
}

class TimedTest : public ::testing::Test
{
protected:
    TimedTest() : m_scheduler(1, 2) { Kapi::TimerTask::start(); }
    ~TimedTest() override { Kapi::TimerTask::stop(); }

    Kapi::TaskScheduler m_scheduler;
};

} // namespace

TEST(TimedStates, NamesAndNoQueue)
{
    EXPECT_STREQ(Timed::stateToString(Timed::UNSCHEDULED), "UNSCHEDULED");
    EXPECT_STREQ(Timed::stateToString(Timed::SCHEDULED), "SCHEDULED");
    EXPECT_STREQ(Timed::stateToString(Timed::RESCHEDULING), "RESCHEDULING");
    EXPECT_STREQ(Timed::stateToString(Timed::SHUTTING_DOWN), "SHUTTING_DOWN");
    EXPECT_STREQ(Timed::stateToString(4), "ERROR_STATE");
    EXPECT_STREQ(Timed::stateToString(-1), "ERROR_STATE");

    ASSERT_EQ(Kapi::TimerTask::getTimerQueue(), nullptr);
    FnTimed timed([] { return true; });
    EXPECT_FALSE(timed.schedule(kMs));
    EXPECT_EQ(timed.getState(), Timed::UNSCHEDULED);
}

TEST_F(TimedTest, RepeatsWhileTrueThenStopsAndCanStartAgain)
{
    FnTimed timed([&timed] { return timed.runs.load() < 3; });
    ASSERT_TRUE(timed.schedule(2 * kMs));
    ASSERT_TRUE(reaches(timed, Timed::UNSCHEDULED));
    EXPECT_EQ(timed.runs.load(), 3);

    ASSERT_TRUE(timed.schedule(1 * kMs));
    ASSERT_TRUE(reaches(timed, Timed::UNSCHEDULED));
    EXPECT_EQ(timed.runs.load(), 4); // false at once this time
}

TEST_F(TimedTest, DescheduleAndRescheduleOfAQueuedTimer)
{
    FnTimed timed([] { return true; });
    EXPECT_FALSE(timed.reschedule()) << "unscheduled";
    ASSERT_TRUE(timed.schedule(kHour));
    EXPECT_FALSE(timed.schedule(kMs)) << "already scheduled";
    EXPECT_TRUE(timed.reschedule());
    EXPECT_EQ(timed.getState(), Timed::SCHEDULED);
    EXPECT_TRUE(timed.deschedule());
    EXPECT_EQ(timed.getState(), Timed::UNSCHEDULED);
    EXPECT_FALSE(timed.deschedule());
    EXPECT_EQ(m_scheduler.getQueueLength(), 0u);

    // A new interval applies from the next queueing.
    ASSERT_TRUE(timed.schedule(kHour));
    timed.setTimerInterval(1 * kMs);
    EXPECT_TRUE(timed.reschedule());
    EXPECT_TRUE(waitUntil([&] { return timed.runs.load() >= 2; }));
    EXPECT_TRUE(timed.deschedule());
}

TEST_F(TimedTest, DescheduleDuringTimerWaitsForItAndStopsTheRepeat)
{
    Latch inTimer;
    Latch release;
    std::atomic<bool> timerReturned{false};
    FnTimed timed([&] {
        inTimer.arrive();
        release.wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        timerReturned = true;
        return true; // would repeat, but deschedule wins
    });
    ASSERT_TRUE(timed.schedule(0));
    ASSERT_TRUE(inTimer.wait());

    std::atomic<bool> descheduled{false};
    std::thread stopper([&] {
        EXPECT_TRUE(timed.deschedule());
        EXPECT_TRUE(timerReturned.load());
        descheduled = true;
    });
    ASSERT_TRUE(reaches(timed, Timed::SHUTTING_DOWN));
    EXPECT_FALSE(timed.deschedule()) << "a second stopper does not wait";
    EXPECT_FALSE(timed.reschedule());
    EXPECT_FALSE(descheduled.load());
    release.arrive();
    stopper.join();
    EXPECT_EQ(timed.getState(), Timed::UNSCHEDULED);
    EXPECT_EQ(timed.runs.load(), 1);
    EXPECT_EQ(m_scheduler.getQueueLength(), 0u);
}

TEST_F(TimedTest, RescheduleDuringTimerQueuesTheNextRunEvenIfTimerSaysStop)
{
    Latch inTimer;
    Latch release;
    FnTimed timed([&] {
        if (!inTimer.isOpen()) {
            inTimer.arrive();
            release.wait();
        }
        return false;
    });
    ASSERT_TRUE(timed.schedule(1 * kMs));
    ASSERT_TRUE(inTimer.wait());
    EXPECT_TRUE(timed.reschedule());
    EXPECT_EQ(timed.getState(), Timed::RESCHEDULING);
    EXPECT_TRUE(timed.reschedule());
    release.arrive();
    ASSERT_TRUE(reaches(timed, Timed::UNSCHEDULED));
    EXPECT_EQ(timed.runs.load(), 2);
}
