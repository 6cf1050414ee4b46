// System events: the text form, posting without a dispatcher, the post overloads, and delivery
// from several threads, including removal of the dispatcher while others post.
#include "kapi/SystemEvent.h"

#include "kapi/Log.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using Kapi::KeyValueMap;
using Kapi::SystemEvent;
using Kapi::Variant;

namespace {

// Keeps copies of what it receives, notices overlapping calls and, once `removed` is set,
// counts calls that should no longer come.
class RecordingDispatcher : public Kapi::SystemEventDispatcher
{
public:
    void postSystemEvent(const SystemEvent& event) override
    {
        if (inCall.exchange(true))
            ++overlaps;
        if (removed)
            ++lateCalls;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_events.push_back(event);
        }
        ++calls;
        inCall = false;
    }
    std::vector<SystemEvent> events() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }

    std::atomic<bool> inCall{false}, removed{false};
    std::atomic<int> overlaps{0}, lateCalls{0}, calls{0};

private:
    mutable std::mutex m_mutex;
    std::vector<SystemEvent> m_events;
};

// Posts while the process starts and again while it ends: the dispatcher lock must exist in
// both phases (a crash at exit fails every test of this program).
struct PostsAtStartAndExit
{
    PostsAtStartAndExit() { SystemEvent::post("static", "init", KeyValueMap()); }
    ~PostsAtStartAndExit() { SystemEvent::post("static", "exit", KeyValueMap()); }
} g_postsAtStartAndExit;

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
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_WARNING);
    SystemEvent::post("player", "progress", KeyValueMap("position", 12, "duration", 3600));
    SystemEvent::post(nullptr, "x", KeyValueMap());
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{
                  "misc_system.warning: No system event dispatcher for "
                  "'s=player, t=progress, p=duration=3600;position=12'",
                  "misc_system.warning: No system event dispatcher for 's=, t=x, p='"}));
}

TEST_F(SystemEventTest, PostOverloadsBuildTheEventForTheCurrentDispatcher)
{
    RecordingDispatcher dispatcher, other;
    SystemEvent::setDispatcher(&dispatcher);
    SystemEvent::post(nullptr, "x", KeyValueMap("k", "v", nullptr, Variant()));
    SystemEvent::post("player", "stateChanged", "state", "playing", nullptr, Variant(), "rate", 2,
                      nullptr, Variant());
    SystemEvent::post("notify", "notification", nullptr, Variant(), nullptr, Variant(), nullptr,
                      Variant(), nullptr, Variant());
    SystemEvent::post(SystemEvent("session", "error", KeyValueMap("worked", false)));
    SystemEvent::setDispatcher(&other);
    SystemEvent::post("a", "2", KeyValueMap());

    const std::vector<SystemEvent> events = dispatcher.events();
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[0].toString(), "s=, t=x, p=k=v");
    EXPECT_EQ(events[1].toString(), "s=player, t=stateChanged, p=rate=2;state=playing");
    EXPECT_EQ(events[1].values.getValue("rate").asInteger32(), 2);
    EXPECT_EQ(events[2].toString(), "s=notify, t=notification, p=");
    EXPECT_EQ(events[3].toString(), "s=session, t=error, p=worked=false");
    ASSERT_EQ(other.events().size(), 1u);
    EXPECT_EQ(other.events()[0].type, "2");
}

// Calls never overlap, nothing is lost, and each poster's events arrive in its own order.
TEST_F(SystemEventTest, PostsFromSeveralThreadsAreSerialised)
{
    constexpr int kThreads = 4, kPerThread = 500;
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
    EXPECT_EQ(dispatcher.overlaps, 0);
    std::vector<int> nextSeq(kThreads, 0);
    for (const SystemEvent& event : events) {
        const int t = event.values.getValueAsInteger32("thread");
        ASSERT_TRUE(t >= 0 && t < kThreads) << t;
        EXPECT_EQ(event.values.getValueAsInteger32("seq"), nextSeq[t]++);
    }
    EXPECT_EQ(nextSeq, std::vector<int>(kThreads, kPerThread));
}

// Once setDispatcher(nullptr) has returned, the old dispatcher is never called again; later
// posts take the no-dispatcher path.
TEST_F(SystemEventTest, RemovalWhilePostingStopsDeliveryAtOnce)
{
    constexpr int kThreads = 4, kAfterRemoval = 50;
    RecordingDispatcher dispatcher;
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_WARNING);
    SystemEvent::setDispatcher(&dispatcher);

    std::atomic<bool> removalSeen{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            while (!removalSeen)
                SystemEvent::post("session", "progress", KeyValueMap());
            for (int i = 0; i < kAfterRemoval; ++i)
                SystemEvent::post("session", "late", KeyValueMap());
        });
    while (dispatcher.calls < 200)
        std::this_thread::yield();
    SystemEvent::setDispatcher(nullptr);
    dispatcher.removed = true;
    removalSeen = true;
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(dispatcher.lateCalls, 0);
    EXPECT_EQ(dispatcher.overlaps, 0);
    for (const SystemEvent& event : dispatcher.events())
        EXPECT_EQ(event.type, "progress");
    int lateWarnings = 0;
    for (const LogCapture::Line& line : capture.lines())
        lateWarnings += line.text.find("t=late") != std::string::npos ? 1 : 0;
    EXPECT_EQ(lateWarnings, kThreads * kAfterRemoval);
}
