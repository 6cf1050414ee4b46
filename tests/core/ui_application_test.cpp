// The device UI application and the main thread: overscan, external UI, screenshots, the
// player installation, and running the application again after a restart request.
#include "core/MainThread.h"
#include "core/UIApplication.h"
#include "kapi/vConfig.h"
#include "support/LogCapture.h"

#include "core/CoreTestDrivers.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using CoreTest::CallLog;

CallLog* g_screenLog = nullptr;

std::unique_ptr<KELO::ScreenLink> makeScreen(KELO::Display*)
{
    return std::make_unique<CoreTest::FakeScreen>(*g_screenLog);
}

class RecordingPlayerController : public KELO::PlayerControllerLink
{
public:
    void setPlayer(KELO::MediaPlayer* player) override
    {
        log.add(player != nullptr ? "controller.setPlayer" : "controller.clearPlayer");
    }
    void setScreen(KELO::ScreenLink* screen) override
    {
        log.add(screen != nullptr ? "controller.setScreen" : "controller.clearScreen");
    }
    CallLog log;
};

class UIApplicationTest : public ::testing::Test
{
protected:
    UIApplicationTest()
    {
        g_screenLog = &screenLog;
        KELO::CoreLinks::setScreenMaker(&makeScreen);
        KELO::CoreLinks::setScriptEngine(&engine);
        KELO::CoreLinks::setPlayerController(&controller);
    }
    ~UIApplicationTest() override { g_screenLog = nullptr; }

    Kapi::vConfig config(const std::string& text)
    {
        Kapi::vConfig result;
        EXPECT_TRUE(result.fromString(text));
        return result;
    }

    CoreTest::ClearedLinks links;
    CoreTest::RegisteredDrivers drivers;
    CallLog screenLog;
    CoreTest::FakeScriptEngine engine;
    RecordingPlayerController controller;
};

} // namespace

TEST_F(UIApplicationTest, OverscanReachesTheScreenInItsOrder)
{
    Kapi::vConfig cfg = config("[overscan]\ntop = 1\nleft = 2\nbottom = 3\nright = 4\n");
    KELO::UIApplication application(drivers.multimediaDriver.display(), cfg);
    application.initialize();
    application.shutdown();
    EXPECT_EQ(
        screenLog.calls(),
        (std::vector<std::string>{"screen.create", "screen.setOverscan 1 2 3 4", "screen.close"}));
    EXPECT_EQ(engine.log.calls(),
              (std::vector<std::string>{"engine.addRestarted", "engine.initialize screen",
                                        "engine.removeRestarted", "engine.shutdown"}));
    EXPECT_EQ(controller.log.calls(),
              (std::vector<std::string>{"controller.setPlayer", "controller.setScreen",
                                        "controller.clearPlayer", "controller.clearScreen"}));
}

TEST_F(UIApplicationTest, ExternalUiStartsNoScreenButInstallsThePlayer)
{
    Kapi::vConfig cfg = config("[misc]\nexternalUI = true\n");
    LogCapture capture(VLOGSRC_APP, VLOG_INFO);
    KELO::UIApplication application(drivers.multimediaDriver.display(), cfg);
    EXPECT_TRUE(application.isExternalUI());
    application.initialize();
    application.shutdown();
    EXPECT_TRUE(screenLog.calls().empty());
    EXPECT_EQ(engine.log.calls(), (std::vector<std::string>{"engine.removeRestarted"}));
    EXPECT_EQ(controller.log.count("controller.setPlayer"), 1u);
    const std::vector<std::string> lines = capture.summary();
    EXPECT_EQ(lines.front(), "app.info: UIApplication::UIApplication(): externalUI=true");
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "app.info: Installing the player in the player controller"),
              lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "app.info: virtual void KELO::UIApplication::shutdown()"),
              lines.end());
}

TEST_F(UIApplicationTest, ScreenshotNeedsAScreen)
{
    Kapi::vConfig cfg;
    {
        KELO::UIApplication application(drivers.multimediaDriver.display(), cfg);
        EXPECT_TRUE(application.takeScreenshot("/tmp/a.jpg"));
        EXPECT_EQ(screenLog.calls(),
                  (std::vector<std::string>{"screen.takeScreenshot /tmp/a.jpg"}));
    }
    KELO::CoreLinks::setScreenMaker(nullptr);
    LogCapture capture(VLOGSRC_APP, VLOG_INFO);
    KELO::UIApplication application(drivers.multimediaDriver.display(), cfg);
    EXPECT_FALSE(application.hasScreen());
    EXPECT_FALSE(application.takeScreenshot("/tmp/b.jpg"));
    EXPECT_EQ(capture.summary(), (std::vector<std::string>{
                                     "app.info: UIApplication::UIApplication(): externalUI=false",
                                     "app.info: No screen for screenshot."}));
}

TEST_F(UIApplicationTest, MainThreadRunsTheApplicationAgainAfterARestartAndKeepsAnEarlyStop)
{
    Kapi::vConfig cfg;
    KELO::MainThread thread(drivers.multimediaDriver.display(), cfg, "kelo-app-main",
                            Kapi::Thread::PRIORITY_NORMAL);
    LogCapture capture(VLOGSRC_APP, VLOG_INFO);
    thread.start();
    ASSERT_TRUE(CoreTest::eventually([] { return KELO::UICore::Application::isRunning(); }));
    EXPECT_TRUE(KELO::UICore::Application::postRestartEvent());
    ASSERT_TRUE(CoreTest::eventually([this] { return screenLog.count("screen.create") == 2; }));
    thread.stop();
    EXPECT_EQ(thread.join(), 0);
    EXPECT_EQ(screenLog.count("screen.close"), 2u);

    const std::vector<std::string> lines = capture.summary();
    EXPECT_EQ(lines.front(), "app.info: Starting application main loop.");
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "app.info: Application restart requested; running it again"),
              1);
    EXPECT_EQ(lines.back(), "app.info: Application main loop is done with result 0");

    // A stop before the loop starts is not lost.
    KELO::MainThread early(drivers.multimediaDriver.display(), cfg, "kelo-app-main",
                           Kapi::Thread::PRIORITY_NORMAL);
    early.stop();
    early.start();
    EXPECT_EQ(early.join(), 0);
}
