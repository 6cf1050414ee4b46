// The device's UI application over the generic one: screen, script engine and player
// installation around the main loop.
#include "core/UIApplication.h"

#include "core/Drivers.h"
#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

namespace KELO {

UIApplication::UIApplication(Display* display, const Kapi::vConfig& config)
    : mDisplay(display)
{
    config.getSingleIntegerValue("overscan", "top", mOverscan.top, 0);
    config.getSingleIntegerValue("overscan", "left", mOverscan.left, 0);
    config.getSingleIntegerValue("overscan", "bottom", mOverscan.bottom, 0);
    config.getSingleIntegerValue("overscan", "right", mOverscan.right, 0);
    if (CoreLinks::ScreenMaker maker = CoreLinks::screenMaker())
        mScreen = maker(mDisplay);
    if (config.getSingleBooleanValue("misc", "externalUI", mExternalUI, false) &&
        vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "UIApplication::UIApplication(): externalUI=%s",
                    mExternalUI ? "true" : "false");
}

UIApplication::~UIApplication() = default;

void UIApplication::initialize()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "UIApplication::initialize() begin");
    if (!mExternalUI) {
        ScriptEngineLink* engine = CoreLinks::scriptEngine();
        if (mScreen)
            mScreen->create();
        else if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "UIApplication: no screen in this build");
        if (engine != nullptr) {
            engine->addRestartedCallback(&UIApplication::onScriptEngineRestarted, this);
            engine->initialize(mScreen.get());
        } else if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO)) {
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "UIApplication: no script engine in this build");
        }
        if (mScreen)
            mScreen->setOverscan(mOverscan.top, mOverscan.left, mOverscan.bottom, mOverscan.right);
    }

    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Installing the player in the player controller");
    MultimediaDriver* multimedia = nullptr;
    if (Services::getInstance().getMultimediaService().getDriver(&multimedia) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "oops, app did not register driver");
        Kapi::PanicAssertFail("false && \"multimedia porting driver not registered\"",
                              "Application", 81);
    }
    MediaPlayer* player = nullptr;
    if (multimedia->GetPlayer(&player) != SUCCESS || player == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "oops, app did not register mediaplayer driver");
        Kapi::PanicAssertFail("false && \"multimedia porting mediaplayer driver not registered\"",
                              "Application", 87);
    }
    if (PlayerControllerLink* controller = CoreLinks::playerController()) {
        controller->setPlayer(player);
        controller->setScreen(mScreen.get());
    } else if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO)) {
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "UIApplication: no player controller in this build");
    }
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "UIApplication::initialize() end");
}

void UIApplication::shutdown()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "%s", "virtual void KELO::UIApplication::shutdown()");
    ScriptEngineLink* engine = CoreLinks::scriptEngine();
    if (engine != nullptr)
        engine->removeRestartedCallback(&UIApplication::onScriptEngineRestarted, this);
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Uninstalling the player in the player controller");
    if (PlayerControllerLink* controller = CoreLinks::playerController()) {
        controller->setPlayer(nullptr);
        controller->setScreen(nullptr);
    }
    if (!mExternalUI) {
        if (engine != nullptr)
            engine->shutdown();
        if (mScreen)
            mScreen->close();
    }
}

bool UIApplication::takeScreenshot(const std::string& path)
{
    if (!mScreen) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "No screen for screenshot.");
        return false;
    }
    mScreen->takeScreenshot(path);
    return true;
}

void UIApplication::onScriptEngineRestarted(void*)
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "UICore::Application::onScriptEngineRestarted()");
    // The connection query ("connection") joins the script engine's query registry once the
    // query layer exists; until then scripts have no connection query to reach.
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(
            VLOGSRC_APP, VLOG_INFO,
            "UIApplication: no query registry in this build; \"connection\" not registered");
}

} // namespace KELO
