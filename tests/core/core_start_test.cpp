// KELO::Core and STBCoreDetail: forced options, the checks before a start, the start order
// of the services and its exact reverse on stop, the country handling, and the console
// commands the running core serves.
#include "core/Core.h"
#include "core/CoreRestarter.h"
#include "core/STBCoreDetail.h"
#include "kapi/InitNode.h"
#include "support/LogCapture.h"
#include "support/StartupOrder.h"

#include "core/CoreTestDrivers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using CoreTest::ClearedLinks;
using CoreTest::countText;
using CoreTest::eventually;
using CoreTest::initLines;
using CoreTest::RegisteredDrivers;
using KELO::Core;

std::string configValue(const Kapi::vConfig& config, const std::string& section,
                        const std::string& key)
{
    std::string value;
    config.getSingleValue(section, key, value, "<absent>");
    return value;
}

// The texts of the lines the UI main thread writes; their place among the core's own lines
// depends on thread timing, so order checks leave them out.
bool fromMainThread(const LogCapture::Line& line)
{
    static const std::set<std::string> texts = {"Starting application main loop.",
                                                "UIApplication::initialize() begin",
                                                "UIApplication::initialize() end",
                                                "UIApplication: no screen in this build",
                                                "UIApplication: no script engine in this build",
                                                "UIApplication: no player controller in this build",
                                                "Installing the player in the player controller",
                                                "Uninstalling the player in the player controller",
                                                "virtual void KELO::UIApplication::shutdown()",
                                                "Application main loop is done with result 0"};
    return texts.count(line.text) != 0;
}

// The core's own "app" lines and the runner's "Init: " lines, in order.
std::vector<std::string> coreLines(const LogCapture& capture)
{
    std::vector<std::string> result;
    for (const LogCapture::Line& line : capture.lines()) {
        if (line.source == "app" && !fromMainThread(line))
            result.push_back(line.text.substr(0, line.text.find('\n')));
        else if (line.source == "misc_system" && line.text.rfind("Init: ", 0) == 0)
            result.push_back(line.text);
    }
    return result;
}

const std::vector<std::string> kEarlyPass = {"Init: SettingsHelper->start()",
                                             "Init: SettingsHelper->stop()"};

// The runner's lines for starting `order`, or for stopping it (in reverse).
std::vector<std::string> initCalls(std::vector<std::string> order, bool start)
{
    if (!start)
        std::reverse(order.begin(), order.end());
    for (std::string& name : order)
        name = "Init: " + name + (start ? "->start()" : "->stop()");
    return order;
}

std::vector<std::string> concat(std::initializer_list<std::vector<std::string>> parts)
{
    std::vector<std::string> result;
    for (const auto& part : parts)
        result.insert(result.end(), part.begin(), part.end());
    return result;
}

// A service node whose start can be made to fail.
class SwitchableNode : public Kapi::Init::InitNode
{
public:
    SwitchableNode() : InitNode("ExtraNode") {}
    bool start(const Kapi::vConfig&) override { return succeed; }
    bool stop() override { return true; }
    bool succeed = true;
};

class RecordingListener : public Core::EventListener
{
public:
    void Callback(const Core::Event& event) override { events.add(event.toString()); }
    CoreTest::CallLog events;
};

// Every test starts with empty links and the three required drivers registered.
class CoreTestBase : public ::testing::Test
{
protected:
    ClearedLinks links;
    RegisteredDrivers drivers;
};
using CoreStart = CoreTestBase;
using CoreCountry = CoreTestBase;
using CoreConsole = CoreTestBase;

} // namespace

