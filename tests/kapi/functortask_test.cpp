// Functor tasks, the functor scheduler and the functor timer, bound through handles. Every
// bound call checks that it runs with the object's handle locked (an error would be logged).
#include "handle_test_util.h"

#include "kapi/FunctorScheduler.h"
#include "kapi/FunctorTask.h"
#include "kapi/FunctorTimer.h"
#include "kapi/Timer.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>

using HandleTest::waitUntil;

namespace {

class Target : public Handleable
{
public:
    void reset() { record("reset"); }
    void setFlag(bool flag) { record(flag ? "flag=true" : "flag=false"); }
    void setName(const std::string& name) { record("name=" + name); }
    void three(int a, unsigned b, std::string c)
    {
        record("three=" + std::to_string(a) + "," + std::to_string(b) + "," + c);
    }
    bool tick(unsigned limit)
    {
        GenHandleLib::getGenHandleLib()->assertHandleIsLocked(handle);
        return static_cast<unsigned>(++ticks) < limit;
    }

    std::vector<std::string> calls()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }

    unsigned handle = 0;
    std::atomic<int> ticks{0};

private:
    void record(const std::string& call)
    {
        GenHandleLib::getGenHandleLib()->assertHandleIsLocked(handle);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(call);
    }
    std::mutex m_mutex;
    std::vector<std::string> m_calls;
};

} // namespace

class FunctorTaskTest : public HandleTest::HandleLibTest
{
protected:
    void TearDown() override
    {
        EXPECT_TRUE(capture.summary().empty());
        HandleLibTest::TearDown();
    }
    LogCapture capture{VLOGSRC_P2P_UTIL, VLOG_ERROR};
    Target target;
};

TEST_F(FunctorTaskTest, RunsLockedAndDoesNothingForGoneObjectsOrNullFunctions)
{
    target.handle = lib->newHandle(&target);
    Kapi::FunctorTask1<Target, const std::string&> named(target.handle, "setName", &Target::setName,
                                                         "kelo");
    EXPECT_EQ(named.toString(), "[Task: category=1, type=3, due=0]:setName");
    named.work();
    Kapi::FunctorTask0<Target>(target.handle, "none", nullptr).work();
    EXPECT_EQ(target.calls(), std::vector<std::string>{"name=kelo"});
    EXPECT_TRUE(handleExists(target.handle)); // and not left locked

    lib->deleteHandle(target.handle, false);
    Kapi::FunctorTask0<Target>(target.handle, "reset", &Target::reset).work();
    EXPECT_EQ(target.calls().size(), 1u);
}

TEST_F(FunctorTaskTest, SchedulerQueuesCallsAndReleasesTheHandleItMade)
{
    Kapi::TaskProcessor processor(1);
    {
        Kapi::FunctorScheduler<Target> scheduler(&target, &processor);
        target.handle = scheduler.getHandle();
        EXPECT_EQ(lib->getHandleForPtr(&target), target.handle);
        Kapi::FunctorScheduler<Target> copy = scheduler;
        EXPECT_EQ(copy.useCount(), 2);

        const long long now = Kapi::Timer::now();
        EXPECT_NE(copy.schedule("reset", &Target::reset, now), 0u);
        copy.schedule("setFlag", &Target::setFlag, true, now);
        copy.schedule("setName", &Target::setName, std::string("x"), now);
        copy.schedule("three", &Target::three, -1, 2u, std::string("c"), now);
        EXPECT_TRUE(waitUntil([&] { return target.calls().size() == 4; }));
    }
    EXPECT_EQ(target.calls(),
              (std::vector<std::string>{"reset", "flag=true", "name=x", "three=-1,2,c"}));
    EXPECT_EQ(lib->getHandleForPtr(&target), 0u); // the object itself lives on
}

TEST_F(FunctorTaskTest, TimerRunsUntilTheFunctionSaysStop)
{
    target.handle = lib->newHandle(&target);
    Kapi::FunctorTimer<Target, unsigned> timer(target.handle, &Target::tick);
    ASSERT_TRUE(timer.start(1000, 3));
    EXPECT_NE(timer.getTimerHandle(), 0u);
    // After the third call returns false the timer deletes its own handle.
    EXPECT_TRUE(waitUntil([&] { return !handleExists(timer.getTimerHandle()); }));
    EXPECT_EQ(target.ticks, 3);
}

TEST_F(FunctorTaskTest, TimerStopsWhenTheOwnerIsGone)
{
    target.handle = lib->newHandle(&target);
    Kapi::FunctorTimer<Target, unsigned> timer(target.handle, &Target::tick);
    ASSERT_TRUE(timer.start(1000, 1000000));
    EXPECT_TRUE(waitUntil([&] { return target.ticks.load() >= 2; }));
    lib->deleteHandle(target.handle, false);
    const int ticks = target.ticks.load();
    EXPECT_TRUE(waitUntil([&] { return !handleExists(timer.getTimerHandle()); }));
    EXPECT_EQ(target.ticks, ticks);
}

TEST_F(FunctorTaskTest, TimerRestartReplacesThePendingTimer)
{
    target.handle = lib->newHandle(&target);
    Kapi::FunctorTimer<Target, unsigned> timer(target.handle, &Target::tick);
    ASSERT_TRUE(timer.start(3600000000LL, 1000)); // would not fire within the test
    const unsigned first = timer.getTimerHandle();
    ASSERT_TRUE(timer.start(1000, 2));
    EXPECT_NE(timer.getTimerHandle(), first);
    EXPECT_TRUE(
        waitUntil([&] { return !handleExists(first) && !handleExists(timer.getTimerHandle()); }));
    EXPECT_EQ(target.ticks, 2);
}
