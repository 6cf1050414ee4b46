// The generic UI application: main() around the dispatcher's loop, and the class-wide current
// application that the static helpers post to.
#include "core/UICoreApplication.h"

#include "kapi/Mutex.h"
#include "kapi/vLog.h"

namespace KELO {
namespace UICore {

Application* Application::sApplication = nullptr;

namespace {
// Guards sApplication; created on first use and never destroyed, so posting works at exit.
Kapi::Mutex& classLock()
{
    static Kapi::Mutex* s_lock = Kapi::Mutex::New(false).release();
    return *s_lock;
}

// Receives what no handler of its own claims: self-handling events run, the rest is dropped.
EventHandler g_baseHandler;
} // namespace

Application::Application()
{
    mDispatcher.setDefaultHandler(&g_baseHandler);
}

Application::~Application()
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication == this)
        sApplication = nullptr;
}

bool Application::takeScreenshot(const std::string&)
{
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO, "screen not implemented in this application.");
    return false;
}

int Application::main()
{
    {
        Kapi::MutexLocker lock(classLock());
        sApplication = this;
    }
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO, "Application::main() calling initialize()");
    initialize();
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO, "Application::main() calling mainLoop()");
    const int result = mDispatcher.mainLoop();
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO, "Application::main() mainLoop returns %d", result);
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO, "Application::main() calling shutdown()");
    // Deregistered before shutdown: events posted from now on are dropped, not left queued.
    {
        Kapi::MutexLocker lock(classLock());
        sApplication = nullptr;
    }
    shutdown();
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO, "Application::main() done returning %d", result);
    return result;
}

void Application::dropEvent_i(Event* event)
{
    if (event != nullptr && event->getDeleteAfterDispatch())
        delete event;
}

void Application::post(Event* event)
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication == nullptr)
        return dropEvent_i(event);
    sApplication->mDispatcher.postEvent(event, EventDispatcher::kNormalPriority);
}

void Application::postHighPriorityEvent(Event* event)
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication == nullptr)
        return dropEvent_i(event);
    sApplication->mDispatcher.postEvent(event, EventDispatcher::kHighPriority);
}

void Application::post(Event* event, unsigned delayMs)
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication == nullptr)
        return dropEvent_i(event);
    sApplication->mDispatcher.postDelayedEvent(event, delayMs);
}

void Application::repost(Event* event, unsigned delayMs)
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication == nullptr)
        return dropEvent_i(event);
    sApplication->mDispatcher.repostEvent(event, delayMs);
}

void Application::cancelDelayedEvent(Event* event)
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication != nullptr)
        sApplication->mDispatcher.cancelDelayedEvent(event);
}

bool Application::postStopEvent()
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication == nullptr)
        return false;
    sApplication->mDispatcher.postEvent(new QuitEvent(sApplication->mDispatcher),
                                        EventDispatcher::kNormalPriority);
    return true;
}

bool Application::postRestartEvent()
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication == nullptr)
        return false;
    sApplication->mDispatcher.postEvent(new RestartEvent(sApplication->mDispatcher),
                                        EventDispatcher::kNormalPriority);
    return true;
}

bool Application::takeScreenshotOnCurrent(const std::string& path)
{
    Kapi::MutexLocker lock(classLock());
    if (sApplication == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
            vLogMessage(VLOGSRC_VUI, VLOG_INFO, "No application for screenshot.");
        return false;
    }
    return sApplication->takeScreenshot(path);
}

bool Application::isRunning()
{
    Kapi::MutexLocker lock(classLock());
    return sApplication != nullptr;
}

int64 Application::getTicks()
{
    Kapi::MutexLocker lock(classLock());
    return sApplication != nullptr ? sApplication->mDispatcher.getTicks() : 0;
}

} // namespace UICore
} // namespace KELO
