// System events: the text form, posting without a dispatcher, the post overloads, and delivery
// from several threads, including removal of the dispatcher while others post.
#include "kapi/SystemEvent.h"

#include "kapi/Log.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using Kapi::KeyValueMap;
using Kapi::SystemEvent;
using Kapi::Variant;

namespace {


// Keeps copies of what it receives and notices overlapping calls.
class RecordingDispatcher : public Kapi::SystemEventDispatcher
{
public:
    void postSystemEvent(const SystemEvent& event) override
    {
        if (mInCall.exchange(true))
            ++mOverlaps;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mEvents.push_back(event);
            ++mCalls;
        }
        mInCall = false;
        mCallsChanged.notify_all();
    }

    std::vector<SystemEvent> events() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mEvents;
    }
    int overlaps() const { return mOverlaps.load(); }
    void waitForCalls(int count)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mCallsChanged.wait(lock, [&] { return mCalls >= count; });
    }

private:
    mutable std::mutex mMutex;
    std::condition_variable mCallsChanged;
    std::vector<SystemEvent> mEvents;
    std::atomic<bool> mInCall{false};
    std::atomic<int> mOverlaps{0};
    int mCalls = 0; // guarded by mMutex
};

// Posts while the process starts and again while it ends: the dispatcher lock must exist in
// both phases (a crash at exit fails every test of this program).
struct PostsAtStartAndExit
{
    PostsAtStartAndExit()
    {
        SystemEvent::post("static", "init", KeyValueMap());
        posted = true;
    }
    ~PostsAtStartAndExit() { SystemEvent::post("static", "exit", KeyValueMap()); }
    bool posted = false;
};
PostsAtStartAndExit g_postsAtStartAndExit;

class SystemEventTest : public ::testing::Test
{
protected:
    void SetUp() override { SystemEvent::setDispatcher(nullptr); }
    void TearDown() override { SystemEvent::setDispatcher(nullptr); }
};

} // namespace

TEST_F(SystemEventTest, TextForm)
{
    EXPECT_EQ(SystemEvent("a", "b", KeyValueMap()).toString(), "s=a, t=b, p=");
    EXPECT_EQ(SystemEvent("player", "error", KeyValueMap("code", 7, "message", "x;y=z")).toString(),
              "s=player, t=error, p=code=7;message=x%3by%3dz");
    // A derived event may print itself differently through the virtual toString().
    struct Loud : SystemEvent
    {
        std::string toString() const override { return "LOUD " + SystemEvent::toString(); }
    } loud;
    const SystemEvent& base = loud;
    EXPECT_EQ(base.toString(), "LOUD s=, t=, p=");
}

TEST_F(SystemEventTest, WithoutDispatcherTheEventIsLoggedAndDropped)
{
    EXPECT_TRUE(g_postsAtStartAndExit.posted);
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_WARNING);
    SystemEvent::post("player", "progress", KeyValueMap("position", 12, "duration", 3600));
    SystemEvent::post(nullptr, "x", KeyValueMap());
    const std::vector<LogCapture::Line> lines = capture.lines();
    ASSERT_EQ(lines.size(), 2u);
    for (const LogCapture::Line& line : lines) {
        EXPECT_EQ(line.source, "misc_system");
        EXPECT_EQ(line.priority, Kapi::Log::PRIO_WARNING);
    }
    EXPECT_EQ(lines[0].text, "No system event dispatcher for "
                             "'s=player, t=progress, p=duration=3600;position=12'");
    EXPECT_EQ(lines[1].text, "No system event dispatcher for 's=, t=x, p='");
}

TEST_F(SystemEventTest, PostOverloadsBuildTheEvent)
{
    RecordingDispatcher dispatcher;
    SystemEvent::setDispatcher(&dispatcher);

    SystemEvent::post(nullptr, "x", KeyValueMap("k", "v", nullptr, Variant()));
    SystemEvent::post("player", "stateChanged", "state", "playing", nullptr, Variant(), "rate", 2,
                      nullptr, Variant());
    SystemEvent::post("notify", "notification", nullptr, Variant(), nullptr, Variant(), nullptr,
                      Variant(), nullptr, Variant());
    SystemEvent::post(SystemEvent("session", "error", KeyValueMap("worked", false)));

    const std::vector<SystemEvent> events = dispatcher.events();
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[0].toString(), "s=, t=x, p=k=v");
    EXPECT_EQ(events[1].toString(), "s=player, t=stateChanged, p=rate=2;state=playing");
    EXPECT_EQ(events[1].values.getValue("rate").asInteger32(), 2);
    EXPECT_EQ(events[2].toString(), "s=notify, t=notification, p=");
    EXPECT_EQ(events[3].toString(), "s=session, t=error, p=worked=false");
}

