// The process's start-up graph as the core runs it: the early settings-helper pass, then the
// runner "kelo-app" over "kelo-app-init-node" and the thirteen fixed nodes; the full start
// order, its exact reverse on stop, and a failing service node part way through.
#include "core/CoreNodes.h"
#include "kapi/Init.h"
#include "kapi/vConfig.h"
#include "support/LogCapture.h"

#include "support/StartupOrder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const std::vector<std::string>& kStartOrder = KeloTest::documentedStartOrder();

std::vector<std::string> names(const std::vector<Kapi::Init::InitNode*>& nodes)
{
    std::vector<std::string> result;
    for (const Kapi::Init::InitNode* node : nodes)
        result.push_back(node->name);
    return result;
}

// The runner's "Init: ..." lines, without other misc_system output.
std::vector<std::string> initLines(const LogCapture& capture)
{
    std::vector<std::string> result;
    for (const LogCapture::Line& line : capture.lines()) {
        if (line.text.rfind("Init: ", 0) == 0)
            result.push_back(line.text);
    }
    return result;
}

} // namespace

TEST(StartupGraph, FixedNodesAreListedInTheCoreOrder)
{
    KELO::FixedStartupNodes nodes = KELO::getFixedStartupNodes();
    EXPECT_EQ(
        names(std::vector<Kapi::Init::InitNode*>(nodes.begin(), nodes.end())),
        (std::vector<std::string>{"WatchdogInit", "TaskScheduler", "GenHandleLib", "StreamSession",
                                  "PlayerControllerCore", "DataCoreInit", "LuaAppInit",
                                  "KeloQueryInit", "KapiCryptoInit", "CurlInitNode",
                                  "CommsInitNode", "SettingsHelper", "ComponentVersionRegistry"}));
}

TEST(StartupGraph, StartsEveryServiceOnceInDependencyOrderAndStopsInReverse)
{
    Kapi::vConfig config;
    KELO::FixedStartupNodes deps = KELO::getFixedStartupNodes();

    // The early pass over the settings helper alone leaves it startable again.
    Kapi::Init::Init early("kelo-app-init-node_early", deps[11]);
    ASSERT_TRUE(early.start(config));
    early.stop();

    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_INFO);
    Kapi::Init::NoOpInitNode root("kelo-app-init-node", static_cast<unsigned>(deps.size()),
                                  deps.data());
    Kapi::Init::Init init("kelo-app", &root);
    ASSERT_TRUE(init.start(config));
    EXPECT_EQ(names(init.getStartedNodes()), kStartOrder);
    init.stop();

    std::vector<std::string> expected;
    for (const std::string& name : kStartOrder)
        expected.push_back("Init: " + name + "->start()");
    for (auto it = kStartOrder.rbegin(); it != kStartOrder.rend(); ++it)
        expected.push_back("Init: " + *it + "->stop()");
    EXPECT_EQ(initLines(capture), expected);
}

TEST(StartupGraph, FailingServiceEndsTheStartAndOnlyWhatStartedStops)
{
    // A scheduler without CPU workers refuses to start.
    Kapi::vConfig config;
    ASSERT_TRUE(config.fromString("[misc]\ntaskSchedulerCpuTasks = 0\n"));
    KELO::FixedStartupNodes deps = KELO::getFixedStartupNodes();
    Kapi::Init::NoOpInitNode root("kelo-app-init-node", static_cast<unsigned>(deps.size()),
                                  deps.data());
    Kapi::Init::Init init("kelo-app", &root);

    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_INFO);
    EXPECT_FALSE(init.start(config));
    EXPECT_EQ(names(init.getStartedNodes()), (std::vector<std::string>{"WatchdogInit"}));
    init.stop();
    EXPECT_EQ(initLines(capture), (std::vector<std::string>{"Init: WatchdogInit->start()",
                                                            "Init: TaskScheduler->start()",
                                                            "Init: WatchdogInit->stop()"}));
}