TEST(CoreConfig, ForcedOptionsReplaceWhatTheTextSays)
{
    KELO::STBCoreDetail detail("allowProvisioning = false\n"
                               "[repository]\ndiskSizeMB = 100\n"
                               "[network]\np2pEnabled = true\n"
                               "[client]\nuseWatchdog = true\nshowTraceMem = true\n"
                               "[misc]\nnetworkThreadPriority = high\n");
    const Kapi::vConfig& config = detail.getConfig();
    EXPECT_FALSE(detail.isConfigInvalid());
    EXPECT_EQ(configValue(config, "repository", "diskSizeMB"), "0");
    EXPECT_EQ(configValue(config, "network", "p2pEnabled"), "false");
    EXPECT_EQ(configValue(config, "", "allowProvisioning"), "true");
    EXPECT_EQ(configValue(config, "client", "useWatchdog"), "false");
    EXPECT_EQ(configValue(config, "client", "showTraceMem"), "false");
    EXPECT_EQ(configValue(config, "misc", "networkThreadPriority"), "high");
    EXPECT_EQ(detail.getDepCount(), 13u);
    EXPECT_EQ(KELO::STBCoreDetail::Get(), &detail);
}

TEST(CoreConfig, MissingNetworkThreadPriorityBecomesNormal)
{
    LogCapture capture(VLOGSRC_APP, VLOG_ERROR);
    KELO::STBCoreDetail detail("[overscan]\ntop = 4\n");
    EXPECT_EQ(configValue(detail.getConfig(), "misc", "networkThreadPriority"), "normal");
    EXPECT_EQ(configValue(detail.getConfig(), "overscan", "top"), "4");
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{"app.error: Cannot get misc->networkThreadPriority"}));
}

TEST(CoreConfig, InvalidTextKeepsOnlyTheForcedOptionsAndEveryStartFails)
{
    RegisteredDrivers drivers;
    LogCapture capture(VLOGSRC_APP, VLOG_ERROR);
    Core core("[overscan]\nleft 0\n");
    KELO::STBCoreDetail* detail = KELO::STBCoreDetail::Get();
    ASSERT_NE(detail, nullptr);
    EXPECT_TRUE(detail->isConfigInvalid());
    EXPECT_EQ(configValue(detail->getConfig(), "overscan", "left"), "<absent>");
    EXPECT_EQ(configValue(detail->getConfig(), "client", "useWatchdog"), "false");
    EXPECT_FALSE(core.start("movies", {}));
    EXPECT_FALSE(core.start("movies", {}));
    EXPECT_FALSE(core.isRunning());
    const std::vector<std::string> lines = capture.summary();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1], "app.error: Invalid Core config:\n[overscan]\nleft 0\n\n");
    EXPECT_EQ(lines[2], "app.error: Failed to start becase the config is invalid.");
    EXPECT_EQ(lines[3], "app.error: Failed to start becase the config is invalid.");
}

TEST(CoreRequiredDrivers, EachMissingOneFailsTheStart)
{
    ClearedLinks links;
    struct Case
    {
        bool system, multimedia, input;
        const char* message;
    };
    for (const Case& c : {Case{false, false, false, "app.error: Missing system driver."},
                          Case{true, false, false, "app.error: Missing multimedia driver."},
                          Case{true, true, false, "app.error: Missing user input driver."}}) {
        RegisteredDrivers drivers(c.system, c.multimedia, c.input);
        Core core("[locale]\ncountry = de\n");
        LogCapture capture(VLOGSRC_APP, VLOG_ERROR);
        LogCapture init(VLOGSRC_MISC_SYSTEM, VLOG_INFO);
        EXPECT_FALSE(core.start("movies", {}));
        EXPECT_EQ(capture.summary(), (std::vector<std::string>{c.message}));
        // Nothing was started.
        EXPECT_TRUE(init.summary().empty());
    }
}