TEST_F(SystemEventTest, ReplacingTheDispatcherRedirectsPosts)
{
    RecordingDispatcher first, second;
    SystemEvent::setDispatcher(&first);
    SystemEvent::post("a", "1", KeyValueMap());
    SystemEvent::setDispatcher(&second);
    SystemEvent::post("a", "2", KeyValueMap());
    SystemEvent::setDispatcher(nullptr);
    SystemEvent::post("a", "3", KeyValueMap());
    ASSERT_EQ(first.events().size(), 1u);
    EXPECT_EQ(first.events()[0].type, "1");
    ASSERT_EQ(second.events().size(), 1u);
    EXPECT_EQ(second.events()[0].type, "2");
}

// Calls never overlap, nothing is lost, and each poster's events arrive in its own order.
TEST_F(SystemEventTest, PostsFromSeveralThreadsAreSerialised)
{
    constexpr int kThreads = 4;
    constexpr int kPerThread = 500;
    RecordingDispatcher dispatcher;
    SystemEvent::setDispatcher(&dispatcher);

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < kPerThread; ++i)
                SystemEvent::post("player", "progress", "thread", t, "seq", i, nullptr, Variant(),
                                  nullptr, Variant());
        });
    for (std::thread& thread : threads)
        thread.join();

    const std::vector<SystemEvent> events = dispatcher.events();
    ASSERT_EQ(events.size(), static_cast<size_t>(kThreads * kPerThread));
    EXPECT_EQ(dispatcher.overlaps(), 0);
    std::vector<int> nextSeq(kThreads, 0);
    for (const SystemEvent& event : events) {
        const int t = event.values.getValueAsInteger32("thread");
        ASSERT_GE(t, 0);
        ASSERT_LT(t, kThreads);
        EXPECT_EQ(event.values.getValueAsInteger32("seq"), nextSeq[t]);
        nextSeq[t] = event.values.getValueAsInteger32("seq") + 1;
    }
    for (int t = 0; t < kThreads; ++t)
        EXPECT_EQ(nextSeq[t], kPerThread);
}

// Once setDispatcher(nullptr) has returned, the old dispatcher is never called again; later
// posts take the no-dispatcher path.
TEST_F(SystemEventTest, RemovalWhilePostingStopsDeliveryAtOnce)
{
    constexpr int kThreads = 4;
    constexpr int kAfterRemoval = 50;

    class CheckingDispatcher : public RecordingDispatcher
    {
    public:
        void postSystemEvent(const SystemEvent& event) override
        {
            if (removed.load())
                lateCalls.fetch_add(1);
            RecordingDispatcher::postSystemEvent(event);
        }
        std::atomic<bool> removed{false};
        std::atomic<int> lateCalls{0};
    } dispatcher;

    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_WARNING);
    SystemEvent::setDispatcher(&dispatcher);

    std::atomic<bool> removalSeen{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            while (!removalSeen.load())
                SystemEvent::post("session", "progress", KeyValueMap());
            for (int i = 0; i < kAfterRemoval; ++i)
                SystemEvent::post("session", "late", KeyValueMap());
        });

    dispatcher.waitForCalls(200);
    SystemEvent::setDispatcher(nullptr);
    dispatcher.removed = true;
    removalSeen = true;
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(dispatcher.lateCalls.load(), 0);
    EXPECT_EQ(dispatcher.overlaps(), 0);
    for (const SystemEvent& event : dispatcher.events())
        EXPECT_EQ(event.type, "progress");
    int lateWarnings = 0;
    for (const LogCapture::Line& line : capture.lines())
        if (line.text.find("t=late") != std::string::npos)
            ++lateWarnings;
    EXPECT_EQ(lateWarnings, kThreads * kAfterRemoval);
}
