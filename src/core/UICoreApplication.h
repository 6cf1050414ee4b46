#ifndef CORE_UICOREAPPLICATION_H
#define CORE_UICOREAPPLICATION_H
// KELO::UICore::Application: the generic UI application. It owns the event dispatcher and runs
// initialize(), the main loop and shutdown() on the UI thread (main()). One application at a
// time is the process's current application (sApplication): the static helpers post to it,
// and with none the event is deleted at once. The application registers itself when main()
// starts and deregisters before main() returns.
//
// The remote-input listener thread and standby control belong to the full UI engine; here
// the application is the event loop the core's main thread runs.
//
// Threads: main() and the virtual hooks run on the UI thread; the static helpers are safe
// from any thread (they hold the class-wide lock while they use sApplication).
#include "core/UIEventDispatcher.h"

#include <string>

namespace KELO {
namespace UICore {

class Application
{
public:
    Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // Slot order: destructor, takeScreenshot, initialize, shutdown.
    virtual ~Application();
    // Base: "screen not implemented in this application.", false.
    virtual bool takeScreenshot(const std::string& path);
    virtual void initialize() {}
    virtual void shutdown() {}

    // initialize(), the main loop, shutdown(); returns the loop's result (0 quit, 1 restart).
    int main();

    EventDispatcher& getDispatcher() { return mDispatcher; }

    // On the current application; an event given to a missing application is deleted.
    static void post(Event* event);
    static void postHighPriorityEvent(Event* event);
    static void post(Event* event, unsigned delayMs);
    static void repost(Event* event, unsigned delayMs);
    static void cancelDelayedEvent(Event* event);
    // False when no application runs.
    static bool postStopEvent();
    static bool postRestartEvent();
    // False with "No application for screenshot." when no application runs.
    static bool takeScreenshotOnCurrent(const std::string& path);
    static bool isRunning();
    static int64 getTicks();

private:
    static void dropEvent_i(Event* event);

    EventDispatcher mDispatcher;
    static Application* sApplication; // guarded by the class-wide lock
};

} // namespace UICore
} // namespace KELO

#endif
