#ifndef KAPI_LOGLINUX_H
#define KAPI_LOGLINUX_H
// The Linux log back end: syslog (facility LOG_LOCAL0, options LOG_CONS | LOG_PID, no identity)
// or, when logToConsole is set, one line per message on standard error. The caller's format is
// embedded in a 400-byte format buffer after a "<source.priority>: " prefix and expanded by
// vsyslog/vfprintf, so longer formats are cut. With highRes set, syslog lines start with
// "|<low 32 bits of the monotonic clock in microseconds>| ".
//
// The two flags start from the environment (VLOGTOCONSOLE, VLOGHIGHRES: set means on). They are
// read without synchronisation, so a change made while other threads log takes effect for them
// at some later message.
#include "kapi/Log.h"

#include <atomic>

namespace Kapi {

class LogLinux : public Log
{
public:
    static constexpr size_t kFormatBufferSize = 400;

    LogLinux();           // opens the system log
    ~LogLinux() override; // closes it

    void log(const char* source, Priority priority, const char* format, ...) override
        __attribute__((format(printf, 4, 5)));
    void vlog(const char* source, Priority priority, const char* format, va_list args) override
        __attribute__((format(printf, 4, 0)));
    void setLogToConsole(bool toConsole) override;
    void setHighRes(bool highRes) override;

    // LOG_WARNING, LOG_NOTICE, LOG_INFO, LOG_DEBUG for the matching priorities; LOG_ERR for
    // PRIO_ERROR and any other value.
    static int syslogPriority(int priority);

private:
    std::atomic<bool> m_logToConsole;
    std::atomic<bool> m_highRes;
};

} // namespace Kapi

#endif
