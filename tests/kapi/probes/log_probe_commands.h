#ifndef TESTS_KAPI_PROBES_LOG_PROBE_COMMANDS_H
#define TESTS_KAPI_PROBES_LOG_PROBE_COMMANDS_H
// The command language of the logging probes. Logging reads its environment once, during static
// initialisation, so tests run a probe per environment and drive it from the command line, one
// command per argument; words are separated by single spaces and the last one takes the rest:
//
//   msg S L FORMAT         vLogMessage(S, L, FORMAT, 42, "arg")  (S, L: name or number)
//   guarded S L FORMAT     the same, only when vLogLevelEnabled(S, L)
//   enabled S L            prints 1 or 0
//   enabled-count L        prints how many of the 71 sources are enabled at L
//   level S                prints vLogGetLevel(S)
//   console 0|1 | highres 0|1
//   kksyslog PRI NAME TAG FORMAT        _kkSysLog(PRI, NAME, TAG, FORMAT, 42, "arg")
//   panic FILE LINE ERRNO EXPR          PanicAssertFail with errno set first
//
// With LOGPROBE_STATIC set, a static object logs "logged during static initialisation" when
// constructed and "logged at exit" when destroyed (source core, level notice, guarded); this
// translation unit's static initialisers run before the library's.
// Results go to standard output, one line each; log lines go wherever the back end sends them.
#include "kapi/Log.h"
#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace probe {

inline int32_t parseSource(const std::string& text)
{
    vLogSource source = 0;
    return vLogSourceFromName(text.c_str(), &source) ? source : atoi(text.c_str());
}

inline int32_t parseLevel(const std::string& text)
{
    vLogLevel level = 0;
    return vLogLevelFromName(text.c_str(), &level) ? level : atoi(text.c_str());
}

inline void logWith(vLogSource source, vLogLevel level, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    vLogMessageVar(source, level, format, args);
    va_end(args);
}

struct StaticLogger
{
    StaticLogger() : active(getenv("LOGPROBE_STATIC") != nullptr)
    {
        log("during static initialisation");
    }
    ~StaticLogger() { log("at exit"); }
    void log(const char* when) const
    {
        if (active && vLogLevelEnabled(VLOGSRC_CORE, VLOG_NOTICE))
            vLogMessage(VLOGSRC_CORE, VLOG_NOTICE, "logged %s", when);
    }
    bool active;
};

inline StaticLogger s_staticLogger;

// Runs argv[1..] as commands; returns the exit status.
inline int runCommands(int argc, char** argv)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    static const std::map<std::string, size_t> arity = {
        {"msg", 3},     {"guarded", 3}, {"enabled", 2},  {"enabled-count", 1}, {"level", 1},
        {"console", 1}, {"highres", 1}, {"kksyslog", 4}, {"panic", 4}};
    for (int i = 1; i < argc; ++i) {
        const std::string text = argv[i];
        const std::string command = text.substr(0, text.find(' '));
        const size_t count = arity.count(command) != 0 ? arity.at(command) : 0;
        std::vector<std::string> a; // the arguments
        size_t start = command.size() + 1;
        for (size_t end; a.size() + 1 < count && (end = text.find(' ', start)) != std::string::npos;
             start = end + 1)
            a.push_back(text.substr(start, end - start));
        if (count > 0 && start <= text.size())
            a.push_back(text.substr(start)); // the last takes the rest
        if (count == 0 || a.size() != count) {
            fprintf(stderr, "probe: bad command '%s'\n", argv[i]);
            return 2;
        }
        if (command == "msg" || command == "guarded") {
            const vLogSource source = parseSource(a[0]);
            const vLogLevel level = parseLevel(a[1]);
            if (command == "msg" || vLogLevelEnabled(source, level))
                logWith(source, level, a[2].c_str(), 42, "arg");
        } else if (command == "enabled") {
            printf("%d\n", vLogLevelEnabled(parseSource(a[0]), parseLevel(a[1])) ? 1 : 0);
        } else if (command == "enabled-count") {
            int count = 0;
            for (vLogSource source = 0; source < VLOG_NSOURCES; ++source)
                count += vLogLevelEnabled(source, parseLevel(a[0])) ? 1 : 0;
            printf("%d\n", count);
        } else if (command == "level") {
            printf("%d\n", vLogGetLevel(parseSource(a[0])));
        } else if (command == "console") {
            Kapi::Log::Get()->setLogToConsole(a[0] != "0");
        } else if (command == "highres") {
            Kapi::Log::Get()->setHighRes(a[0] != "0");
        } else if (command == "kksyslog") {
            _kkSysLog(atoi(a[0].c_str()), a[1].c_str(), a[2].c_str(), a[3].c_str(), 42, "arg");
        } else if (command == "panic") {
            const int line = atoi(a[1].c_str());
            fflush(stdout);
            errno = atoi(a[2].c_str());
            Kapi::PanicAssertFail(a[3].c_str(), a[0].c_str(), line);
        }
        fflush(stdout);
    }
    return 0;
#pragma GCC diagnostic pop
}

} // namespace probe

#endif