TEST_F(CoreStart, ServicesStartInOrderAndStopInExactReverse)
{
    Core core("[locale]\ncountry = de\n");
    const std::vector<std::string>& order = KeloTest::documentedStartOrder();

    LogCapture startCapture(VLOG_DEBUG);
    ASSERT_TRUE(core.start("movies", {}));
    EXPECT_TRUE(core.isRunning());
    KELO::STBCoreDetail* detail = KELO::STBCoreDetail::Get();
    ASSERT_NE(detail->getInit(), nullptr);
    EXPECT_EQ(detail->getDisplay(), drivers.multimediaDriver.display());

    const std::vector<std::string> started = coreLines(startCapture);
    const std::vector<std::string> expectedStart = concat(
        {{"STBCoreDetail: country was specified in config. Use it (de)", "STBCoreDetail::start()"},
         kEarlyPass,
         {"STBCoreDetail::resourcesAllocate_i()", "Creating init node", "Creating init",
          "Starting init with config:"},
         initCalls(order, true),
         {"Starting connection.",
          "No service connection in this build (hardware id ''); the core keeps the console "
          "commands",
          "Missing software Update driver.", "STBCoreDetail::resourcesAllocate_i() done",
          "UIApplication::UIApplication(): externalUI=false",
          "STBCoreDetail::start() starting thread"}});
    EXPECT_EQ(started, expectedStart);

    LogCapture stopCapture(VLOG_DEBUG);
    core.stop();
    EXPECT_FALSE(core.isRunning());
    const std::vector<std::string> expectedStop = concat(
        {{"STBCoreDetail::stop()", "STBCoreDetail::stop_i()",
          "STBCoreDetail::stop_i() stopping thread",
          "STBCoreDetail::joinAndFree_i() joining thread",
          "STBCoreDetail::joinAndFree_i() thread returns 0",
          "STBCoreDetail::joinAndFree_i() Resetting thread", "MainThread::~MainThread()",
          "STBCoreDetail::joinAndFree_i() freeing resources", "STBCoreDetail::resourcesFree_i()",
          "Requesting all CurlAsync::perform calls to return", "Stopping connection",
          "Shutting down client connection", "Stopping init"},
         initCalls(order, false),
         {"Init stopped", "STBCoreDetail::resourcesFree_i() done", "CoreRestarter stop",
          "CoreRestarter stop complete"}});
    EXPECT_EQ(coreLines(stopCapture), expectedStop);
    EXPECT_EQ(detail->getInit(), nullptr);

    // A second stop finds nothing to do.
    LogCapture again(VLOGSRC_APP, VLOG_INFO);
    core.stop();
    EXPECT_EQ(again.summary(), (std::vector<std::string>{"app.info: Already stopped.",
                                                         "app.info: CoreRestarter stop",
                                                         "app.info: CoreRestarter stop complete"}));
}

TEST_F(CoreStart, SecondStartOnlyUpdatesTheLaunchCommand)
{
    CoreTest::FakeScriptEngine engine;
    KELO::CoreLinks::setScriptEngine(&engine);
    Core core("[locale]\ncountry = de\n");
    LogCapture capture(VLOG_INFO);
    ASSERT_TRUE(core.start("movies", {{"a", "1"}}));
    EXPECT_TRUE(core.start("other", {{"b", "2"}}));
    core.stop();
    EXPECT_EQ(countText(capture, "Starting application main loop."), 1u);
    EXPECT_EQ(countText(capture, "STBCoreDetail::start(): Core is already running."), 1u);
    EXPECT_EQ(countText(capture, "Init: kelo-app-init-node->start()"), 1u);
    // The UI thread's calls interleave with the second start; the core's own calls keep order.
    std::vector<std::string> coreCalls;
    for (const std::string& call : engine.log.calls()) {
        if (call.rfind("engine.setLaunchCommand", 0) == 0 ||
            call.find("CoreEventHandler") != std::string::npos)
            coreCalls.push_back(call);
    }
    EXPECT_EQ(coreCalls, (std::vector<std::string>{
                             "engine.setLaunchCommand movies a=1", "engine.setCoreEventHandler",
                             "engine.setLaunchCommand other b=2", "engine.clearCoreEventHandler"}));
    EXPECT_EQ(engine.log.count("engine.initialize"), 1u);
    EXPECT_EQ(engine.log.count("engine.shutdown"), 1u);
    EXPECT_EQ(KELO::gRestartData.appName, "other");
    EXPECT_EQ(KELO::gRestartData.args.toString(), "b=2");
}

