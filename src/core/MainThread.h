#ifndef CORE_MAINTHREAD_H
#define CORE_MAINTHREAD_H
// KELO::MainThread: the UI main thread and the UI application it runs. The thread is created
// at construction and started by start(); main() runs the application, and runs it again
// (shutdown, initialize, new loop) each time its loop ends with a restart request, until a
// quit ends it. stop() posts the quit; join() waits and gives the application's result.
//
// Threads: construction, start(), stop(), join() and destruction happen on the core's thread;
// main() on the new thread.
#include "core/UIApplication.h"
#include "kapi/Runnable.h"
#include "kapi/Thread.h"
#include "kapi/vConfig.h"

#include <atomic>
#include <memory>
#include <string>

namespace KELO {

class Display;

class MainThread : public Kapi::Runnable
{
public:
    MainThread(Display* display, const Kapi::vConfig& config, const std::string& threadName,
               Kapi::Thread::Priority priority);
    ~MainThread() override;
    MainThread(const MainThread&) = delete;
    MainThread& operator=(const MainThread&) = delete;

    void start();
    // Posts a quit event to the application (at once effective if it is not running yet).
    void stop();
    int join();

    int main() override;

    UIApplication& getApplication() { return mApplication; }

private:
    UIApplication mApplication;
    std::unique_ptr<Kapi::Thread> mThread;
    std::atomic<bool> mStopRequested{false};
};

} // namespace KELO

#endif
