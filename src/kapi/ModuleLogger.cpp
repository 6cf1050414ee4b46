// The logging state, the loggers, and the C log API entries that use them (delivery, level
// queries and level changes).
//
// maxLevels lives in constant-initialised static storage: before the state exists every entry is
// 0, and once it exists every entry is >= 1. vLogLevelEnabled() therefore reads one array entry
// and only on a 0 builds the state, which lets static initialisers of any translation unit log
// with the environment-derived levels. The rest of the state (lock, logger list, default logger)
// is allocated once, published before it is configured (the configuring thread holds the lock,
// so other threads' deliveries wait for it) and never freed.
#include "kapi/ModuleLogger.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pthread.h>
#include <utility>
#include <vector>

namespace Kapi {

namespace {

struct LogState
{
    pthread_mutex_t lock;
    std::vector<ModuleLogger*> loggers; // registration order, no duplicates
    ModuleLogger defaultLogger{Log::Get(), "default"};
};

constinit std::atomic<int32> g_maxLevels[VLOG_NSOURCES] = {};
constinit std::atomic<LogState*> g_state{nullptr};

bool sourceInRange(vLogSource source)
{
    return source >= 0 && source < VLOG_NSOURCES;
}

// Index used to filter a message: out-of-range sources are judged as source 0.
vLogSource filterIndex(vLogSource source)
{
    return sourceInRange(source) ? source : 0;
}

LogState* buildState();

LogState& state()
{
    if (LogState* s = g_state.load(std::memory_order_acquire)) {
        return *s;
    }
    static LogState* const s_state = buildState();
    return *s_state;
}

bool lockLoggers()
{
    const int result = pthread_mutex_lock(&state().lock);
    if (result != 0) {
        fprintf(stderr, "Could not lock SimpleMutex, result=%x\n", static_cast<unsigned>(result));
        return false;
    }
    return true;
}

void unlockLoggers()
{
    const int result = pthread_mutex_unlock(&state().lock);
    if (result != 0) {
        fprintf(stderr, "Could not unlock SimpleMutex, result=%x\n", static_cast<unsigned>(result));
    }
}

LogState* buildState()
{
    LogState* s = new LogState;
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&s->lock, &attr);
    pthread_mutexattr_destroy(&attr);
    for (auto& maxLevel : g_maxLevels) {
        maxLevel.store(VLOG_ERROR, std::memory_order_relaxed);
    }

    // From here on this thread finds the state through g_state; the lock keeps other threads'
    // deliveries waiting until the default logger is configured and registered.
    pthread_mutex_lock(&s->lock);
    g_state.store(s, std::memory_order_release);

    ModuleLogLevels& levels = s->defaultLogger.levels();
    vLogLevel level = VLOG_NONE;
    const char* levelName = getenv("VLOGLEVEL");
    if (levelName == nullptr || !vLogLevelFromName(levelName, &level)) {
        level = VLOG_NONE;
    }
    levels.setLevelAll(level);
    if (const char* multiple = getenv("VLOGMULTIPLE")) {
        levels.setMultipleLevels(multiple);
    }
    ModuleLogger::registerLogger(&s->defaultLogger);

    pthread_mutex_unlock(&s->lock);
    return s;
}

// Read the environment and register the default logger before main() even if nothing logs
// during static initialisation.
[[maybe_unused]] const bool s_stateReady = (state(), true);

} // namespace

// ---- ModuleLogLevels ----

ModuleLogLevels::ModuleLogLevels()
{
    std::fill(std::begin(m_levels), std::end(m_levels), VLOG_ERROR);
}

vLogLevel ModuleLogLevels::level(vLogSource source) const
{
    return m_levels[filterIndex(source)];
}

void ModuleLogLevels::setLevel(vLogSource source, vLogLevel level)
{
    if (!sourceInRange(source) || !lockLoggers()) {
        return;
    }
    m_levels[source] = level;
    ModuleLogger::updateMaxLevels(source, source + 1);
    unlockLoggers();
}

void ModuleLogLevels::setLevelAll(vLogLevel level)
{
    if (!lockLoggers()) {
        return;
    }
    std::fill(std::begin(m_levels), std::end(m_levels), level);
    ModuleLogger::updateMaxLevels(0, VLOG_NSOURCES);
    unlockLoggers();
}

bool ModuleLogLevels::setMultipleLevels(const char* text)
{
    if (text == nullptr) {
        return false;
    }
    const std::string list(text);
    size_t start = 0;
    while (start <= list.size()) {
        size_t end = list.find(',', start);
        if (end == std::string::npos) {
            end = list.size();
        }
        const std::string item = list.substr(start, end - start);
        start = end + 1;
        if (item.empty()) {
            continue;
        }
        const size_t equals = item.find('=');
        if (equals == std::string::npos) {
            return false;
        }
        const std::string sourceName = item.substr(0, equals);
        vLogLevel level = VLOG_NONE;
        if (!vLogLevelFromName(item.c_str() + equals + 1, &level)) {
            return false;
        }
        vLogSource source = 0;
        if (sourceName == "all") {
            setLevelAll(level);
        } else if (vLogSourceFromName(sourceName.c_str(), &source)) {
            setLevel(source, level);
        } else {
            return false;
        }
    }
    return true;
}

// ---- ModuleLogger ----

ModuleLogger::ModuleLogger(Log* log, std::string name) : m_log(log), m_name(std::move(name)) {}

