#ifndef KAPI_THREAD_H
#define KAPI_THREAD_H
// A named thread running a Kapi::Runnable. Threads are created detached with the process-wide
// stack size (KKTHREADSTACKSIZEINKB, 16..1024, default 512 KB) and a nice value from their
// priority; join() waits on a completion flag, so any number of threads may join, any number of
// times. start() on a running thread does nothing; start() after completion runs the runnable
// again on a new system thread.
//
// Deleting a Thread from another thread first joins it. A thread may instead delete its own
// Thread object as its last act: the delete does not return, the system thread ends there
// (pthread_exit, which unwinds the stack running destructors) and joiners must not exist. Use a
// plain `delete thread.release()` for that, never a noexcept frame such as unique_ptr::reset():
// the unwinding may not pass through one. Hence the destructor is noexcept(false); it never
// throws anything else.
#include "kapi/KapiTypes.h"
#include "kapi/Runnable.h"

#include <memory>
#include <pthread.h>
#include <sys/types.h>
#include <vector>

namespace Kapi {

class Thread
{
public:
    // Nice values: 0 -> -15, 1 -> -10, 2 -> -5, 3 -> 0, 4 -> 5, any other -> 15.
    enum Priority
    {
        PRIORITY_HIGHEST = 0,
        PRIORITY_HIGH = 1,
        PRIORITY_ABOVE_NORMAL = 2,
        PRIORITY_NORMAL = 3,
        PRIORITY_LOW = 4,
        PRIORITY_LOWEST = 5
    };

    // `name` is copied (at most 19 characters); `runnable` is not owned and must outlive the
    // thread's run.
    static std::unique_ptr<Thread> New(const char* name, Priority priority, Runnable* runnable);
    virtual ~Thread() noexcept(false) = default;

    virtual void start() = 0;
    // The runnable's result, once it has finished.
    virtual int join() = 0;

    // For the calling thread.
    static void setName(const char* name);
    static void setPriority(Priority priority);
    static void sleep(int64 microseconds);
    static void yield();
    // Number of running Kapi threads.
    static unsigned getThreadCount();
    // Kernel thread ids of the running Kapi threads, ascending.
    static std::vector<pid_t> getThreadIds();
    static pthread_t getCurrentThreadId();
    // Kernel thread id (cached per thread).
    static pid_t getSystemThreadId();
    // Nice value for a priority.
    static int niceValueFor(int priority);
};

} // namespace Kapi

extern "C" pid_t KapiGetTid(void);

#endif
