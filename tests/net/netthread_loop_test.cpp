// The event loop's timeouts, idle work and life cycle, on a hand-driven clock: the order of the
// timeout lists, due times and the rounded poll wait, instant items added during a pass, one
// idle item per iteration, subsystem start/stop order, and what shutDown leaves behind.
#include "kapi/net/System.h"
#include "kapi/net/Timeout.h"

#include "NetThreadTestUtil.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <memory>

using Kapi::Net::System;
using Kapi::Net::Timeout;
using NetTest::FakeClock;
using NetTest::RecordingSubsystem;
using NetTest::TracedTimeout;
using Trace = std::vector<std::string>;

namespace {

struct LoopFixture : ::testing::Test
{
    LoopFixture() { clock.attach(system); }

    TracedTimeout& make(const std::string& name)
    {
        timeouts.push_back(std::make_unique<TracedTimeout>(trace, name));
        return *timeouts.back();
    }

    Trace trace;
    FakeClock clock;
    System system; // declared after the clock it reads
    std::vector<std::unique_ptr<TracedTimeout>> timeouts;
};

} // namespace

TEST_F(LoopFixture, ListsRunInTheirFixedOrderNotTheSubmitOrder)
{
    make("instant").node.submitInstant(&system);
    make("fast").node.submitFast(&system);
    make("hundredth").node.submitHundredthSecond(&system);
    make("tenth").node.submitTenthSecond(&system);
    make("one").node.submitOneSecond(&system);
    make("twenty").node.submitTwentySecond(&system);
    make("thirty").node.submitThirtySecond(&system);
    make("idle").node.submitIdle(&system);
    clock.now = 30000000;
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, (Trace{"thirty", "twenty", "one", "tenth", "hundredth", "fast", "instant"}));
    EXPECT_TRUE(timeouts.back()->node.isLinked()); // idle work is the loop's, not this pass's
}

TEST_F(LoopFixture, EachListHasItsOwnDelayAndHeadsAreFifo)
{
    system.configureFastTimeout(70000);
    clock.now = 1000;
    TracedTimeout& first = make("tenth-a");
    first.node.submitTenthSecond(&system);
    clock.now = 2000;
    make("tenth-b").node.submitTenthSecond(&system);
    make("fast").node.submitFast(&system);
    make("one").node.submitOneSecond(&system);
    make("twenty").node.submitTwentySecond(&system);
    make("thirty").node.submitThirtySecond(&system);
    make("hundredth").node.submitHundredthSecond(&system);
    EXPECT_EQ(first.node.dueTime(), 101000);
    EXPECT_EQ(timeouts[2]->node.dueTime(), 72000);
    EXPECT_EQ(timeouts[3]->node.dueTime(), 1002000);
    EXPECT_EQ(timeouts[4]->node.dueTime(), 20002000);
    EXPECT_EQ(timeouts[5]->node.dueTime(), 30002000);
    EXPECT_EQ(timeouts[6]->node.dueTime(), 12000);

    // The wait is to the earliest head (hundredth at 12,000), rounded up to whole ms.
    clock.now = 10001;
    EXPECT_EQ(system.doTimeouts(), 2);
    EXPECT_EQ(trace, Trace{});
    clock.now = 101000;
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, (Trace{"tenth-a", "hundredth", "fast"}));
    clock.now = 101999;
    EXPECT_EQ(system.doTimeouts(), 1); // tenth-b due at 102,000
    clock.now = 102000;
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace.back(), "tenth-b");
}

TEST_F(LoopFixture, TenthSecondFiresAtTheFirstReadingAtLeastItsDueTime)
{
    clock.now = 5000000;
    make("tenth").node.submitTenthSecond(&system);
    clock.now = 5099999;
    EXPECT_EQ(system.doTimeouts(), 1); // 1 us ahead still waits a whole millisecond
    EXPECT_EQ(trace, Trace{});
    clock.now = 5100000;
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, Trace{"tenth"});
    EXPECT_EQ(system.doTimeouts(), -1); // nothing left: wait without limit
}

