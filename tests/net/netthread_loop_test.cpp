// The event loop's timeouts, idle work and life cycle, on a hand-driven clock: the order of the
// timeout lists, due times and the rounded poll wait, instant items added during a pass, one
// idle item per iteration, subsystem start/stop order, what shutDown leaves behind, and the
// call-me factories with the same-thread kind (its changed() runs later in the same pass).
#include "kapi/net/System.h"
#include "kapi/net/Timeout.h"
#include "kapi/net/TimeoutCallMe.h"

#include "NetThreadTestUtil.h"

#include <gtest/gtest.h>

#include <memory>

using Kapi::Net::System;
using Kapi::Net::Timeout;
using Kapi::Net::TimeoutCallMe;
using NetTest::FakeClock;
using NetTest::RecordingSubsystem;
using NetTest::TracedTimeout;
using Trace = std::vector<std::string>;

namespace {

// Every list, named, in the order a pass runs them (idle work is the loop's, not a pass's).
const std::pair<const char*, void (Timeout::*)(System*)> kLists[] = {
    {"thirty", &Timeout::submitThirtySecond},
    {"twenty", &Timeout::submitTwentySecond},
    {"one", &Timeout::submitOneSecond},
    {"tenth", &Timeout::submitTenthSecond},
    {"hundredth", &Timeout::submitHundredthSecond},
    {"fast", &Timeout::submitFast},
    {"instant", &Timeout::submitInstant},
    {"idle", &Timeout::submitIdle}};

struct LoopFixture : ::testing::Test
{
    LoopFixture() { clock.attach(system); }

    TracedTimeout& make(const std::string& name)
    {
        timeouts.push_back(std::make_unique<TracedTimeout>(trace, name));
        return *timeouts.back();
    }
    // One timeout on every list, submitted in the reverse of the pass order.
    void submitToEveryList()
    {
        for (int i = 7; i >= 0; --i)
            (make(kLists[i].first).node.*kLists[i].second)(&system);
    }
    // Installs subsystems "a" and "b" (before run(): recorded only).
    void installAB()
    {
        for (RecordingSubsystem* subsystem : {&a, &b})
            EXPECT_TRUE(system.installSubsystem(subsystem));
    }

    Trace trace;
    FakeClock clock;
    System system; // declared after the clock it reads
    std::vector<std::unique_ptr<TracedTimeout>> timeouts;
    RecordingSubsystem a{trace, "a"}, b{trace, "b"};
};

} // namespace

TEST_F(LoopFixture, ListsRunInTheirFixedOrderNotTheSubmitOrder)
{
    submitToEveryList();
    clock.now = 30000000;
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, (Trace{"thirty", "twenty", "one", "tenth", "hundredth", "fast", "instant"}));
    EXPECT_TRUE(timeouts.front()->node.isLinked()); // idle work is the loop's, not this pass's
}

TEST_F(LoopFixture, EachListHasItsOwnDelayAndHeadsAreFifo)
{
    system.configureFastTimeout(70000);
    clock.now = 1000;
    TracedTimeout& first = make("tenth-a");
    first.node.submitTenthSecond(&system);
    clock.now = 2000;
    make("tenth-b").node.submitTenthSecond(&system);
    const int64 expectedDue[] = {72000, 1002000, 20002000, 30002000, 12000};
    make("fast").node.submitFast(&system);
    make("one").node.submitOneSecond(&system);
    make("twenty").node.submitTwentySecond(&system);
    make("thirty").node.submitThirtySecond(&system);
    make("hundredth").node.submitHundredthSecond(&system);
    EXPECT_EQ(first.node.dueTime(), 101000);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(timeouts[2 + i]->node.dueTime(), expectedDue[i]) << timeouts[2 + i]->name;

    // The wait is to the earliest head (hundredth at 12,000), rounded up to whole ms.
    clock.now = 10001;
    EXPECT_EQ(system.doTimeouts(), 2);
    EXPECT_EQ(trace, Trace{});
    clock.now = 101000;
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, (Trace{"tenth-a", "hundredth", "fast"}));
    clock.now = 101999;
    EXPECT_EQ(system.doTimeouts(), 1); // tenth-b due at 102,000: 1 us waits a whole ms
    clock.now = 102000;
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace.back(), "tenth-b");
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
    EXPECT_EQ(system.doTimeouts(), -1); // nothing left: wait without limit
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
    make("other").node.submitInstant(&system);
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

TEST_F(LoopFixture, RunStartsTheSubsystemsAndReturnsAtOnceWithNothingToDo)
{
    installAB();
    EXPECT_EQ(trace, Trace{}); // run() starts them
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
    make("tenth").node.submitTenthSecond(&system); // 100 ms away: over the 10 ms idle threshold
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

TEST_F(LoopFixture, ShutDownLeavesHundredthSecondAndIdleWorkLinked)
{
    installAB();
    submitToEveryList();
    int code = 0;
    system.shutDown(&code);
    EXPECT_EQ(trace, (Trace{"b.stop", "a.stop"}));
    for (const auto& timeout : timeouts) {
        const bool stays = timeout->name == "hundredth" || timeout->name == "idle";
        EXPECT_EQ(timeout->node.isLinked(), stays) << timeout->name;
    }
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

TEST_F(LoopFixture, SameThreadCallMesRunLaterInThePassOnceAndFactoriesAreMadeOncePerKind)
{
    const Kapi::Stream::CallMeFactory* multi = TimeoutCallMe::getFactory(&system);
    const Kapi::Stream::CallMeFactory* single = TimeoutCallMe::getSameThreadFactory(&system);
    EXPECT_NE(multi, nullptr);
    EXPECT_NE(multi, single);
    EXPECT_EQ(system.getTimeoutCallMeFactory(), multi);
    EXPECT_EQ(system.getSameThreadTimeoutCallMeFactory(), single);
    std::unique_ptr<Kapi::Stream::CallMe> other(multi->create());
    EXPECT_NE(dynamic_cast<Kapi::Net::TimeoutCallMeMultiThreaded*>(other.get()), nullptr);
    std::unique_ptr<Kapi::Stream::CallMe> callMe(single->create());
    ASSERT_NE(dynamic_cast<Kapi::Net::TimeoutCallMeSingleThreaded*>(callMe.get()), nullptr);

    struct Listener : Kapi::Stream::ChangeListener
    {
        explicit Listener(Trace& trace) : trace(trace) {}
        void changed() override { trace.push_back("changed"); }
        Trace& trace;
    } listener(trace);
    callMe->setChangeListener(&listener);
    TracedTimeout& work = make("work");
    work.then = [&] {
        callMe->trigger();
        callMe->trigger(); // merges with the first
        trace.push_back("triggered");
    };
    work.node.submitInstant(&system);
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, (Trace{"work", "triggered", "changed"}));
    auto* kind = static_cast<TimeoutCallMe*>(callMe.get());
    EXPECT_TRUE(kind->hasThreadId());
    EXPECT_TRUE(pthread_equal(kind->getThreadId(), pthread_self()));

    callMe->trigger();
    callMe.reset(); // deletion cancels the pending call
    EXPECT_EQ(system.doTimeouts(), -1);
    EXPECT_EQ(trace.size(), 3u);
}
