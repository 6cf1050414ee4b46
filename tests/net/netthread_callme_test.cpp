// Call-mes of the network loop: the factories a System hands out, the multi-threaded kind
// triggered from other threads (changed() runs on the loop thread, triggers merge), the
// single-threaded kind triggered on the loop thread (changed() runs later in the same pass),
// and deletion cancelling a pending call.
#include "kapi/net/NetworkThread.h"
#include "kapi/net/System.h"
#include "kapi/net/TimeoutCallMe.h"

#include "NetThreadTestUtil.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

using Kapi::Net::System;
using Kapi::Net::TimeoutCallMe;
using Kapi::NetThread::NetworkThread;
using NetTest::Counter;

namespace {

struct CountingListener : Kapi::Stream::ChangeListener
{
    void changed() override
    {
        thread = pthread_self();
        if (onChanged)
            onChanged();
        calls.add();
    }
    Counter calls;
    pthread_t thread{};
    std::function<void()> onChanged;
};

} // namespace

TEST(TimeoutCallMe, FactoriesAreMadeOncePerSystemAndKind)
{
    System system;
    const Kapi::Stream::CallMeFactory* multi = TimeoutCallMe::getFactory(&system);
    const Kapi::Stream::CallMeFactory* single = TimeoutCallMe::getSameThreadFactory(&system);
    EXPECT_NE(multi, nullptr);
    EXPECT_NE(multi, single);
    EXPECT_EQ(system.getTimeoutCallMeFactory(), multi);
    EXPECT_EQ(system.getSameThreadTimeoutCallMeFactory(), single);
    std::unique_ptr<Kapi::Stream::CallMe> a(multi->create());
    std::unique_ptr<Kapi::Stream::CallMe> b(single->create());
    EXPECT_NE(dynamic_cast<Kapi::Net::TimeoutCallMeMultiThreaded*>(a.get()), nullptr);
    EXPECT_NE(dynamic_cast<Kapi::Net::TimeoutCallMeSingleThreaded*>(b.get()), nullptr);
}

TEST(TimeoutCallMe, SingleThreadedRunsLaterInTheSamePassOnTheLoopThread)
{
    System system;
    CountingListener listener;
    std::unique_ptr<Kapi::Stream::CallMe> callMe(
        TimeoutCallMe::getSameThreadFactory(&system)->create());
    callMe->setChangeListener(&listener);
    std::vector<std::string> trace;
    listener.onChanged = [&] { trace.push_back("changed"); };
    NetTest::TracedTimeout work(trace, "work");
    work.then = [&] {
        callMe->trigger();
        callMe->trigger(); // merges with the first
        trace.push_back("triggered");
    };
    work.node.submitInstant(&system);
    EXPECT_EQ(system.doTimeouts(), 0);
    EXPECT_EQ(trace, (std::vector<std::string>{"work", "triggered", "changed"}));
    auto* kind = static_cast<TimeoutCallMe*>(callMe.get());
    EXPECT_TRUE(kind->hasThreadId());
    EXPECT_TRUE(pthread_equal(kind->getThreadId(), pthread_self()));

    callMe->trigger();
    callMe.reset(); // deletion cancels the pending call
    EXPECT_EQ(system.doTimeouts(), -1);
    EXPECT_EQ(listener.calls.get(), 1u);
}

TEST(TimeoutCallMe, MultiThreadedTriggersFromAnyThreadReachTheLoopThread)
{
    NetworkThread thread(0);
    ASSERT_TRUE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL));
    System* system = thread.getSystem();
    CountingListener listener;
    std::unique_ptr<Kapi::Stream::CallMe> callMe(TimeoutCallMe::getFactory(system)->create());
    callMe->setChangeListener(&listener);

    callMe->trigger();
    listener.calls.waitFor(1);
    auto* kind = static_cast<TimeoutCallMe*>(callMe.get());
    EXPECT_TRUE(kind->hasThreadId());
    EXPECT_TRUE(pthread_equal(kind->getThreadId(), listener.thread));
    EXPECT_FALSE(pthread_equal(listener.thread, pthread_self()));

    // Three threads trigger at once, a round at a time; every round is answered at least once
    // and triggers that meet a pending call merge into it.
    constexpr unsigned kRounds = 200;
    for (unsigned round = 0; round < kRounds; ++round) {
        const unsigned before = listener.calls.get();
        std::vector<std::thread> triggers;
        for (int i = 0; i < 3; ++i)
            triggers.emplace_back([&] { callMe->trigger(); });
        for (std::thread& t : triggers)
            t.join();
        listener.calls.waitFor(before + 1);
    }
    const unsigned calls = listener.calls.get();
    EXPECT_GE(calls, 1 + kRounds);
    EXPECT_LE(calls, 1 + 3 * kRounds);
    // Deleted where it runs, on the loop thread, so no pending call can meet a dead object.
    struct Deleter
    {
        static void run(void* self)
        {
            Deleter* d = static_cast<Deleter*>(self);
            d->callMe.reset();
            d->done.add();
        }
        std::unique_ptr<Kapi::Stream::CallMe> callMe;
        Counter done;
        Kapi::Net::CrossThreadTimeout node{this, &Deleter::run};
    } deleter;
    deleter.callMe = std::move(callMe);
    deleter.node.submitInstantFromAnotherThread(system);
    deleter.done.waitFor(1);
    thread.stop();
}
