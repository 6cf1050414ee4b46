// PanicAssertFail. Everything it needs is formatted on the stack; the debugger child only
// prints, executes and, on failure, leaves with _exit so it runs none of the parent's exit
// handlers.
#include "kapi/PanicAssert.h"
#include "kapi/Log.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Kapi {

namespace {

const char* const kSource = "kapi_os";

[[noreturn]] void parkThread()
{
    pthread_setname_np(pthread_self(), "***KKCRASH***");
    for (;;) {
        sleep(1);
    }
}

void launchDebugger(const char* debugger)
{
    const unsigned tid = static_cast<unsigned>(syscall(SYS_gettid));
    char imagePath[64];
    snprintf(imagePath, sizeof(imagePath), "/proc/%d/task/%u/exe", static_cast<int>(getpid()), tid);
    char tidText[16];
    snprintf(tidText, sizeof(tidText), "%u", tid);

    if (fork() != 0) {
        return; // the parent (or a failed fork) parks; nothing more to do here
    }
    fprintf(stderr, "launching debugger: \"%s\" \"%s\" \"%s\"\n", debugger, imagePath, tidText);
    execlp(debugger, debugger, imagePath, tidText, static_cast<char*>(nullptr));
    fprintf(stderr, "couldn't launch debugger\n");
    const char* path = getenv("PATH");
    fprintf(stderr, "PATH=%s\n", path != nullptr ? path : "");
    _exit(1);
}

} // namespace

void PanicAssertFail(const char* expression, const char* file, int line)
{
    const int savedErrno = errno;
    Log* log = Log::Get();
    log->log(kSource, Log::PRIO_ERROR, "%s:%d Assertion failure: %s\n", file, line, expression);
    errno = savedErrno; // "%m" below names the error that was current at the failure
    log->log(kSource, Log::PRIO_ERROR, "errno is %d: %m\n", savedErrno);
    fprintf(stderr, "\n%s:%d Assertion failure: %s\n", file, line, expression);
    log->log(kSource, Log::PRIO_ERROR, "%s. Can't legally reboot the entire system\n", __func__);

    const char* debugger = getenv("KKDEBUGGER");
    if (debugger != nullptr && debugger[0] != '\0') {
        launchDebugger(debugger);
        parkThread();
    }
    if (getenv("KKNOQUITONASSERT") != nullptr) {
        parkThread();
    }
    sleep(1);
    sync();
    abort();
}

} // namespace Kapi