TEST_F(CoreStart, DriversCannotChangeWhileRunning)
{
    CoreTest::FakeSystemDriver other;
    Core core("[locale]\ncountry = de\n");
    ASSERT_TRUE(core.start("movies", {}));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(core.registerSystemDriver(&other));
    EXPECT_FALSE(core.unregisterMultimediaDriver());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Cannot register drivers while running.\nCannot unregister drivers while running.\n");
    core.stop();

    KELO::SystemDriver* current = nullptr;
    ASSERT_EQ(KELO::Services::getInstance().getSystemService().getDriver(&current), KELO::SUCCESS);
    EXPECT_EQ(current, &drivers.systemDriver);
    EXPECT_TRUE(core.registerSystemDriver(&other));
    ASSERT_EQ(KELO::Services::getInstance().getSystemService().getDriver(&current), KELO::SUCCESS);
    EXPECT_EQ(current, &other);
    EXPECT_TRUE(core.unregisterUpdateDriver());
}

TEST_F(CoreStart, FailingServiceOrDisplayLeavesEverythingStoppedAndStartable)
{
    SwitchableNode extra;
    Kapi::Init::InitNode* extras[] = {&extra};
    Core core("[locale]\ncountry = de\n");
    KELO::STBCoreDetail* detail = KELO::STBCoreDetail::Get();
    detail->setExtraDependencies(extras, 1);
    EXPECT_EQ(detail->getDepCount(), 14u);

    std::vector<std::string> order = KeloTest::documentedStartOrder();
    order.pop_back(); // the root does not start when a dependency fails
    {
        extra.succeed = false;
        LogCapture capture(VLOG_INFO);
        EXPECT_FALSE(core.start("movies", {}));
        EXPECT_FALSE(core.isRunning());
        EXPECT_EQ(countText(capture, "Failed to start Core components."), 1u);
        std::vector<std::string> tried = initCalls(order, true);
        tried.push_back("Init: ExtraNode->start()");
        EXPECT_EQ(initLines(capture), concat({kEarlyPass, tried, initCalls(order, false)}));
    }
    {
        extra.succeed = true;
        drivers.multimediaDriver.hasDisplay = false;
        LogCapture capture(VLOGSRC_APP, VLOG_ERROR);
        EXPECT_FALSE(core.start("movies", {}));
        EXPECT_EQ(capture.summary(),
                  (std::vector<std::string>{"app.error: FATAL: Missing display driver."}));
    }
    drivers.multimediaDriver.hasDisplay = true;
    LogCapture capture(VLOG_INFO);
    ASSERT_TRUE(core.start("movies", {}));
    order.push_back("ExtraNode");
    order.push_back("kelo-app-init-node");
    EXPECT_EQ(initLines(capture), concat({kEarlyPass, initCalls(order, true)}));

    LogCapture refused(VLOGSRC_APP, VLOG_ERROR);
    detail->setExtraDependencies(nullptr, 0);
    EXPECT_EQ(detail->getDepCount(), 14u);
    EXPECT_EQ(refused.summary(), (std::vector<std::string>{
                                     "app.error: Cannot set extra dependencies while running."}));
    core.stop();
    detail->setExtraDependencies(nullptr, 0);
    EXPECT_EQ(detail->getDepCount(), 13u);
}

TEST_F(CoreCountry, EmptyCountryBecomesUsaAndAGivenOneStays)
{
    {
        Core core("");
        LogCapture capture(VLOGSRC_APP, VLOG_INFO);
        ASSERT_TRUE(core.start("movies", {}));
        const Kapi::vConfig& config = KELO::STBCoreDetail::Get()->getConfig();
        EXPECT_EQ(configValue(config, "locale", "country"), "usa");
        EXPECT_EQ(configValue(config, "locale", "country_oem"), "");
        EXPECT_EQ(KELO::CoreRestarter::instance, nullptr);
        EXPECT_EQ(capture.summary().front(),
                  "app.info: STBCoreDetail: no country was specified in config. Use usa.");
        core.stop();
    }
    Core core("[locale]\ncountry = de\n");
    ASSERT_TRUE(core.start("movies", {}));
    const Kapi::vConfig& config = KELO::STBCoreDetail::Get()->getConfig();
    EXPECT_EQ(configValue(config, "locale", "country"), "de");
    EXPECT_EQ(configValue(config, "locale", "country_oem"), "de");
    EXPECT_FALSE(KELO::gRestartData.autoCountry);
    core.stop();
}

