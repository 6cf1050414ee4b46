// PanicAssertFailAllThreads. The thread list comes from /proc/self/task (one directory per kernel
// thread, named by its id, with the thread's name in "comm"); it is written through the platform
// log back end with source "kapi_os" and priority error, unfiltered, like the assertion itself.
#include "kapi/PanicAssertThreads.h"
#include "kapi/Log.h"
#include "kapi/PanicAssert.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Kapi {

namespace {

const char* const kSource = "kapi_os";

// The thread's name without its trailing newline; "?" when it cannot be read.
void readThreadName(const char* tid, char* name, size_t size)
{
    snprintf(name, size, "?");
    char path[320];
    snprintf(path, sizeof(path), "/proc/self/task/%s/comm", tid);
    FILE* file = fopen(path, "r");
    if (file == nullptr)
        return;
    if (fgets(name, static_cast<int>(size), file) == nullptr)
        snprintf(name, size, "?");
    fclose(file);
    name[strcspn(name, "\n")] = '\0';
}

void logAllThreads()
{
    Log* log = Log::Get();
    const long self = syscall(SYS_gettid);
    log->log(kSource, Log::PRIO_ERROR, "threads of process %d (failing thread %ld):\n",
             static_cast<int>(getpid()), self);
    DIR* dir = opendir("/proc/self/task");
    if (dir == nullptr) {
        log->log(kSource, Log::PRIO_ERROR, "cannot list threads: %m\n");
        return;
    }
    while (const dirent* entry = readdir(dir)) {
        if (!isdigit(static_cast<unsigned char>(entry->d_name[0])))
            continue;
        char name[64];
        readThreadName(entry->d_name, name, sizeof(name));
        log->log(kSource, Log::PRIO_ERROR, "thread %s \"%s\"\n", entry->d_name, name);
    }
    closedir(dir);
}

} // namespace

void PanicAssertFailAllThreads(const char* expression, const char* file, int line)
{
    const int savedErrno = errno; // the assertion reports the caller's error, not ours
    logAllThreads();
    errno = savedErrno;
    PanicAssertFail(expression, file, line);
}

} // namespace Kapi
