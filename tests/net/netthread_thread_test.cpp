// The network thread: start and stop (a hundred times in a row), its log lines, subsystems
// installed before the start and while the loop runs (always started and stopped on the loop
// thread), a refused start, posts and call-me triggers from several threads at once, and the
// start-up node with its configuration and priority names.
#include "kapi/net/NetworkThread.h"
#include "kapi/net/NetworkThreadInitNode.h"
#include "kapi/net/System.h"
#include "kapi/net/Timeout.h"
#include "kapi/net/TimeoutCallMe.h"
#include "kapi/vConfig.h"

#include "NetThreadTestUtil.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

using Kapi::Net::CrossThreadTimeout;
using Kapi::Net::System;
using Kapi::NetThread::NetworkThread;
using Kapi::NetThread::NetworkThreadInitNode;
using NetTest::Counter;
using NetTest::RecordingSubsystem;
using Lines = std::vector<std::string>;

namespace {

const std::string kStop = "void Kapi::NetThread::NetworkThread::stop()";

// `format` with the one %p in it filled in.
std::string withPointer(const char* format, const void* pointer)
{
    char line[128];
    snprintf(line, sizeof(line), format, pointer);
    return line;
}

// The nice value of the process's (last listed) thread called `name`; 99 when there is none.
int niceOfThread(const std::string& name)
{
    int nice = 99;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream statFile(task.path() / "stat");
        const std::string stat((std::istreambuf_iterator<char>(statFile)), {});
        // "tid (name) state ...": the nice value is the 19th field, the 17th after the name.
        const size_t open = stat.find('('), close = stat.rfind(')');
        if (open == std::string::npos || stat.substr(open + 1, close - open - 1) != name)
            continue;
        std::istringstream fields(stat.substr(close + 2));
        std::string field;
        for (int i = 0; i < 17; ++i)
            fields >> field;
        nice = std::stoi(field);
    }
    return nice;
}

} // namespace

TEST(NetworkThread, StartsAndStopsAHundredTimesInARow)
{
    NetworkThread thread(0);
    {
        LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
        ASSERT_TRUE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL));
        EXPECT_FALSE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL));
        thread.stop();
        EXPECT_EQ(capture.summary(),
                  (Lines{"kapi_net.info: NetworkThread::main: Starting",
                         "kapi_net.debug: ControlSubsystem::startupTimeout called",
                         "kapi_net.debug: NetworkThread::start: Thread started",
                         "kapi_net.debug: " + kStop + ": Using the stopTimeout",
                         "kapi_net.info: NetworkThread::main: Exiting"}));
    }
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL)) << i;
        ASSERT_TRUE(thread.isLoopRunning());
        ASSERT_NE(thread.getSystem(), nullptr);
        thread.stop();
        ASSERT_FALSE(thread.isLoopRunning());
        ASSERT_EQ(thread.getSystem(), nullptr);
    }
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    thread.stop();
    EXPECT_EQ(capture.summary(),
              Lines{"kapi_net.debug: " + kStop + ": Never started. Just ignore"});
}

TEST(NetworkThread, SubsystemsRunOnTheLoopThreadWhenInstalledBeforeOrDuringTheRun)
{
    std::vector<std::string> trace; // written by the loop thread while the test thread waits
    RecordingSubsystem early(trace, "early");
    RecordingSubsystem late(trace, "late");
    RecordingSubsystem refused(trace, "refused", false);
    RecordingSubsystem stranger(trace, "stranger");
    NetworkThread thread(64);
    EXPECT_TRUE(thread.installSubsystem(&early));
    EXPECT_FALSE(thread.uninstallSubsystem(&stranger));
    ASSERT_TRUE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL));
    EXPECT_EQ(thread.getSystem()->getMaxEvents(), 64);
    EXPECT_EQ(trace, Lines{"early.start"});
    EXPECT_FALSE(pthread_equal(early.startThread, pthread_self()));
    EXPECT_EQ(early.system, thread.getSystem());

    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_ERROR);
    EXPECT_TRUE(thread.installSubsystem(&late));
    EXPECT_FALSE(thread.installSubsystem(&refused));
    EXPECT_FALSE(thread.uninstallSubsystem(&stranger));
    EXPECT_TRUE(thread.uninstallSubsystem(&early));
    EXPECT_EQ(trace, (Lines{"early.start", "late.start", "refused.start", "early.stop"}));
    EXPECT_TRUE(pthread_equal(late.startThread, early.startThread));
    EXPECT_TRUE(pthread_equal(early.stopThread, early.startThread));
    EXPECT_EQ(capture.summary(),
              (Lines{withPointer("kapi_net.error: System::installSubsystem: cannot start "
                                 "Subsystem %p",
                                 &refused),
                     withPointer("kapi_net.error: System::uninstallSubsystem: unknown Subsystem %p",
                                 &stranger)}));

    thread.stop(); // stops what is still installed, on the loop thread
    EXPECT_EQ(trace.back(), "late.stop");
    EXPECT_TRUE(pthread_equal(late.stopThread, late.startThread));
    EXPECT_TRUE(thread.installSubsystem(&stranger)); // recorded for the next start
    EXPECT_TRUE(thread.uninstallSubsystem(&stranger));
}

