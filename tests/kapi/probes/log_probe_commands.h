#ifndef TESTS_KAPI_PROBES_LOG_PROBE_COMMANDS_H
#define TESTS_KAPI_PROBES_LOG_PROBE_COMMANDS_H
// The command language of the logging probes. Logging reads its environment once, during static
// initialisation, so tests run a probe per environment and drive it from the command line:
//
//   msg S L FORMAT         vLogMessage(S, L, FORMAT, 42, "arg")  (S, L: name or number)
//   guarded S L FORMAT     the same, only when vLogLevelEnabled(S, L)
//   enabled S L            prints 1 or 0
//   enabled-count L        prints how many of the 71 sources are enabled at L
//   level S                prints vLogGetLevel(S)
//   setlevel S L | setall L | multi LIST (prints true/false)
//   console 0|1 | highres 0|1           the back end's switches
//   kksyslog PRI NAME TAG FORMAT        _kkSysLog(PRI, NAME, TAG, FORMAT, 42, "arg")
//   panic EXPR FILE LINE ERRNO          PanicAssertFail with errno set first
//   unlock-unheld                       releases a mutex nobody holds
//
// With LOGPROBE_STATIC set, a static object logs "logged during static initialisation" when
// constructed and "logged at exit" when destroyed (source core, level notice, guarded); this
// translation unit's static initialisers run before the library's.
// Results go to standard output, one line each; log lines go wherever the back end sends them.
#include "kapi/Log.h"
#include "kapi/Mutex.h"
#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace probe {

inline int32_t parseSource(const char* text)
{
    vLogSource source = 0;
    return vLogSourceFromName(text, &source) ? source : atoi(text);
}

inline int32_t parseLevel(const char* text)
{
    vLogLevel level = 0;
    return vLogLevelFromName(text, &level) ? level : atoi(text);
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
        if (active && vLogLevelEnabled(VLOGSRC_CORE, VLOG_NOTICE)) {
            vLogMessage(VLOGSRC_CORE, VLOG_NOTICE, "logged during static initialisation");
        }
    }
    ~StaticLogger()
    {
        if (active && vLogLevelEnabled(VLOGSRC_CORE, VLOG_NOTICE)) {
            vLogMessage(VLOGSRC_CORE, VLOG_NOTICE, "logged at exit");
        }
    }
    bool active;
};

inline StaticLogger s_staticLogger;

inline void usage(const char* what)
{
    fprintf(stderr, "probe: bad command line at '%s'\n", what);
    exit(2);
}

// Runs argv[1..] as commands; returns the exit status.
inline int runCommands(int argc, char** argv)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    int i = 1;
    while (i < argc) {
        const char* command = argv[i++];
        auto need = [&](int count) {
            if (i + count > argc) {
                usage(command);
            }
        };
        if (strcmp(command, "msg") == 0 || strcmp(command, "guarded") == 0) {
            need(3);
            const vLogSource source = parseSource(argv[i]);
            const vLogLevel level = parseLevel(argv[i + 1]);
            const char* format = argv[i + 2];
            i += 3;
            if (command[0] == 'm' || vLogLevelEnabled(source, level)) {
                logWith(source, level, format, 42, "arg");
            }
        } else if (strcmp(command, "enabled") == 0) {
            need(2);
            printf("%d\n", vLogLevelEnabled(parseSource(argv[i]), parseLevel(argv[i + 1])) ? 1 : 0);
            i += 2;
        } else if (strcmp(command, "enabled-count") == 0) {
            need(1);
            const vLogLevel level = parseLevel(argv[i++]);
            int count = 0;
            for (vLogSource source = 0; source < VLOG_NSOURCES; ++source) {
                count += vLogLevelEnabled(source, level) ? 1 : 0;
            }
            printf("%d\n", count);
        } else if (strcmp(command, "level") == 0) {
            need(1);
            printf("%d\n", vLogGetLevel(parseSource(argv[i++])));
        } else if (strcmp(command, "setlevel") == 0) {
            need(2);
            vLogSetLevel(parseSource(argv[i]), parseLevel(argv[i + 1]));
            i += 2;
        } else if (strcmp(command, "setall") == 0) {
            need(1);
            vLogSetLevelAll(parseLevel(argv[i++]));
        } else if (strcmp(command, "multi") == 0) {
            need(1);
            printf("%s\n", vLogSetMultipleLevels(argv[i++]) ? "true" : "false");
        } else if (strcmp(command, "console") == 0) {
            need(1);
            Kapi::Log::Get()->setLogToConsole(atoi(argv[i++]) != 0);
        } else if (strcmp(command, "highres") == 0) {
            need(1);
            Kapi::Log::Get()->setHighRes(atoi(argv[i++]) != 0);
        } else if (strcmp(command, "kksyslog") == 0) {
            need(4);
            _kkSysLog(atoi(argv[i]), argv[i + 1], argv[i + 2], argv[i + 3], 42, "arg");
            i += 4;
        } else if (strcmp(command, "panic") == 0) {
            need(4);
            const char* expression = argv[i];
            const char* file = argv[i + 1];
            const int line = atoi(argv[i + 2]);
            fflush(stdout);
            errno = atoi(argv[i + 3]);
            Kapi::PanicAssertFail(expression, file, line);
        } else if (strcmp(command, "unlock-unheld") == 0) {
            fflush(stdout);
            std::unique_ptr<Kapi::Mutex> mutex = Kapi::Mutex::New(false);
            mutex->release();
        } else {
            usage(command);
        }
        fflush(stdout);
    }
    return 0;
#pragma GCC diagnostic pop
}

} // namespace probe

#endif
