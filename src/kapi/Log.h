#ifndef KAPI_LOG_H
#define KAPI_LOG_H
// The platform log back end: where formatted diagnostics finally go. Callers normally log through
// vLogMessage() (kapi/vLog.h), which filters by source and level and hands each admitted message
// to the back ends of the registered loggers; Kapi::Log itself does no filtering.
//
// Log::Get() returns the process's single back end (a LogLinux), created on first use from any
// thread and usable until the process ends, including from static destructors. All methods may be
// called from any thread.
#include "kapi/KapiTypes.h"

#include <cstdarg>
#include <cstddef>
#include <ctime>

namespace Kapi {

class Log
{
public:
    // Back-end severity. A message level L in 1..5 maps to priority L - 1; anything else to
    // PRIO_ERROR.
    enum Priority
    {
        PRIO_ERROR = 0,
        PRIO_WARNING = 1,
        PRIO_NOTICE = 2,
        PRIO_INFO = 3,
        PRIO_DEBUG = 4
    };

    Log() = default;
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // Slot order is fixed: destructor, log, vlog, setLogToConsole, setHighRes.
    virtual ~Log();
    virtual void log(const char* source, Priority priority, const char* format, ...)
        __attribute__((format(printf, 4, 5))) = 0;
    virtual void vlog(const char* source, Priority priority, const char* format, va_list args)
        __attribute__((format(printf, 4, 0))) = 0;
    virtual void setLogToConsole(bool toConsole) = 0;
    virtual void setHighRes(bool highRes) = 0;

    // The process's back end; never null, never destroyed.
    static Log* Get();

    // "warning", "notice", "info", "debug"; "error" for PRIO_ERROR and any other value.
    static const char* priorityName(int priority);

    // Builds the printf format of one console line into `buffer`:
    //   "<Mon> <day> <hh>:<mm>:<ss> [<threadId>] <<source>.<priority>>: <format>\n"
    // e.g. "Mar  5 14:02:07 [1234] <app.info>: Starting %s.\n", with `time` broken down in UTC
    // and English month abbreviations. The caller's format is copied, not expanded. The result
    // is cut to size - 1 bytes and the last byte of the buffer is always NUL.
    static void getSyslogStyleFormat(char* buffer, size_t size, time_t time, uint32 threadId,
                                     const char* source, Priority priority, const char* format);
};

// A back end that drops every line: for loggers whose levels are exercised without output
// (measurements, fuzzing).
class DiscardingLog : public Log
{
public:
    void log(const char*, Priority, const char*, ...) override {}
    void vlog(const char*, Priority, const char*, va_list) override {}
    void setLogToConsole(bool) override {}
    void setHighRes(bool) override {}
};

} // namespace Kapi

#endif
