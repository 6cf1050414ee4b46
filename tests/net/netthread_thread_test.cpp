// The network thread: start and stop (a hundred times in a row), its log lines, subsystems
// installed before the start and while the loop runs (always started and stopped on the loop
// thread), a refused start, posts from several threads at once, and the start-up node with its
// configuration and priority names.
#include "kapi/net/NetworkThread.h"
#include "kapi/net/NetworkThreadInitNode.h"
#include "kapi/net/System.h"
#include "kapi/net/Timeout.h"
#include "kapi/vConfig.h"

#include "NetThreadTestUtil.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <dirent.h>
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

// The nice value of the process's thread called `name`, or 99 when there is none.
int niceOfThread(const std::string& name)
{
    DIR* tasks = opendir("/proc/self/task");
    int nice = 99;
    while (dirent* entry = readdir(tasks)) {
        const std::string dir = std::string("/proc/self/task/") + entry->d_name;
        std::ifstream comm(dir + "/comm");
        std::string comName;
        if (!std::getline(comm, comName) || comName != name)
            continue;
        std::ifstream statFile(dir + "/stat");
        std::string stat((std::istreambuf_iterator<char>(statFile)), {});
        std::istringstream fields(stat.substr(stat.rfind(')') + 2));
        std::string field;
        for (int i = 3; i <= 19 && fields >> field; ++i) {
            if (i == 19)
                nice = std::stoi(field);
        }
    }
    closedir(tasks);
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
    char refusedLine[96], strangerLine[96];
    snprintf(refusedLine, sizeof(refusedLine),
             "kapi_net.error: System::installSubsystem: cannot start Subsystem %p",
             static_cast<void*>(&refused));
    snprintf(strangerLine, sizeof(strangerLine),
             "kapi_net.error: System::uninstallSubsystem: unknown Subsystem %p",
             static_cast<void*>(&stranger));
    EXPECT_EQ(capture.summary(), (Lines{refusedLine, strangerLine}));

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
        char line[64];
        snprintf(line, sizeof(line), "kapi_net.error: Subsystem %p cannot start",
                 static_cast<void*>(&refused));
        EXPECT_EQ(capture.summary(),
                  (Lines{line, "kapi_net.error: NetworkThread::start: Thread could not configure "
                               "or grab"}));
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
    for (int i = 0; i < kThreads; ++i)
        posters.push_back(std::make_unique<Poster>());
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            Poster& p = *posters[i];
            for (unsigned round = 1; round <= kRounds; ++round) {
                p.node.submitInstantFromAnotherThread(system);
                p.runs.waitFor(round); // a round trip: the node is free again after this
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
    sentinel.runs.waitFor(1);
    EXPECT_GE(burst.runs.get(), 1u);
    EXPECT_LE(burst.runs.get(), 1000u);
    // A cancelled post never runs.
    Poster cancelled;
    cancelled.node.submitInstantFromAnotherThread(system);
    cancelled.node.cancel(system);
    sentinel.node.submitInstantFromAnotherThread(system);
    sentinel.runs.waitFor(2);
    const unsigned cancelledRuns = cancelled.runs.get();
    thread.stop();
    EXPECT_LE(cancelledRuns, 1u); // it may have run before the cancel reached it
    EXPECT_FALSE(cancelled.node.isLinked());
}

TEST(NetworkThreadInitNode, ConfigurationChoosesPriorityAndEventCapacity)
{
    NetworkThreadInitNode* node = NetworkThreadInitNode::getInstance();
    EXPECT_STREQ(node->name, "NetworkThreadInitNode");
    EXPECT_EQ(node->numDeps, 0u);
    struct Case
    {
        const char* text;
        const char* name;
        int nice;
    };
    const Case cases[] = {{"", "low", 15},
                          {"networkThreadPriority = normal", "normal", 5},
                          {"networkThreadPriority = sub-medium", "sub-medium", 0},
                          {"networkThreadPriority = medium", "medium", -5},
                          {"networkThreadPriority = super-medium", "super-medium", -10},
                          {"networkThreadPriority = high", "high", -15}};
    for (const Case& c : cases) {
        Kapi::vConfig config;
        ASSERT_TRUE(config.fromString(std::string("[misc]\nkapiNetMaxEvents = 77\n") + c.text));
        LogCapture capture(VLOGSRC_KAPI_NET, VLOG_INFO);
        ASSERT_TRUE(node->start(config)) << c.name;
        EXPECT_EQ(capture.summary()[0], std::string("kapi_net.info: Starting NetworkThread with ") +
                                            c.name + " priority");
        EXPECT_EQ(node->getNetworkThread()->getSystem()->getMaxEvents(), 77);
        if (geteuid() == 0 || c.nice >= 0) {
            EXPECT_EQ(niceOfThread("NetworkThread"), c.nice) << c.name;
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
