// Reading the scheduler tunables. A function-local static makes the values available to any
// caller; the namespace-scope reference below forces the read during static initialisation, so
// later changes to the environment have no effect.
#include "kapi/TaskTunables.h"
#include "kapi/StringUtil.h"

#include <cstdlib>

namespace Kapi {

namespace {

uint32 readThreshold(const char* name, uint32 defaultValue)
{
    const char* text = getenv(name);
    uint32 value = 0;
    if (text == nullptr || text[0] == '\0' || !StringUtil::asUInteger32(text, value, 10))
        return defaultValue;
    return value;
}

TaskTunables readTunables()
{
    TaskTunables tunables;
    tunables.warningThreshold = readThreshold("KKTASKWARNINGTHRESHOLD", 200);
    tunables.assertThreshold = readThreshold("KKTASKASSERTTHRESHOLD", 10000);
    tunables.dumpTaskQueue = getenv("KKDUMPTASKQUEUE") != nullptr;
    tunables.dumpTaskQueueBacktrace = getenv("KKDUMPTASKQUEUEBACKTRACE") != nullptr;
    return tunables;
}

} // namespace

const TaskTunables& taskTunables()
{
    static const TaskTunables s_tunables = readTunables();
    return s_tunables;
}

namespace {
[[maybe_unused]] const TaskTunables& s_readAtStart = taskTunables();
} // namespace

} // namespace Kapi
