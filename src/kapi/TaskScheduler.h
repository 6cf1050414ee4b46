#ifndef KAPI_TASKSCHEDULER_H
#define KAPI_TASKSCHEDULER_H
// The process's pool of worker threads ("scheduler.run") that run tasks.
//
// Representation: one queue of (due, task) pairs kept sorted by due time, equal due times in
// scheduling order. A worker starts the first queued task whose barrier runs fewer tasks than
// its limit and whose category runs fewer than the category's limit (maxTasks: CPU, I/O), once
// it is due within 16 ms. One mutex guards the queue, the per-category counters, the ids of the
// running tasks and the counters of every barrier; tasks run without it.
//
// The queue length is watched: reaching twice the current warning level doubles the level and
// logs a warning; shrinking to half of a raised level halves it again. A queue that reaches
// TASK_ASSERT_THRESHOLD at a doubling ends the process (kapi/TaskTunables.h).
//
// There is at most one scheduler; constructing it makes it the instance that
// getTaskScheduler() returns, destroying it clears that. Construct and destroy it on one thread
// (the start-up node does), not from a task.
#include "kapi/Condition.h"
#include "kapi/KapiTypes.h"
#include "kapi/Mutex.h"
#include "kapi/Runnable.h"
#include "kapi/Task.h"
#include "kapi/Thread.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace Kapi {

class TaskBarrier;

class TaskScheduler : public Runnable
{
public:
    // Starts cpuTasks + ioTasks worker threads named "scheduler.run" at priority 4 (nice 5).
    TaskScheduler(int cpuTasks, int ioTasks);
    // Stops the workers after their current task and deletes every task still queued.
    ~TaskScheduler() override;
    TaskScheduler(const TaskScheduler&) = delete;
    TaskScheduler& operator=(const TaskScheduler&) = delete;

    // The process's scheduler, or null when none exists.
    static TaskScheduler* getTaskScheduler();

    // The worker loop; returns 0 when the scheduler stops.
    int main() override;

    // How many tasks of the category may run at once (0 for an unknown category).
    int getMaxTasks(Task::Category category) const;
    // The current warning level and queue length, for diagnostics.
    uint32 getWarningThreshold() const;
    size_t getQueueLength() const;

private:
    friend class TaskBarrier;
    friend class TaskProcessor;

    typedef std::deque<std::pair<int64, std::unique_ptr<Task>>> Queue;

    void schedule(TaskBarrier* barrier, std::unique_ptr<Task> task, int64 when);
    std::unique_ptr<Task> deschedule_i(unsigned id, bool wait);
    void drainBarrier(TaskBarrier* barrier);

    // The methods below run with m_mutex held.
    void schedule_i(std::unique_ptr<Task> task);
    // Erases the entry and applies the shrink rule; returns the entry that followed it.
    Queue::iterator removeTaskFromQ_i(Queue::iterator entry);
    // The first entry that both limits allow to start, or end().
    Queue::iterator findStartable_i();
    [[noreturn]] void criticalLimitReached_i(size_t length);

    uint32 m_warningThreshold;
    std::set<uint32> m_runningIds;
    int m_maxTasks[Task::NUM_CATEGORIES];
    int m_runningCount[Task::NUM_CATEGORIES] = {0, 0};
    Queue m_queue;
    std::unique_ptr<Mutex> m_mutex;
    std::unique_ptr<Condition> m_workCond;
    bool m_stopping = false;
    std::vector<std::unique_ptr<Thread>> m_threads;
    std::unique_ptr<Condition> m_doneCond;
};

} // namespace Kapi

#endif
