// The logging probe with the system logger replaced: this executable defines openlog, vsyslog,
// syslog and closelog itself, so the library's calls bind to these definitions, which print to
// standard output what the system logger would have received:
//   openlog ident=<ident|(null)> option=<n> facility=<n>
//   syslog priority=<n> format=<len>:<format> text=<len>:<expanded text>
//   closelog
// Lengths make cut buffers checkable; texts are printed raw.
#include "log_probe_commands.h"

#include <syslog.h>

namespace {

void printRecord(int priority, const char* format, va_list args)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    char text[4096];
    vsnprintf(text, sizeof(text), format, args);
#pragma GCC diagnostic pop
    printf("syslog priority=%d format=%zu:%s text=%zu:%s\n", priority, strlen(format), format,
           strlen(text), text);
    fflush(stdout);
}

} // namespace

extern "C" {

void openlog(const char* ident, int option, int facility)
{
    printf("openlog ident=%s option=%d facility=%d\n", ident != nullptr ? ident : "(null)", option,
           facility);
    fflush(stdout);
}

void closelog(void)
{
    printf("closelog\n");
    fflush(stdout);
}

void vsyslog(int priority, const char* format, va_list args)
{
    printRecord(priority, format, args);
}

void syslog(int priority, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    printRecord(priority, format, args);
    va_end(args);
}

// Fortified builds route the calls here instead.
void __vsyslog_chk(int priority, int /*flag*/, const char* format, va_list args)
{
    printRecord(priority, format, args);
}

void __syslog_chk(int priority, int /*flag*/, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    printRecord(priority, format, args);
    va_end(args);
}

} // extern "C"

int main(int argc, char** argv)
{
    return probe::runCommands(argc, argv);
}
