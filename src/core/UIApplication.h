#ifndef CORE_UIAPPLICATION_H
#define CORE_UIAPPLICATION_H
// KELO::UIApplication: the device's UI application. Construction reads the overscan and
// "misc"/"externalUI" from the configuration; initialize() creates the screen and starts the
// script engine (unless the UI is external), then installs the platform media player in the
// player controller; shutdown() undoes both. The screen, script engine and player controller
// are reached through CoreLinks; a missing one is logged and skipped. A missing multimedia
// driver or media player is a programming error of the embedding program and ends the process.
//
// Threads: constructed and destroyed by the core's thread; initialize(), shutdown() and
// takeScreenshot() run on the UI main thread (takeScreenshot also from the console command's
// thread, through the application's class-wide lock).
#include "core/CoreLinks.h"
#include "core/UICoreApplication.h"
#include "kapi/KapiTypes.h"
#include "kapi/vConfig.h"

#include <memory>
#include <string>

namespace KELO {

class Display;

class UIApplication : public UICore::Application
{
public:
    struct Overscan
    {
        int32 top = 0;
        int32 left = 0;
        int32 bottom = 0;
        int32 right = 0;
    };

    UIApplication(Display* display, const Kapi::vConfig& config);
    ~UIApplication() override;

    bool takeScreenshot(const std::string& path) override;
    void initialize() override;
    void shutdown() override;

    static void onScriptEngineRestarted(void* context);

    const Overscan& getOverscan() const { return mOverscan; }
    bool isExternalUI() const { return mExternalUI; }
    bool hasScreen() const { return mScreen != nullptr; }

private:
    Display* mDisplay;            // not owned
    std::unique_ptr<ScreenLink> mScreen;
    Overscan mOverscan;
    bool mExternalUI = false;
};

} // namespace KELO

#endif
