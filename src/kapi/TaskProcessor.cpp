// TaskBarrier and TaskProcessor: thin fronts that forward to the scheduler under its mutex.
#include "kapi/TaskProcessor.h"
#include "kapi/TaskScheduler.h"
#include "kapi/vLog.h"

namespace Kapi {

TaskBarrier::TaskBarrier(int limit) : m_limit(limit), m_cond(Condition::New()) {}

TaskBarrier::~TaskBarrier()
{
    drain();
}

void TaskBarrier::drain()
{
    if (TaskScheduler* scheduler = TaskScheduler::getTaskScheduler())
        scheduler->drainBarrier(this);
}

TaskProcessor::TaskProcessor(int concurrency) : TaskBarrier(concurrency)
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "TaskProcessor@%p(concurrency=%u) created",
                    static_cast<void*>(this), static_cast<unsigned>(concurrency));
}

TaskProcessor::~TaskProcessor()
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "TaskProcessor@%p destroyed",
                    static_cast<void*>(this));
    // Here rather than only in ~TaskBarrier: running tasks may still call schedule() on this
    // object while we wait, which needs it to be a whole TaskProcessor.
    drain();
}

void TaskProcessor::schedule(Task* task, int64 when)
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG,
                    "TaskProcessor@%p::schedule(%p, when=%lld) - id=%u", static_cast<void*>(this),
                    static_cast<void*>(task), static_cast<long long>(when),
                    task != nullptr ? task->getId() : 0u);
    if (task == nullptr)
        return;
    TaskScheduler* scheduler = TaskScheduler::getTaskScheduler();
    if (scheduler == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_ERROR))
            vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_ERROR,
                        "TaskProcessor@%p::schedule(): no task scheduler, dropping %s",
                        static_cast<void*>(this), task->toString().c_str());
        delete task;
        return;
    }
    scheduler->schedule(this, std::unique_ptr<Task>(task), when);
}

std::unique_ptr<Task> TaskProcessor::deschedule(unsigned id, bool wait)
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "TaskProcessor::deschedule(%u)", id);
    TaskScheduler* scheduler = TaskScheduler::getTaskScheduler();
    if (scheduler == nullptr)
        return nullptr;
    return scheduler->deschedule_i(id, wait);
}

} // namespace Kapi
