// The static operations of Kapi::Thread that act on the calling thread. The kernel thread id is
// cached in thread-specific storage (key created once per process) as a pointer-sized value;
// null means "not read yet" since no thread has id 0.
#include "kapi/Thread.h"

#include <cerrno>
#include <ctime>
#include <sched.h>
#include <stdint.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Kapi {

namespace {

pthread_once_t s_tidKeyOnce = PTHREAD_ONCE_INIT;
pthread_key_t s_tidKey;

void createTidKey()
{
    pthread_key_create(&s_tidKey, nullptr);
}

} // namespace

int Thread::niceValueFor(int priority)
{
    switch (priority) {
    case PRIORITY_HIGHEST:
        return -15;
    case PRIORITY_HIGH:
        return -10;
    case PRIORITY_ABOVE_NORMAL:
        return -5;
    case PRIORITY_NORMAL:
        return 0;
    case PRIORITY_LOW:
        return 5;
    default:
        return 15;
    }
}

void Thread::setName(const char* name)
{
    prctl(PR_SET_NAME, name, 0, 0, 0);
}

void Thread::setPriority(Priority priority)
{
    sched_param param{};
    param.sched_priority = 0;
    pthread_setschedparam(pthread_self(), SCHED_OTHER, &param);
    const int niceResult = nice(niceValueFor(priority));
    (void)niceResult;
}

void Thread::sleep(int64 microseconds)
{
    timespec request{};
    request.tv_sec = static_cast<time_t>(microseconds / 1000000);
    request.tv_nsec = static_cast<long>(microseconds % 1000000) * 1000L;
    timespec remaining{};
    while (nanosleep(&request, &remaining) != 0 && errno == EINTR) {
        request = remaining;
    }
}

void Thread::yield()
{
    sched_yield();
}

pthread_t Thread::getCurrentThreadId()
{
    return pthread_self();
}

pid_t Thread::getSystemThreadId()
{
    pthread_once(&s_tidKeyOnce, createTidKey);
    void* cached = pthread_getspecific(s_tidKey);
    if (cached != nullptr) {
        return static_cast<pid_t>(reinterpret_cast<intptr_t>(cached));
    }
    const pid_t tid = static_cast<pid_t>(syscall(SYS_gettid));
    pthread_setspecific(s_tidKey, reinterpret_cast<void*>(static_cast<intptr_t>(tid)));
    return tid;
}

} // namespace Kapi

extern "C" pid_t KapiGetTid(void)
{
    return Kapi::Thread::getSystemThreadId();
}
