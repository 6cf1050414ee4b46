// The UI event queues: dispatch order across priorities and delays, cancelling, the loop's
// result, and ownership of queued events when the loop closes.
#include "core/UICoreApplication.h"
#include "core/UIEventDispatcher.h"

#include "core/CoreTestDrivers.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using KELO::UICore::EventDispatcher;

// Appends its label to a shared trace when it runs; counts its destructions.
class TraceEvent : public KELO::UICore::SelfHandlingEvent
{
public:
    TraceEvent(std::vector<std::string>& trace, std::string label, bool owned = true,
               int* deaths = nullptr)
        : SelfHandlingEvent(owned), mTrace(trace), mLabel(std::move(label)), mDeaths(deaths)
    {
    }
    ~TraceEvent() override
    {
        if (mDeaths != nullptr)
            ++*mDeaths;
    }
    void handleThyself() override { mTrace.push_back(mLabel); }

private:
    std::vector<std::string>& mTrace;
    std::string mLabel;
    int* mDeaths;
};

// Posts further events from inside a dispatch.
class PostingEvent : public KELO::UICore::SelfHandlingEvent
{
public:
    PostingEvent(EventDispatcher& dispatcher, std::vector<std::string>& trace)
        : mDispatcher(dispatcher), mTrace(trace)
    {
    }
    void handleThyself() override
    {
        mTrace.push_back("posting");
        mDispatcher.postEvent(new TraceEvent(mTrace, "normal-from-handler"), 0);
        mDispatcher.postEvent(new TraceEvent(mTrace, "high-from-handler"), 1);
    }

private:
    EventDispatcher& mDispatcher;
    std::vector<std::string>& mTrace;
};

class RecordingHandler : public KELO::UICore::EventHandler
{
public:
    void handleEvent(KELO::UICore::SystemEvent& event) override
    {
        seen.push_back(event.toString());
    }
    using KELO::UICore::EventHandler::handleEvent;
    std::vector<std::string> seen;
};

} // namespace

TEST(UIEventDispatcher, HighPriorityOvertakesNormalImmediateOvertakesDelayedEqualDelaysKeepOrder)
{
    EventDispatcher dispatcher;
    KELO::UICore::EventHandler base;
    dispatcher.setDefaultHandler(&base);
    std::vector<std::string> trace;
    // Everything is queued before the loop runs, so the order is decided by the queues alone.
    dispatcher.postDelayedEvent(new TraceEvent(trace, "delayed-0"), 0);
    dispatcher.postEvent(new TraceEvent(trace, "normal-1"), 0);
    dispatcher.postEvent(new TraceEvent(trace, "normal-2"), 7);
    dispatcher.postEvent(new TraceEvent(trace, "high-1"), 1);
    dispatcher.postEvent(new PostingEvent(dispatcher, trace), 0);
    dispatcher.postDelayedEvent(new KELO::UICore::QuitEvent(dispatcher), 0);

    EXPECT_EQ(dispatcher.mainLoop(), 0);
    EXPECT_EQ(trace,
              (std::vector<std::string>{"high-1", "normal-1", "normal-2", "posting",
                                        "high-from-handler", "normal-from-handler", "delayed-0"}));

    // Equal delays keep the posting order.
    trace.clear();
    for (int i = 0; i < 5; ++i)
        dispatcher.postDelayedEvent(new TraceEvent(trace, "d" + std::to_string(i)), 20);
    dispatcher.postDelayedEvent(new TraceEvent(trace, "early"), 0);
    dispatcher.postDelayedEvent(new KELO::UICore::QuitEvent(dispatcher), 20);
    EXPECT_EQ(dispatcher.mainLoop(), 0);
    EXPECT_EQ(trace, (std::vector<std::string>{"early", "d0", "d1", "d2", "d3", "d4"}));
}

