// LogLinux: formats into fixed stack buffers only; nothing is allocated on the delivery path.
#include "kapi/LogLinux.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>

namespace Kapi {

namespace {

uint32 kernelThreadId()
{
    return static_cast<uint32>(syscall(SYS_gettid));
}

// The low 32 bits of the monotonic clock in microseconds, as the device's 32-bit long shows them.
long monotonicMicrosLow32()
{
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const uint64 micros =
        static_cast<uint64>(now.tv_sec) * 1000000u + static_cast<uint64>(now.tv_nsec) / 1000u;
    return static_cast<long>(static_cast<int32>(static_cast<uint32>(micros)));
}

} // namespace

LogLinux::LogLinux()
    : m_logToConsole(getenv("VLOGTOCONSOLE") != nullptr),
      m_highRes(getenv("VLOGHIGHRES") != nullptr)
{
    openlog(nullptr, LOG_CONS | LOG_PID, LOG_LOCAL0);
}

LogLinux::~LogLinux()
{
    closelog();
}

void LogLinux::log(const char* source, Priority priority, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    vlog(source, priority, format, args);
    va_end(args);
}

// The caller's conversions become part of the built format, which the system logger or
// vfprintf then expands with the caller's arguments.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
void LogLinux::vlog(const char* source, Priority priority, const char* format, va_list args)
{
    char buffer[kFormatBufferSize];
    if (m_logToConsole.load(std::memory_order_relaxed)) {
        getSyslogStyleFormat(buffer, sizeof(buffer), time(nullptr), kernelThreadId(), source,
                             priority, format);
        vfprintf(stderr, buffer, args);
        return;
    }
    if (m_highRes.load(std::memory_order_relaxed)) {
        snprintf(buffer, sizeof(buffer), "|%ld| <%s.%s>: %s", monotonicMicrosLow32(), source,
                 priorityName(priority), format);
    } else {
        snprintf(buffer, sizeof(buffer), "<%s.%s>: %s", source, priorityName(priority), format);
    }
    vsyslog(syslogPriority(priority), buffer, args);
}
#pragma GCC diagnostic pop

void LogLinux::setLogToConsole(bool toConsole)
{
    m_logToConsole.store(toConsole, std::memory_order_relaxed);
}

void LogLinux::setHighRes(bool highRes)
{
    m_highRes.store(highRes, std::memory_order_relaxed);
}

int LogLinux::syslogPriority(int priority)
{
    switch (priority) {
    case PRIO_WARNING:
        return LOG_WARNING;
    case PRIO_NOTICE:
        return LOG_NOTICE;
    case PRIO_INFO:
        return LOG_INFO;
    case PRIO_DEBUG:
        return LOG_DEBUG;
    default:
        return LOG_ERR;
    }
}

} // namespace Kapi