TEST_F(CoreCountry, CountryEventWithoutAutoIsStoredAndPostedEventsReachTheUi)
{
    CoreTest::FakeScriptEngine engine;
    CoreTest::FakeProvisioning provisioning;
    KELO::CoreLinks::setScriptEngine(&engine);
    KELO::CoreLinks::setProvisioning(&provisioning);
    RecordingListener listener;
    Core core("[locale]\ncountry = de\n");
    core.setEventListener(&listener);
    ASSERT_TRUE(core.start("movies", {}));

    LogCapture capture(VLOGSRC_APP, VLOG_INFO);
    EXPECT_TRUE(engine.sendCoreEvent(Core::Event("standInThePlaceWhereYouLive", {})));
    EXPECT_TRUE(engine.sendCoreEvent(Core::Event(1)));
    EXPECT_TRUE(engine.sendCoreEvent(Core::Event("newPlaybackSession", {{"id", "7"}})));
    EXPECT_EQ(countText(capture, "Ignore request to restart"), 1u);
    EXPECT_EQ(countText(capture, "Posting request to restart"), 0u);
    EXPECT_EQ(provisioning.log.calls(), (std::vector<std::string>{"provisioning.setCountry "}));
    EXPECT_EQ(listener.events.calls(),
              (std::vector<std::string>{"EVENT_USER_REQUESTED_QUIT", "newPlaybackSession(id=7)"}));

    // Posted events reach the UI as system events.
    LogCapture posts(VLOGSRC_APP, VLOG_INFO);
    core.post(Core::Event("x", {{"b", "2"}, {"a", "1"}}));
    core.post(Core::Event(2)); // the kind is not carried: an empty type
    core.setOEMScreenSaverState(true);
    core.stop();
    std::vector<std::string> posted;
    for (const std::string& line : posts.summary()) {
        if (line.find("postSystemEvent(") != std::string::npos)
            posted.push_back(line);
    }
    ASSERT_EQ(posted.size(), 3u);
    EXPECT_EQ(posted[0], "app.info: postSystemEvent(s=coreEvent, t=x, p=a=1;b=2)");
    EXPECT_EQ(posted[1], "app.info: postSystemEvent(s=coreEvent, t=, p=)");
    EXPECT_EQ(posted[2].rfind("app.info: postSystemEvent(s=screensaver, t=stateChanged, p=on=", 0),
              0u);
    core.setEventListener(nullptr);
    // The handler was taken back from the script engine at stop.
    EXPECT_FALSE(engine.sendCoreEvent(Core::Event(2)));
}

TEST_F(CoreConsole, CommandsExistWhileRunningAndRestartOrStopTheUi)
{
    Core core("[locale]\ncountry = de\n");
    EXPECT_TRUE(core.consoleCommandNames().empty());
    EXPECT_FALSE(core.executeConsoleCommand("systemStop", {}));
    LogCapture capture(VLOG_INFO);
    ASSERT_TRUE(core.start("movies", {}));
    const std::vector<std::string> names = core.consoleCommandNames();
    ASSERT_EQ(names.size(), 12u);
    EXPECT_EQ(names.front(), "returnToOldWorld");
    EXPECT_EQ(names.back(), "testcontroller");

    // systemRestart runs the UI again and systemStop ends it.
    ASSERT_TRUE(eventually([] { return KELO::UICore::Application::isRunning(); }));
    EXPECT_TRUE(core.executeConsoleCommand("systemRestart", {}));
    ASSERT_TRUE(
        eventually([&] { return countText(capture, "UIApplication::initialize() end") == 2; }));
    EXPECT_TRUE(core.executeConsoleCommand("systemStop", {}));
    ASSERT_TRUE(eventually(
        [&] { return countText(capture, "Application main loop is done with result 0") == 1; }));
    // The core still runs its services; stop ends them as usual.
    EXPECT_TRUE(core.isRunning());
    core.stop();
    EXPECT_EQ(countText(capture, "Init: kelo-app-init-node->stop()"), 1u);
    EXPECT_TRUE(core.consoleCommandNames().empty());
}
