#ifndef KAPI_MODULELOGGER_H
#define KAPI_MODULELOGGER_H
// Loggers: a back end (Kapi::Log) plus one level per log source. vLogMessage() (kapi/vLog.h)
// hands a message to every registered logger, in registration order, whose level for the
// message's source is >= the message level.
//
// Process-wide state, all guarded by one recursive lock (so a back end may log while a message is
// being delivered):
//   - the registered loggers, in registration order, each at most once;
//   - maxLevels: per source, the largest level of any registered logger but never below 1
//     (VLOG_ERROR), read without the lock by vLogLevelEnabled();
//   - the default logger "default" over Kapi::Log::Get(), registered during static
//     initialisation with all its levels from VLOGLEVEL (a level name; "none" when unset or not a
//     name), then VLOGMULTIPLE (a level list) applied on top.
// The state is created on first use, whichever translation unit's static initialiser comes
// first, and is never destroyed, so logging works during static initialisation and at exit.
//
// A source number outside 0..70 is named "unknownSource" and filtered with the levels of source 0.
#include "kapi/KapiTypes.h"
#include "kapi/Log.h"
#include "kapi/vLog.h"

#include <string>

namespace Kapi {

class ModuleLogLevels
{
public:
    ModuleLogLevels(); // every source at VLOG_ERROR

    // The level for `source` (source 0's level for an out-of-range number). Read it under
    // ModuleLogger::LoggersLock when the levels belong to a registered logger.
    vLogLevel level(vLogSource source) const;

    // Each stores under the loggers lock and recomputes maxLevels for the sources touched.
    // Levels are stored as given (a level above VLOG_DEBUG admits everything); an out-of-range
    // source is ignored.
    void setLevel(vLogSource source, vLogLevel level);
    void setLevelAll(vLogLevel level);

    // Applies "source=level,source=level,..." in order. A level is a level name ("none" ..
    // "debug"); a source is a source name or "all". Empty items are skipped. The first item
    // without "=" or with an unknown name stops processing and gives false; items before it
    // stay applied. Null gives false.
    bool setMultipleLevels(const char* text);

private:
    int32 m_levels[VLOG_NSOURCES];
};

class ModuleLogger
{
public:
    // `log` is not owned and must outlive the logger's registration.
    ModuleLogger(Log* log, std::string name);
    ~ModuleLogger(); // unregisters itself if still registered
    ModuleLogger(const ModuleLogger&) = delete;
    ModuleLogger& operator=(const ModuleLogger&) = delete;

    Log* log() const { return m_log; }
    ModuleLogLevels& levels() { return m_levels; }
    const ModuleLogLevels& levels() const { return m_levels; }
    const std::string& name() const { return m_name; }

    // Holds the loggers lock for its lifetime (recursive: may be nested and may log).
    class LoggersLock
    {
    public:
        LoggersLock();
        ~LoggersLock();
        LoggersLock(const LoggersLock&) = delete;
        LoggersLock& operator=(const LoggersLock&) = delete;

    private:
        bool m_locked;
    };

    // Appends unless already registered; recomputes maxLevels for every source.
    static void registerLogger(ModuleLogger* logger);
    // Removes the first occurrence, if any; recomputes maxLevels for every source.
    static void unregisterLogger(ModuleLogger* logger);
    // The first registered logger with that name ("" selects the first logger), or null. The
    // caller holds a LoggersLock for as long as it uses the result.
    static ModuleLogger* getLoggerByName_i(const std::string& name);
    // maxLevels[s] = max(1, levels[s] of every registered logger) for s in [from, to).
    static void updateMaxLevels(vLogSource from, vLogSource to);
    // The logger "default" (never null, never destroyed).
    static ModuleLogger* defaultLogger();

private:
    Log* m_log;
    ModuleLogLevels m_levels;
    std::string m_name;
};

} // namespace Kapi

#endif
