#ifndef KAPI_TASKTUNABLES_H
#define KAPI_TASKTUNABLES_H
// The scheduler's diagnostic tunables, read once from the environment during static
// initialisation (or on first use, if that comes earlier) and constant afterwards:
//   KKTASKWARNINGTHRESHOLD    initial queue length that logs a warning (default 200)
//   KKTASKASSERTTHRESHOLD     queue length that ends the process (default 10000)
//   KKDUMPTASKQUEUE           set: dump the queue before ending the process
//   KKDUMPTASKQUEUEBACKTRACE  set: record where every task was scheduled, and dump that too
// The thresholds are decimal integers; an absent, empty or unreadable value gives the default.
#include "kapi/KapiTypes.h"

namespace Kapi {

struct TaskTunables
{
    uint32 warningThreshold; // TASK_WARNING_THRESHOLD
    uint32 assertThreshold;  // TASK_ASSERT_THRESHOLD
    bool dumpTaskQueue;      // DUMPTASKQUEUE
    bool dumpTaskQueueBacktrace;
};

const TaskTunables& taskTunables();

} // namespace Kapi

#endif
