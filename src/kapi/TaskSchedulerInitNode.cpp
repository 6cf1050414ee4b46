// The "TaskScheduler" start-up node: owns the scheduler between start() and stop().
#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/TimerTask.h"
#include "kapi/vConfig.h"
#include "kapi/vLog.h"

namespace Kapi {

TaskSchedulerInitNode::TaskSchedulerInitNode() : InitNode("TaskScheduler") {}

TaskSchedulerInitNode* TaskSchedulerInitNode::getInstance()
{
    // Created on first use and never destroyed: a scheduler still running at exit keeps its
    // workers, rather than being torn down under them by a static destructor.
    static TaskSchedulerInitNode* const s_node = new TaskSchedulerInitNode();
    return s_node;
}

bool TaskSchedulerInitNode::start(const vConfig& config)
{
    if (m_scheduler != nullptr)
        return true; // already running from an earlier start
    uint32 cpuTasks = 0;
    uint32 ioTasks = 0;
    const bool read =
        config.getSingleUInteger32Value("misc", "taskSchedulerCpuTasks", cpuTasks, 1) &&
        config.getSingleUInteger32Value("misc", "taskSchedulerIoTasks", ioTasks, 16);
    if (!read || cpuTasks == 0 || ioTasks == 0) {
        if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_ERROR))
            vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_ERROR,
                        "TaskSchedulerInitNode::start(): misc/taskSchedulerCpuTasks and "
                        "misc/taskSchedulerIoTasks must be positive numbers");
        return false;
    }
    m_scheduler =
        std::make_unique<TaskScheduler>(static_cast<int>(cpuTasks), static_cast<int>(ioTasks));
    TimerTask::start();
    return true;
}

bool TaskSchedulerInitNode::stop()
{
    TimerTask::stop();
    m_scheduler.reset();
    return true;
}

int TaskSchedulerInitNode::getMaxTasks(Task::Category category) const
{
    return m_scheduler != nullptr ? m_scheduler->getMaxTasks(category) : 0;
}

namespace {

// The node exists from static initialisation on, like every start-up node.
[[maybe_unused]] TaskSchedulerInitNode* const s_created = TaskSchedulerInitNode::getInstance();

} // namespace

} // namespace Kapi
