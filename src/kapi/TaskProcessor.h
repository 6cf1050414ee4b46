#ifndef KAPI_TASKPROCESSOR_H
#define KAPI_TASKPROCESSOR_H
// Entry points to the process's task scheduler (kapi/TaskScheduler.h).
//
// A TaskBarrier limits how many of its tasks the scheduler runs at once; its counters and
// condition are guarded by the scheduler's mutex. A TaskProcessor is the barrier through which
// tasks are scheduled. Tasks of one processor start in due-time order (equal due times in
// scheduling order); with a limit of 1 they run strictly one after another.
//
// Destroying a barrier deletes its queued tasks unrun and waits for its running tasks to finish,
// so it must not be destroyed from inside one of its own tasks. Every method may be called from
// any thread while the scheduler exists; without a scheduler, schedule() deletes the task and
// logs an error, and destruction has nothing to wait for.
#include "kapi/Condition.h"
#include "kapi/KapiTypes.h"
#include "kapi/Task.h"

#include <memory>

namespace Kapi {

class TaskBarrier
{
public:
    explicit TaskBarrier(int limit);
    virtual ~TaskBarrier();
    TaskBarrier(const TaskBarrier&) = delete;
    TaskBarrier& operator=(const TaskBarrier&) = delete;

    int getLimit() const { return m_limit; }

protected:
    // Deletes the queued tasks of this barrier and waits until none runs. Idempotent.
    void drain();

private:
    friend class TaskScheduler;

    const int m_limit;
    int m_running = 0;                 // guarded by the scheduler's mutex
    std::unique_ptr<Condition> m_cond; // signalled when a task of this barrier starts or ends
};

class TaskProcessor : public TaskBarrier
{
public:
    // Runs at most `concurrency` of its tasks at once.
    explicit TaskProcessor(int concurrency);
    ~TaskProcessor() override;

    // Takes ownership of `task` and queues it to run at `when` (absolute monotonic
    // microseconds; Kapi::Timer::now() for "now").
    virtual void schedule(Task* task, int64 when);
    void schedule(std::unique_ptr<Task> task, int64 when) { schedule(task.release(), when); }

    // Takes a queued task with that id off the queue and returns it (the caller owns it again).
    // A task that is not queued gives null; if it is running and `wait` is true, that happens only
    // after it has finished. Must not wait for the calling task itself.
    std::unique_ptr<Task> deschedule(unsigned id, bool wait);
};

} // namespace Kapi

#endif