TEST(UIEventDispatcher, CancelledAndRepostedEventsStayTheirOwners)
{
    EventDispatcher dispatcher;
    KELO::UICore::EventHandler base;
    dispatcher.setDefaultHandler(&base);
    std::vector<std::string> trace;
    int deaths = 0;
    TraceEvent timer(trace, "timer", false, &deaths);

    dispatcher.postDelayedEvent(&timer, 100000);
    EXPECT_FALSE(timer.empty());
    EXPECT_TRUE(dispatcher.cancelDelayedEvent(&timer));
    EXPECT_TRUE(timer.empty());
    EXPECT_FALSE(dispatcher.cancelDelayedEvent(&timer));

    dispatcher.postDelayedEvent(&timer, 100000);
    dispatcher.repostEvent(&timer, 0);
    dispatcher.postDelayedEvent(new KELO::UICore::QuitEvent(dispatcher), 0);
    EXPECT_EQ(dispatcher.mainLoop(), 0);
    EXPECT_EQ(trace, (std::vector<std::string>{"timer"}));
    EXPECT_EQ(deaths, 0);
}

TEST(UIEventDispatcher, CloseAndPostsWithoutAnApplicationDeleteOnlyOwnedEvents)
{
    std::vector<std::string> trace;
    int deaths = 0;
    TraceEvent kept(trace, "kept", false, &deaths);
    {
        EventDispatcher dispatcher;
        dispatcher.postEvent(new TraceEvent(trace, "owned", true, &deaths), 0);
        dispatcher.postDelayedEvent(new TraceEvent(trace, "owned-delayed", true, &deaths), 50000);
        dispatcher.postEvent(&kept, 1);
        dispatcher.stop();
        // A stop before the loop runs ends it at once; nothing is dispatched.
        EXPECT_EQ(dispatcher.mainLoop(), 0);
        EXPECT_EQ(deaths, 2);
        EXPECT_TRUE(kept.empty());
    }
    EXPECT_TRUE(trace.empty());
    EXPECT_EQ(deaths, 2);

    // With no running application a posted event is deleted at once, unless the caller owns it.
    KELO::UICore::Application::post(new TraceEvent(trace, "dropped", true, &deaths));
    KELO::UICore::Application::post(&kept);
    EXPECT_EQ(deaths, 3);
    EXPECT_TRUE(trace.empty());
}

TEST(UIEventDispatcher, RestartResultAndARunAfterIt)
{
    EventDispatcher dispatcher;
    KELO::UICore::EventHandler base;
    dispatcher.setDefaultHandler(&base);
    dispatcher.postEvent(new KELO::UICore::RestartEvent(dispatcher), 0);
    EXPECT_EQ(dispatcher.mainLoop(), 1);
    // The loop can run again and ends on the next request.
    dispatcher.postEvent(new KELO::UICore::QuitEvent(dispatcher), 0);
    EXPECT_EQ(dispatcher.mainLoop(), 0);
}

TEST(UIEventDispatcher, EventsWithoutAnyHandlerAreNotDispatched)
{
    EventDispatcher dispatcher;
    std::vector<std::string> trace;
    int deaths = 0;
    dispatcher.postEvent(new TraceEvent(trace, "orphan", true, &deaths), 0);
    TraceEvent* routed = new TraceEvent(trace, "routed");
    KELO::UICore::EventHandler handler;
    routed->setHandler(&handler);
    dispatcher.postEvent(routed, 0);
    KELO::UICore::QuitEvent* quit = new KELO::UICore::QuitEvent(dispatcher);
    quit->setHandler(&handler);
    dispatcher.postEvent(quit, 0);
    EXPECT_EQ(dispatcher.mainLoop(), 0);
    EXPECT_EQ(trace, (std::vector<std::string>{"routed"}));
    EXPECT_EQ(deaths, 1); // deleted after its (skipped) dispatch
}

TEST(UIEventDispatcher, SystemEventsReachTheHandlerAndPostsFromOtherThreadsWakeTheLoop)
{
    EventDispatcher dispatcher;
    RecordingHandler handler;
    dispatcher.setDefaultHandler(&handler);
    int result = -1;
    std::thread loop([&] { result = dispatcher.mainLoop(); });
    dispatcher.postEvent(new KELO::UICore::SystemEvent(
                             Kapi::SystemEvent("player", "progress", Kapi::KeyValueMap("pos", 5))),
                         0);
    dispatcher.postDelayedEvent(new KELO::UICore::QuitEvent(dispatcher), 10);
    loop.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(handler.seen,
              (std::vector<std::string>{"SystemEvent(s=player, t=progress, p=pos=5)"}));
}
