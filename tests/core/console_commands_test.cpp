// The twelve maintenance commands: their order, argument handling, what they ask of their
// subsystems, and the failure (with a log line) when a subsystem is missing.
#include "core/ConsoleCommandRegistry.h"
#include "core/ConsoleCommands.h"
#include "core/CoreLinks.h"
#include "core/UICoreApplication.h"
#include "kapi/SystemEvent.h"
#include "kapi/SystemUtil.h"
#include "support/LogCapture.h"

#include "core/CoreTestDrivers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <thread>

namespace {

using CoreTest::ClearedLinks;
using CoreTest::FakeProvisioning;
using CoreTest::FakeScriptEngine;

class CapturingDispatcher : public Kapi::SystemEventDispatcher
{
public:
    CapturingDispatcher() { Kapi::SystemEvent::setDispatcher(this); }
    ~CapturingDispatcher() override { Kapi::SystemEvent::setDispatcher(nullptr); }
    void postSystemEvent(const Kapi::SystemEvent& event) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        events.push_back(event);
    }
    std::mutex mutex;
    std::vector<Kapi::SystemEvent> events;
};

class FakeConnection : public KELO::ConnectionLink
{
public:
    void doDisconnect() override { ++disconnects; }
    int disconnects = 0;
};

// Runs a UI application on its own thread; its screenshot requests are recorded.
class ScreenshotApplication : public KELO::UICore::Application
{
public:
    bool takeScreenshot(const std::string& path) override
    {
        paths.push_back(path);
        return true;
    }
    std::vector<std::string> paths; // written on the caller's thread under the class lock
};

void fill(KELO::ConsoleCommandRegistry& registry, KELO::ConnectionLink* connection = nullptr)
{
    for (auto& handler : KELO::makeCoreConsoleCommands(connection))
        registry.add(handler);
}

bool run(const std::string& command, const Kapi::StringVector& args,
         KELO::ConnectionLink* connection = nullptr)
{
    KELO::ConsoleCommandRegistry registry;
    fill(registry, connection);
    return registry.execute(command, args);
}

} // namespace

TEST(ConsoleCommands, TwelveCommandsInRegistrationOrder)
{
    std::vector<std::string> names;
    for (const auto& handler : KELO::makeCoreConsoleCommands(nullptr))
        names.push_back(handler->getName());
    EXPECT_EQ(names,
              (std::vector<std::string>{"returnToOldWorld", "luaRestart", "systemRestart",
                                        "systemStop", "screenshot", "flushNetLogBuffer",
                                        "unprovision", "resetHwId", "corruptProvisioning",
                                        "postSystemEvent", "setDeactivateFlag", "testcontroller"}));
}

TEST(ConsoleCommands, RegistryReportsUnknownAndFailedCommands)
{
    ClearedLinks links;
    LogCapture capture(VLOGSRC_CONNECTION, VLOG_ERROR);
    EXPECT_FALSE(run("noSuchCommand", {"a"}));
    EXPECT_FALSE(run("testcontroller", {}));
    const std::vector<std::string> lines = capture.summary();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "connection.error: Request to execute unknown command 'noSuchCommand'");
    EXPECT_EQ(lines[1], "connection.error: usage: testcontroller <enabled | disable | syncup>");
    EXPECT_EQ(lines[2],
              "connection.error: Failed to execute command 'testcontroller' with args ''");
}

TEST(ConsoleCommands, PostSystemEventNeedsSourceAndTypeAndJoinsTheRemainingWords)
{
    CapturingDispatcher dispatcher;
    LogCapture capture(VLOGSRC_CONNECTION, VLOG_ERROR);
    EXPECT_FALSE(run("postSystemEvent", {"player"}));
    EXPECT_FALSE(run("postSystemEvent", {}));
    EXPECT_TRUE(dispatcher.events.empty());
    const std::vector<std::string> lines = capture.summary();
    ASSERT_GE(lines.size(), 1u);
    EXPECT_EQ(lines[0],
              "connection.error: usage: postSystemEvent source type [ k1=v1;k2=v2;kn=vn ]");

    EXPECT_TRUE(run("postSystemEvent", {"player", "stateChanged"}));
    EXPECT_TRUE(run("postSystemEvent", {"notify", "x", "a=1", "b=two"}));
    // Words are joined with ';' first, so one word may carry several pairs and a later word
    // replaces an earlier key; pieces without '=' are ignored.
    EXPECT_TRUE(run("postSystemEvent", {"s", "t", "k=1;j=2", "junk", "k=3", "e=%3d"}));
    ASSERT_EQ(dispatcher.events.size(), 3u);
    EXPECT_EQ(dispatcher.events[0].source, "player");
    EXPECT_EQ(dispatcher.events[0].type, "stateChanged");
    EXPECT_TRUE(dispatcher.events[0].values.empty());
    EXPECT_EQ(dispatcher.events[1].toString(), "s=notify, t=x, p=a=1;b=two");
    EXPECT_EQ(dispatcher.events[1].values.getValueAsString("b"), "two");
    EXPECT_EQ(dispatcher.events[2].values.size(), 3u);
    EXPECT_EQ(dispatcher.events[2].values.getValueAsString("k"), "3");
    EXPECT_EQ(dispatcher.events[2].values.getValueAsString("j"), "2");
    EXPECT_EQ(dispatcher.events[2].values.getValueAsString("e"), "=");
}

