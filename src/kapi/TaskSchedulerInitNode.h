#ifndef KAPI_TASKSCHEDULERINITNODE_H
#define KAPI_TASKSCHEDULERINITNODE_H
// The start-up node "TaskScheduler" (no dependencies). start() reads the worker counts from
// section "misc": "taskSchedulerCpuTasks" (default 1) and "taskSchedulerIoTasks" (default 16);
// a value that does not read as an unsigned number, or 0, fails the start. Otherwise it creates
// the process's TaskScheduler and the timer queue. stop() deletes the timer queue, then the
// scheduler. Like every node, it is driven by one runner thread at a time.
#include "kapi/InitNode.h"
#include "kapi/Task.h"
#include "kapi/TaskScheduler.h"

#include <memory>

namespace Kapi {

class TaskSchedulerInitNode : public Init::InitNode
{
public:
    static TaskSchedulerInitNode* getInstance();

    bool start(const vConfig& config) override;
    bool stop() override;

    // The running scheduler's limit for the category; 0 while stopped.
    int getMaxTasks(Task::Category category) const;

private:
    TaskSchedulerInitNode();

    std::unique_ptr<TaskScheduler> m_scheduler;
};

} // namespace Kapi

#endif