TEST(NetworkThread, ASubsystemRefusingToStartFailsTheStart)
{
    std::vector<std::string> trace;
    RecordingSubsystem first(trace, "first");
    RecordingSubsystem refused(trace, "refused", false);
    NetworkThread thread(0);
    thread.installSubsystem(&first);
    thread.installSubsystem(&refused);
    {
        LogCapture capture(VLOGSRC_KAPI_NET, VLOG_ERROR);
        EXPECT_FALSE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL));
        EXPECT_EQ(capture.summary(),
                  (Lines{withPointer("kapi_net.error: Subsystem %p cannot start", &refused),
                         "kapi_net.error: NetworkThread::start: Thread could not configure or "
                         "grab"}));
    }
    EXPECT_EQ(trace, (Lines{"first.start", "refused.start", "first.stop"}));
    EXPECT_FALSE(thread.isLoopRunning());
    // The pending list was used up; a second start runs with nothing but the control.
    ASSERT_TRUE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL));
    thread.stop();
    EXPECT_EQ(trace.size(), 3u);
}

TEST(NetworkThread, PostsFromManyThreadsEachRunOnceOnTheLoopThread)
{
    NetworkThread thread(0);
    ASSERT_TRUE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL));
    System* system = thread.getSystem();

    struct Poster
    {
        static void ran(void* self)
        {
            Poster* p = static_cast<Poster*>(self);
            p->loopThread = pthread_self();
            p->runs.add();
        }
        Counter runs;
        pthread_t loopThread{};
        CrossThreadTimeout node{this, &Poster::ran};
    };
    constexpr int kThreads = 4;
    constexpr unsigned kRounds = 500;
    std::vector<std::unique_ptr<Poster>> posters;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        Poster* p = posters.emplace_back(std::make_unique<Poster>()).get();
        threads.emplace_back([system, p] {
            for (unsigned round = 1; round <= kRounds; ++round) {
                p->node.submitInstantFromAnotherThread(system);
                ASSERT_TRUE(p->runs.waitFor(round)); // a round trip: the node is free again
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    for (const auto& p : posters) {
        EXPECT_EQ(p->runs.get(), kRounds);
        EXPECT_FALSE(pthread_equal(p->loopThread, pthread_self()));
        EXPECT_TRUE(pthread_equal(p->loopThread, posters[0]->loopThread));
    }

    // Posting a node that is still queued moves it: the posts merge into at most one run each.
    Poster burst;
    Poster sentinel;
    for (int i = 0; i < 1000; ++i)
        burst.node.submitInstantFromAnotherThread(system);
    sentinel.node.submitInstantFromAnotherThread(system);
    ASSERT_TRUE(sentinel.runs.waitFor(1));
    EXPECT_GE(burst.runs.get(), 1u);
    EXPECT_LE(burst.runs.get(), 1000u);
    // A cancelled post never runs.
    Poster cancelled;
    cancelled.node.submitInstantFromAnotherThread(system);
    cancelled.node.cancel(system);
    sentinel.node.submitInstantFromAnotherThread(system);
    ASSERT_TRUE(sentinel.runs.waitFor(2));
    const unsigned cancelledRuns = cancelled.runs.get();
    thread.stop();
    EXPECT_LE(cancelledRuns, 1u); // it may have run before the cancel reached it
    EXPECT_FALSE(cancelled.node.isLinked());
}

TEST(NetworkThread, CallMesTriggeredFromAnyThreadRunOnTheLoopThreadAndMerge)
{
    NetworkThread thread(0);
    ASSERT_TRUE(thread.start("NetworkThread", Kapi::Thread::PRIORITY_NORMAL));
    System* system = thread.getSystem();
    struct CountingListener : Kapi::Stream::ChangeListener
    {
        void changed() override
        {
            thread = pthread_self();
            calls.add();
        }
        Counter calls;
        pthread_t thread{};
    } listener;
    std::unique_ptr<Kapi::Stream::CallMe> callMe(
        Kapi::Net::TimeoutCallMe::getFactory(system)->create());
    callMe->setChangeListener(&listener);

    callMe->trigger();
    ASSERT_TRUE(listener.calls.waitFor(1));
    auto* kind = static_cast<Kapi::Net::TimeoutCallMe*>(callMe.get());
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
        ASSERT_TRUE(listener.calls.waitFor(before + 1));
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
    EXPECT_TRUE(deleter.done.waitFor(1));
    thread.stop();
}

TEST(NetworkThreadInitNode, ConfigurationChoosesPriorityAndEventCapacity)
{
    NetworkThreadInitNode* node = NetworkThreadInitNode::getInstance();
    // Without the key the priority is "low".
    const std::pair<std::string, int> cases[] = {{"low", 15},           {"normal", 5},
                                                 {"sub-medium", 0},     {"medium", -5},
                                                 {"super-medium", -10}, {"high", -15}};
    for (const auto& [name, nice] : cases) {
        Kapi::vConfig config;
        ASSERT_TRUE(config.fromString("[misc]\nkapiNetMaxEvents = 77\n" +
                                      (name == "low" ? "" : "networkThreadPriority = " + name)));
        LogCapture capture(VLOGSRC_KAPI_NET, VLOG_INFO);
        ASSERT_TRUE(node->start(config)) << name;
        EXPECT_EQ(capture.summary()[0],
                  "kapi_net.info: Starting NetworkThread with " + name + " priority");
        EXPECT_EQ(node->getNetworkThread()->getSystem()->getMaxEvents(), 77);
        if (geteuid() == 0 || nice >= 0) {
            EXPECT_EQ(niceOfThread("NetworkThread"), nice) << name;
        }
        EXPECT_TRUE(node->stop());
        EXPECT_EQ(node->getNetworkThread(), nullptr);
    }
}

TEST(NetworkThreadInitNode, BadConfigurationFailsTheStartWithItsLine)
{
    NetworkThreadInitNode* node = NetworkThreadInitNode::getInstance();
    const std::pair<const char*, const char*> cases[] = {
        {"[misc]\nkapiNetMaxEvents = many\n", "kapi_net.error: Cannot get misc->kapiNetMaxEvents"},
        {"[misc]\nnetworkThreadPriority = low\nnetworkThreadPriority = high\n",
         "kapi_net.error: Cannot get misc->networkThreadPriority"},
        {"[misc]\nnetworkThreadPriority = Low\n",
         "kapi_net.error: Invalid misc->networkThreadPriority: Low"}};
    for (const auto& [text, line] : cases) {
        Kapi::vConfig config;
        ASSERT_TRUE(config.fromString(text));
        LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
        EXPECT_FALSE(node->start(config)) << text;
        EXPECT_EQ(capture.summary(), Lines{line});
        EXPECT_EQ(node->getNetworkThread(), nullptr);
    }
}

TEST(NetworkThreadInitNode, InstallsReachTheRunningThreadOnly)
{
    NetworkThreadInitNode* node = NetworkThreadInitNode::getInstance();
    std::vector<std::string> trace;
    RecordingSubsystem subsystem(trace, "s");
    EXPECT_FALSE(node->installSubsystem(&subsystem)); // not started
    ASSERT_TRUE(node->start(Kapi::vConfig()));
    EXPECT_TRUE(node->installSubsystem(&subsystem));
    EXPECT_TRUE(node->uninstallSubsystem(&subsystem));
    EXPECT_TRUE(node->installSubsystem(&subsystem));
    EXPECT_TRUE(node->stop());
    EXPECT_EQ(trace, (Lines{"s.start", "s.stop", "s.start", "s.stop"}));
    EXPECT_FALSE(node->uninstallSubsystem(&subsystem));
}