TEST(ConsoleCommands, ScriptEngineCommandsReachTheEngine)
{
    ClearedLinks links;
    FakeScriptEngine engine;
    FakeProvisioning provisioning;
    KELO::CoreLinks::setScriptEngine(&engine);
    KELO::CoreLinks::setProvisioning(&provisioning);

    EXPECT_TRUE(run("testcontroller", {"enabled"}));
    // Any word is passed on; the engine decides what it accepts.
    EXPECT_TRUE(run("testcontroller", {"bogus", "extra"}));
    EXPECT_TRUE(run("luaRestart", {}));
    EXPECT_TRUE(run("returnToOldWorld", {}));
    EXPECT_TRUE(run("setDeactivateFlag", {}));
    EXPECT_EQ(
        engine.log.calls(),
        (std::vector<std::string>{"engine.testcontroller enabled", "engine.testcontroller bogus",
                                  "engine.restart", "engine.returnToOldWorld", "engine.restart"}));
    EXPECT_EQ(provisioning.log.calls(),
              (std::vector<std::string>{"provisioning.setDeactivateFlag"}));
}

TEST(ConsoleCommands, MissingSubsystemsFailWithAReason)
{
    ClearedLinks links;
    LogCapture capture(VLOGSRC_CONNECTION, VLOG_ERROR);
    for (const char* command :
         {"returnToOldWorld", "luaRestart", "systemRestart", "systemStop", "flushNetLogBuffer",
          "unprovision", "resetHwId", "corruptProvisioning", "setDeactivateFlag"})
        EXPECT_FALSE(run(command, {})) << command;
    EXPECT_FALSE(run("testcontroller", {"syncup"}));
    EXPECT_FALSE(run("screenshot", {}));

    const std::vector<std::string> lines = capture.summary();
    auto has = [&lines](const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    EXPECT_TRUE(has("connection.error: luaRestart: the script engine is not available"));
    EXPECT_TRUE(has("connection.error: systemStop: a running UI application is not available"));
    EXPECT_TRUE(has("connection.error: unprovision: the provisioning helper is not available"));
    EXPECT_TRUE(has("connection.error: flushNetLogBuffer: the network logger is not available"));
    EXPECT_TRUE(has("connection.error: testcontroller: the script engine is not available"));
    EXPECT_TRUE(has("connection.error: Failed to execute command 'screenshot' with args ''"));
}

TEST(ConsoleCommands, ProvisioningCommandsReportTheStoreResult)
{
    ClearedLinks links;
    FakeProvisioning provisioning;
    FakeConnection connection;
    KELO::CoreLinks::setProvisioning(&provisioning);

    EXPECT_TRUE(run("unprovision", {}, &connection));
    EXPECT_EQ(connection.disconnects, 1);
    provisioning.unprovisionResult = false;
    EXPECT_FALSE(run("unprovision", {}, &connection));
    EXPECT_EQ(connection.disconnects, 1);

    // resetHwId makes a new id only after a successful unprovision, and reports success anyway.
    EXPECT_TRUE(run("resetHwId", {}));
    provisioning.unprovisionResult = true;
    EXPECT_TRUE(run("resetHwId", {}));
    EXPECT_EQ(provisioning.log.count("provisioning.generateHwId"), 1u);

    // corruptProvisioning logs and reports the store's result.
    LogCapture capture(VLOGSRC_SETTINGS, VLOG_INFO);
    EXPECT_TRUE(run("corruptProvisioning", {}));
    provisioning.corruptResult = false;
    EXPECT_FALSE(run("corruptProvisioning", {}));
    EXPECT_EQ(
        capture.summary(),
        (std::vector<std::string>{"settings.info: Corrupting the provisioning data on purpose",
                                  "settings.info: Corrupting the provisioning data on purpose"}));
}

TEST(ConsoleCommands, ScreenshotStopAndRestartGoToTheRunningApplication)
{
    ClearedLinks links;
    ScreenshotApplication application;
    int result = -1;
    std::thread ui([&] { result = application.main(); });
    ASSERT_TRUE(CoreTest::eventually([] { return KELO::UICore::Application::isRunning(); }));

    KELO::ConsoleCommandRegistry registry;
    fill(registry);
    EXPECT_TRUE(registry.execute("screenshot", {}));
    EXPECT_TRUE(registry.execute("screenshot", {"/tmp/shot.png", "ignored"}));
    EXPECT_TRUE(registry.execute("systemStop", {}));
    ui.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(application.paths,
              (std::vector<std::string>{Kapi::SystemUtil::devicePath("/var/screenshot.jpg"),
                                        "/tmp/shot.png"}));
    // With the application gone the commands fail.
    EXPECT_FALSE(registry.execute("systemRestart", {}));

    // systemRestart ends the loop with the restart result.
    KELO::UICore::Application plain;
    std::thread again([&] { result = plain.main(); });
    ASSERT_TRUE(CoreTest::eventually([] { return KELO::UICore::Application::isRunning(); }));
    EXPECT_TRUE(registry.execute("systemRestart", {}));
    again.join();
    EXPECT_EQ(result, 1);
}
