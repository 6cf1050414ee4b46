// Thread behaviour fixed once per process, run in a fresh process per case:
//   thread_probe stack        runs two threads one after the other; each prints
//                             "stack <bytes> guard <bytes> policy <n>" as pthread_getattr_np
//                             sees it; then the kapi_os info lines follow as "log <line>".
//   thread_probe brokenclock  makes the monotonic clock fail, then reads Timer::now().
#include "../../support/LogCapture.h"

#include "kapi/Thread.h"
#include "kapi/Timer.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<bool> g_clockBroken{false};

struct AttributeReporter : Kapi::Runnable
{
    int main() override
    {
        pthread_attr_t attr;
        pthread_getattr_np(pthread_self(), &attr);
        size_t stack = 0;
        size_t guard = 0;
        int policy = -1;
        pthread_attr_getstacksize(&attr, &stack);
        pthread_attr_getguardsize(&attr, &guard);
        pthread_attr_getschedpolicy(&attr, &policy);
        pthread_attr_destroy(&attr);
        printf("stack %zu guard %zu policy %d\n", stack, guard, policy);
        return 0;
    }
};

} // namespace

// Replaces the C library's clock for this program; CLOCK_MONOTONIC fails once broken.
extern "C" int clock_gettime(clockid_t clock, struct timespec* ts)
{
    if (clock == CLOCK_MONOTONIC && g_clockBroken.load()) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, ts));
}

int main(int argc, char** argv)
{
    const char* command = argc > 1 ? argv[1] : "";
    if (strcmp(command, "stack") == 0) {
        LogCapture capture(VLOGSRC_KAPI_OS, VLOG_INFO);
        AttributeReporter reporter;
        for (int i = 0; i < 2; ++i)
            Kapi::Thread::New("probe", Kapi::Thread::PRIORITY_NORMAL, &reporter)->start();
        for (const std::string& line : capture.summary())
            printf("log %s\n", line.c_str());
        return 0;
    }
    if (strcmp(command, "brokenclock") == 0) {
        g_clockBroken = true;
        printf("now %lld\n", static_cast<long long>(Kapi::Timer::now()));
        return 0;
    }
    fprintf(stderr, "usage: thread_probe stack|brokenclock\n");
    return 2;
}