TEST_F(LoopFixture, ADueTimePassingDuringThePassStartsItAgain)
{
    make("tenth").node.submitTenthSecond(&system); // due at 100,000
    clock.reads = 0;
    // First reading 99,000 (not due); the second reading finds it passed, so the pass repeats.
    clock.onRead = [](FakeClock& c) { c.now = c.reads == 1 ? 99000 : 100000; };
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, Trace{"tenth"});
    EXPECT_EQ(clock.reads, 3u);
}

TEST_F(LoopFixture, InstantItemsAddedDuringThePassRunInTheSamePass)
{
    TracedTimeout& again = make("again");
    int runs = 0;
    again.then = [&] {
        if (++runs < 3)
            again.node.submitInstant(&system);
    };
    again.node.submitInstant(&system);
    TracedTimeout& other = make("other");
    other.node.submitInstant(&system);
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, (Trace{"again", "other", "again", "again"}));
    EXPECT_EQ(system.doTimeouts(), -1);
}

TEST_F(LoopFixture, ResubmittingMovesANodeAndCancelUnlinksIt)
{
    TracedTimeout& moved = make("moved");
    moved.node.submitThirtySecond(&system);
    moved.node.submitInstant(&system);
    TracedTimeout& cancelled = make("cancelled");
    cancelled.node.submitInstant(&system);
    cancelled.node.cancel();
    EXPECT_FALSE(cancelled.node.isLinked());
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, Trace{"moved"});
    clock.now = 40000000;
    EXPECT_EQ(system.doTimeouts(), -1); // no longer in the thirty-second list
    EXPECT_EQ(trace, Trace{"moved"});
    {
        Timeout scoped(nullptr, [](void*) { FAIL() << "a destroyed timeout ran"; });
        scoped.submitInstant(&system);
    }
    EXPECT_EQ(system.doTimeouts(), -1);
}

TEST_F(LoopFixture, RunReturnsAtOnceWithNothingToDo)
{
    RecordingSubsystem a(trace, "a");
    RecordingSubsystem b(trace, "b");
    EXPECT_TRUE(system.installSubsystem(&a));
    EXPECT_TRUE(system.installSubsystem(&b));
    EXPECT_EQ(trace, Trace{}); // recorded only; run() starts them
    EXPECT_EQ(system.run(), nullptr);
    EXPECT_EQ(trace, (Trace{"a.start", "b.start", "b.stop", "a.stop"}));
    EXPECT_EQ(a.system, &system);
}

TEST_F(LoopFixture, TheLoopRunsTimeoutsUntilNothingIsLeftAndReturnsTheExitCode)
{
    int code = 0;
    TracedTimeout& last = make("one");
    last.then = [&] { system.shutDown(&code); };
    TracedTimeout& first = make("instant");
    first.then = [&] { last.node.submitOneSecond(&system); };
    first.node.submitInstant(&system);
    // Every reading moves the clock half a second on, so the poll waits stay short.
    clock.onRead = [](FakeClock& c) { c.now += 500000; };
    EXPECT_EQ(system.run(), &code);
    EXPECT_EQ(trace, (Trace{"instant", "one"}));
    EXPECT_FALSE(system.isRunning());
}

TEST_F(LoopFixture, IdleWorkRunsOneItemPerIterationWhenNothingIsDueSoon)
{
    TracedTimeout& due = make("tenth");
    due.node.submitTenthSecond(&system); // 100 ms away: more than the 10 ms idle threshold
    std::vector<unsigned> readsAtIdle;
    for (int i = 0; i < 3; ++i) {
        TracedTimeout& idle = make("idle" + std::to_string(i));
        idle.then = [&, i] {
            readsAtIdle.push_back(clock.reads);
            if (i == 2)
                clock.now = 100000; // let the timeout fall due
        };
        idle.node.submitIdle(&system);
    }
    EXPECT_EQ(system.run(), nullptr);
    EXPECT_EQ(trace, (Trace{"idle0", "idle1", "idle2", "tenth"}));
    // One doTimeouts pass (two clock readings: nothing ran) between consecutive idle items.
    ASSERT_EQ(readsAtIdle.size(), 3u);
    EXPECT_EQ(readsAtIdle[1] - readsAtIdle[0], 2u);
    EXPECT_EQ(readsAtIdle[2] - readsAtIdle[1], 2u);
}

