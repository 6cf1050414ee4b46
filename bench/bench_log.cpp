// The price of a log call site. A disabled message behind vLogLevelEnabled costs one array read;
// an unguarded vLogMessage to a level no logger admits still takes the loggers lock and walks the
// loggers; an enabled message to a back end that discards what it gets adds the virtual call and
// argument hand-over (no formatting). The default logger is set to "none" so the environment of
// the run cannot change the figures; each benchmark reports ns per call as its time.
#include "kapi/Log.h"
#include "kapi/ModuleLogger.h"
#include "kapi/vLog.h"

#include <benchmark/benchmark.h>

namespace {

void quietDefaultLogger()
{
    vLogSetLevelAll(VLOG_NONE);
}

void BM_DisabledGuarded(benchmark::State& state)
{
    quietDefaultLogger();
    int value = 0;
    for (auto _ : state) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG)) {
            vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "value %d", value);
        }
        benchmark::DoNotOptimize(++value);
    }
}
BENCHMARK(BM_DisabledGuarded);

void BM_DisabledUnguarded(benchmark::State& state)
{
    quietDefaultLogger();
    int value = 0;
    for (auto _ : state) {
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "value %d", value);
        benchmark::DoNotOptimize(++value);
    }
}
BENCHMARK(BM_DisabledUnguarded);

void BM_EnabledToNullBackEnd(benchmark::State& state)
{
    quietDefaultLogger();
    Kapi::DiscardingLog backEnd;
    Kapi::ModuleLogger logger(&backEnd, "null");
    logger.levels().setLevelAll(VLOG_NONE);
    logger.levels().setLevel(VLOGSRC_APP, VLOG_DEBUG);
    Kapi::ModuleLogger::registerLogger(&logger);
    int value = 0;
    for (auto _ : state) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG)) {
            vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "value %d", value);
        }
        benchmark::DoNotOptimize(++value);
    }
    Kapi::ModuleLogger::unregisterLogger(&logger);
}
BENCHMARK(BM_EnabledToNullBackEnd);

// Contention: the same enabled call from several threads at once serialises on the loggers lock.
void BM_EnabledToNullBackEndThreaded(benchmark::State& state)
{
    static Kapi::DiscardingLog s_backEnd;
    static Kapi::ModuleLogger* s_logger = nullptr;
    if (state.thread_index() == 0) {
        quietDefaultLogger();
        s_logger = new Kapi::ModuleLogger(&s_backEnd, "null-threaded");
        s_logger->levels().setLevelAll(VLOG_NONE);
        s_logger->levels().setLevel(VLOGSRC_APP, VLOG_DEBUG);
        Kapi::ModuleLogger::registerLogger(s_logger);
    }
    int value = 0;
    for (auto _ : state) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG)) {
            vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "value %d", value);
        }
        benchmark::DoNotOptimize(++value);
    }
    if (state.thread_index() == 0) {
        delete s_logger; // unregisters
        s_logger = nullptr;
    }
}
BENCHMARK(BM_EnabledToNullBackEndThreaded)->Threads(1)->Threads(2)->Threads(4);

} // namespace
