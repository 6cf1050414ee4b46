// The back-end singleton and the console line format. The singleton is allocated once and never
// deleted, so messages logged by static destructors still reach it; the system log is closed by
// an exit handler registered at creation instead of by its destructor.
#include "kapi/Log.h"
#include "kapi/LogLinux.h"

#include <cstdio>
#include <cstdlib>
#include <syslog.h>

namespace Kapi {

namespace {

const char* const kMonthNames[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

void closeSystemLogAtExit()
{
    closelog();
}

Log* createLog()
{
    Log* log = new LogLinux();
    std::atexit(closeSystemLogAtExit);
    return log;
}

} // namespace

Log::~Log() = default;

Log* Log::Get()
{
    static Log* const s_log = createLog();
    return s_log;
}

const char* Log::priorityName(int priority)
{
    switch (priority) {
    case PRIO_WARNING:
        return "warning";
    case PRIO_NOTICE:
        return "notice";
    case PRIO_INFO:
        return "info";
    case PRIO_DEBUG:
        return "debug";
    default:
        return "error";
    }
}

void Log::getSyslogStyleFormat(char* buffer, size_t size, time_t time, uint32 threadId,
                               const char* source, Priority priority, const char* format)
{
    if (buffer == nullptr || size == 0) {
        return;
    }
    struct tm parts = {};
    gmtime_r(&time, &parts);
    const char* month =
        (parts.tm_mon >= 0 && parts.tm_mon < 12) ? kMonthNames[parts.tm_mon] : "???";
    snprintf(buffer, size, "%s %2d %02d:%02d:%02d [%u] <%s.%s>: %s\n", month, parts.tm_mday,
             parts.tm_hour, parts.tm_min, parts.tm_sec, static_cast<unsigned>(threadId), source,
             priorityName(priority), format);
    buffer[size - 1] = '\0';
}

} // namespace Kapi