TEST_F(LoopFixture, ASubsystemThatCannotStartStopsTheOnesBeforeIt)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    RecordingSubsystem a(trace, "a");
    RecordingSubsystem b(trace, "b", false);
    RecordingSubsystem c(trace, "c");
    system.installSubsystem(&a);
    system.installSubsystem(&b);
    system.installSubsystem(&c);
    make("never").node.submitInstant(&system); // cancelled by the shut-down
    EXPECT_EQ(system.run(), nullptr);
    EXPECT_EQ(trace, (Trace{"a.start", "b.start", "a.stop"}));
    char expected[64];
    snprintf(expected, sizeof(expected), "kapi_net.error: Subsystem %p cannot start",
             static_cast<void*>(&b));
    EXPECT_EQ(capture.summary(), Trace{expected});
}

TEST_F(LoopFixture, InstallAndUninstallWhileRunning)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    RecordingSubsystem late(trace, "late");
    RecordingSubsystem refused(trace, "refused", false);
    RecordingSubsystem unknown(trace, "unknown");
    TracedTimeout& step = make("step");
    step.then = [&] {
        EXPECT_TRUE(system.installSubsystem(&late));
        EXPECT_FALSE(system.installSubsystem(&refused));
        EXPECT_FALSE(system.uninstallSubsystem(&unknown));
        EXPECT_TRUE(system.uninstallSubsystem(&late));
    };
    step.node.submitInstant(&system);
    EXPECT_EQ(system.run(), nullptr);
    EXPECT_EQ(trace, (Trace{"step", "late.start", "refused.start", "late.stop"}));
    char installLine[96];
    char uninstallLine[96];
    snprintf(installLine, sizeof(installLine),
             "kapi_net.error: System::installSubsystem: cannot start Subsystem %p",
             static_cast<void*>(&refused));
    snprintf(uninstallLine, sizeof(uninstallLine),
             "kapi_net.error: System::uninstallSubsystem: unknown Subsystem %p",
             static_cast<void*>(&unknown));
    EXPECT_EQ(capture.summary(), (Trace{installLine, uninstallLine}));
}

TEST_F(LoopFixture, ShutDownLeavesHundredthSecondAndIdleWorkLinked)
{
    RecordingSubsystem a(trace, "a");
    RecordingSubsystem b(trace, "b");
    system.installSubsystem(&a);
    system.installSubsystem(&b);
    const char* names[] = {"thirty", "twenty",  "one",       "tenth",
                           "fast",   "instant", "hundredth", "idle"};
    for (const char* name : names)
        make(name);
    timeouts[0]->node.submitThirtySecond(&system);
    timeouts[1]->node.submitTwentySecond(&system);
    timeouts[2]->node.submitOneSecond(&system);
    timeouts[3]->node.submitTenthSecond(&system);
    timeouts[4]->node.submitFast(&system);
    timeouts[5]->node.submitInstant(&system);
    timeouts[6]->node.submitHundredthSecond(&system);
    timeouts[7]->node.submitIdle(&system);
    int code = 0;
    system.shutDown(&code);
    EXPECT_EQ(trace, (Trace{"b.stop", "a.stop"}));
    for (int i = 0; i < 6; ++i)
        EXPECT_FALSE(timeouts[i]->node.isLinked()) << names[i];
    EXPECT_TRUE(timeouts[6]->node.isLinked());
    EXPECT_TRUE(timeouts[7]->node.isLinked());
    // The subsystems are gone: a second shut-down stops nobody.
    system.shutDown(&code);
    EXPECT_EQ(trace.size(), 2u);
}

TEST_F(LoopFixture, WorkLeftAfterAShutDownStillRuns)
{
    TracedTimeout& hundredth = make("hundredth");
    TracedTimeout& idle = make("idle");
    TracedTimeout& stopper = make("stopper");
    stopper.then = [&] {
        system.shutDown(nullptr);
        hundredth.node.submitHundredthSecond(&system);
        idle.node.submitIdle(&system);
    };
    stopper.node.submitInstant(&system);
    clock.onRead = [](FakeClock& c) { c.now += 5000; };
    EXPECT_EQ(system.run(), nullptr);
    // Idle work waits while a due time is within 10 ms.
    EXPECT_EQ(trace, (Trace{"stopper", "hundredth", "idle"}));
}
