// The process's start-up graph: the thirteen fixed nodes in the core's order, and a failing
// service node part way through (the full order through the core is in core_start_test).
#include "core/CoreNodes.h"
#include "kapi/Init.h"
#include "kapi/vConfig.h"
#include "support/LogCapture.h"

#include "core/CoreTestDrivers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> names(const std::vector<Kapi::Init::InitNode*>& nodes)
{
    std::vector<std::string> result;
    for (const Kapi::Init::InitNode* node : nodes)
        result.push_back(node->name);
    return result;
}

} // namespace

TEST(StartupGraph, FixedNodesInTheCoreOrderAndAFailingServiceStopsWhatStarted)
{
    KELO::FixedStartupNodes deps = KELO::getFixedStartupNodes();
    EXPECT_EQ(
        names(std::vector<Kapi::Init::InitNode*>(deps.begin(), deps.end())),
        (std::vector<std::string>{"WatchdogInit", "TaskScheduler", "GenHandleLib", "StreamSession",
                                  "PlayerControllerCore", "DataCoreInit", "LuaAppInit",
                                  "KeloQueryInit", "KapiCryptoInit", "CurlInitNode",
                                  "CommsInitNode", "SettingsHelper", "ComponentVersionRegistry"}));

    // A scheduler without CPU workers refuses to start.
    Kapi::vConfig config;
    ASSERT_TRUE(config.fromString("[misc]\ntaskSchedulerCpuTasks = 0\n"));
    Kapi::Init::NoOpInitNode root("kelo-app-init-node", static_cast<unsigned>(deps.size()),
                                  deps.data());
    Kapi::Init::Init init("kelo-app", &root);
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_INFO);
    EXPECT_FALSE(init.start(config));
    EXPECT_EQ(names(init.getStartedNodes()), (std::vector<std::string>{"WatchdogInit"}));
    init.stop();
    EXPECT_EQ(
        CoreTest::initLines(capture),
        (std::vector<std::string>{"Init: WatchdogInit->start()", "Init: TaskScheduler->start()",
                                  "Init: WatchdogInit->stop()"}));
}