ModuleLogger::~ModuleLogger()
{
    unregisterLogger(this);
}

ModuleLogger::LoggersLock::LoggersLock() : m_locked(lockLoggers()) {}

ModuleLogger::LoggersLock::~LoggersLock()
{
    if (m_locked) {
        unlockLoggers();
    }
}

void ModuleLogger::registerLogger(ModuleLogger* logger)
{
    if (logger == nullptr || !lockLoggers()) {
        return;
    }
    std::vector<ModuleLogger*>& loggers = state().loggers;
    if (std::find(loggers.begin(), loggers.end(), logger) == loggers.end()) {
        loggers.push_back(logger);
    }
    updateMaxLevels(0, VLOG_NSOURCES);
    unlockLoggers();
}

void ModuleLogger::unregisterLogger(ModuleLogger* logger)
{
    if (!lockLoggers()) {
        return;
    }
    std::vector<ModuleLogger*>& loggers = state().loggers;
    auto found = std::find(loggers.begin(), loggers.end(), logger);
    if (found != loggers.end()) {
        loggers.erase(found);
    }
    updateMaxLevels(0, VLOG_NSOURCES);
    unlockLoggers();
}

ModuleLogger* ModuleLogger::getLoggerByName_i(const std::string& name)
{
    const std::vector<ModuleLogger*>& loggers = state().loggers;
    if (name.empty()) {
        return loggers.empty() ? nullptr : loggers.front();
    }
    for (ModuleLogger* logger : loggers) {
        if (logger->m_name == name) {
            return logger;
        }
    }
    return nullptr;
}

void ModuleLogger::updateMaxLevels(vLogSource from, vLogSource to)
{
    from = std::max<vLogSource>(from, 0);
    to = std::min<vLogSource>(to, VLOG_NSOURCES);
    if (!lockLoggers()) {
        return;
    }
    const std::vector<ModuleLogger*>& loggers = state().loggers;
    for (vLogSource source = from; source < to; ++source) {
        vLogLevel maxLevel = VLOG_ERROR;
        for (const ModuleLogger* logger : loggers) {
            maxLevel = std::max(maxLevel, logger->m_levels.level(source));
        }
        g_maxLevels[source].store(maxLevel, std::memory_order_relaxed);
    }
    unlockLoggers();
}

ModuleLogger* ModuleLogger::defaultLogger()
{
    return &state().defaultLogger;
}

} // namespace Kapi

// ---- C API ----

using Kapi::g_maxLevels;
using Kapi::Log;
using Kapi::ModuleLogger;

extern "C" {

vLogLevel vLogGetLevel(vLogSource source)
{
    const vLogSource index = Kapi::filterIndex(source);
    const vLogLevel maxLevel = g_maxLevels[index].load(std::memory_order_relaxed);
    if (maxLevel >= VLOG_ERROR) {
        return maxLevel;
    }
    Kapi::state(); // first use, during static initialisation
    return g_maxLevels[index].load(std::memory_order_relaxed);
}

bool vLogLevelEnabled(vLogSource source, vLogLevel level)
{
    const vLogSource index = Kapi::filterIndex(source);
    const vLogLevel maxLevel = g_maxLevels[index].load(std::memory_order_relaxed);
    if (maxLevel >= VLOG_ERROR) {
        return maxLevel >= level;
    }
    return vLogGetLevel(source) >= level;
}

void vLogMessage(vLogSource source, vLogLevel level, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    vLogMessageVar(source, level, format, args);
    va_end(args);
}

void vLogMessageVar(vLogSource source, vLogLevel level, const char* format, va_list args)
{
    const Log::Priority priority = (level >= VLOG_ERROR && level <= VLOG_DEBUG)
                                       ? static_cast<Log::Priority>(level - 1)
                                       : Log::PRIO_ERROR;
    const char* sourceName = vLogSourceName(source);
    const vLogSource index = Kapi::filterIndex(source);
    if (!Kapi::lockLoggers()) {
        return;
    }
    // Indexed, so that a back end registering or unregistering a logger while it delivers (the
    // lock is recursive) cannot invalidate the walk.
    const std::vector<ModuleLogger*>& loggers = Kapi::state().loggers;
    for (size_t i = 0; i < loggers.size(); ++i) {
        ModuleLogger* logger = loggers[i];
        if (logger->levels().level(index) >= level) {
            va_list copy;
            va_copy(copy, args);
            logger->log()->vlog(sourceName, priority, format, copy);
            va_end(copy);
        }
    }
    Kapi::unlockLoggers();
}

void vLogSetLevel(vLogSource source, vLogLevel level)
{
    ModuleLogger::defaultLogger()->levels().setLevel(source, level);
}

void vLogSetLevelAll(vLogLevel level)
{
    ModuleLogger::defaultLogger()->levels().setLevelAll(level);
}

bool vLogSetMultipleLevels(const char* levelList)
{
    if (levelList == nullptr) {
        return false;
    }
    std::string loggerName;
    const char* levels = levelList;
    if (const char* colon = strchr(levelList, ':')) {
        loggerName.assign(levelList, colon);
        levels = colon + 1;
    }
    ModuleLogger::LoggersLock lock;
    ModuleLogger* logger = ModuleLogger::getLoggerByName_i(loggerName);
    if (logger == nullptr) {
        return false;
    }
    return logger->levels().setMultipleLevels(levels);
}

} // extern "C"
