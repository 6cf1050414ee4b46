// The UI main thread: runs the UI application until a quit, running it again after each
// restart request.
#include "core/MainThread.h"

#include "kapi/vLog.h"

namespace KELO {

MainThread::MainThread(Display* display, const Kapi::vConfig& config, const std::string& threadName,
                       Kapi::Thread::Priority priority)
    : mApplication(display, config), mThread(Kapi::Thread::New(threadName.c_str(), priority, this))
{
}

MainThread::~MainThread()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "MainThread::~MainThread()");
    mThread.reset();
}

void MainThread::start()
{
    mThread->start();
}

void MainThread::stop()
{
    mStopRequested.store(true);
    // Straight into this application's queue: the quit waits there if the loop has not
    // started yet, so a stop right after start is never lost.
    UICore::EventDispatcher& dispatcher = mApplication.getDispatcher();
    dispatcher.postEvent(new UICore::QuitEvent(dispatcher),
                         UICore::EventDispatcher::kNormalPriority);
}

int MainThread::join()
{
    return mThread->join();
}

int MainThread::main()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Starting application main loop.");
    int result;
    for (;;) {
        result = mApplication.main();
        if (result != 1 || mStopRequested.load())
            break;
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "Application restart requested; running it again");
    }
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Application main loop is done with result %d", result);
    return result;
}

} // namespace KELO
