// Level lists arrive from the service and the remote console: "[logger:]source=level,...".
// Any text must leave every level a valid level name's value, keep maxLevels equal to the largest
// registered level but never below error, and never touch the loggers it does not name.
#include "kapi/Log.h"
#include "kapi/ModuleLogger.h"
#include "kapi/vLog.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Kapi::DiscardingLog s_backEnd;
    static Kapi::ModuleLogger s_target(&s_backEnd, "fuzz");
    static Kapi::ModuleLogger s_bystander(&s_backEnd, "bystander");
    static const bool s_registered = [] {
        vLogSetLevelAll(VLOG_NONE);
        Kapi::ModuleLogger::registerLogger(&s_target);
        Kapi::ModuleLogger::registerLogger(&s_bystander);
        return true;
    }();
    (void)s_registered;
    s_target.levels().setLevelAll(VLOG_WARNING);
    s_bystander.levels().setLevelAll(VLOG_NONE);

    const std::string text(reinterpret_cast<const char*>(data), size);
    // Aim most inputs at the fuzz logger; texts naming another logger exercise the lookup.
    const std::string levelList = text.find(':') == std::string::npos ? "fuzz:" + text : text;
    vLogSetMultipleLevels(levelList.c_str());

    for (vLogSource source = 0; source < VLOG_NSOURCES; ++source) {
        Kapi::ModuleLogger::LoggersLock lock;
        const vLogLevel level = s_target.levels().level(source);
        const vLogLevel other = s_bystander.levels().level(source);
        const vLogLevel fallback = Kapi::ModuleLogger::defaultLogger()->levels().level(source);
        if (level < VLOG_NONE || level > VLOG_DEBUG || other < VLOG_NONE || other > VLOG_DEBUG ||
            fallback < VLOG_NONE || fallback > VLOG_DEBUG) {
            abort();
        }
        vLogLevel expected = VLOG_ERROR;
        for (vLogLevel l : {level, other, fallback}) {
            expected = l > expected ? l : expected;
        }
        if (vLogGetLevel(source) != expected) {
            abort();
        }
    }
    vLogSetLevelAll(VLOG_NONE);
    return 0;
}
