// The logging probe with the system logger replaced: this executable defines openlog, vsyslog
// (the only entry the library logs through) and closelog itself, so the library's calls bind to
// these definitions, which print to standard output what the system logger would have received,
// one line each (a newline inside a text is printed as "\n"):
//   openlog ident=<ident|(null)> option=<n> facility=<n>
//   syslog <priority> <expanded text>
//   format <format as received>
//   closelog
#include "log_probe_commands.h"

#include <string>
#include <syslog.h>

namespace {

void printLine(const char* head, const std::string& text)
{
    std::string escaped;
    for (const char c : text)
        escaped += c == '\n' ? std::string("\\n") : std::string(1, c);
    printf("%s %s\n", head, escaped.c_str());
    fflush(stdout);
}

void printRecord(int priority, const char* format, va_list args)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    char text[4096];
    vsnprintf(text, sizeof(text), format, args);
#pragma GCC diagnostic pop
    printLine(("syslog " + std::to_string(priority)).c_str(), text);
    printLine("format", format);
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

// Fortified builds route the call here instead.
void __vsyslog_chk(int priority, int /*flag*/, const char* format, va_list args)
{
    printRecord(priority, format, args);
}

} // extern "C"

int main(int argc, char** argv)
{
    return probe::runCommands(argc, argv);
}
