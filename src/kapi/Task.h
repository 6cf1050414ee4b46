#ifndef KAPI_TASK_H
#define KAPI_TASK_H
// A unit of background work for the task scheduler. A task is created by its owner, handed to a
// Kapi::TaskProcessor (which takes ownership), queued by the scheduler until due, run once by a
// worker thread through work() and then deleted by that worker. Taken back with
// TaskProcessor::deschedule() before it starts, it belongs to the caller again.
//
// Every task has a process-wide unique id, taken from a counter under a mutex at construction
// (the first task of the process gets 2; 0 is never an id). The processor, due time and
// backtrace are written by the scheduler under its mutex while the task is queued; the owner
// must not read them concurrently.
#include "kapi/KapiTypes.h"

#include <memory>
#include <string>

namespace Kapi {

class Backtrace;
class TaskBarrier;

class Task
{
public:
    // Which per-category limit of the scheduler applies.
    enum Category
    {
        CATEGORY_CPU = 0,
        CATEGORY_IO = 1,
        NUM_CATEGORIES = 2
    };
    // A code chosen by the task's owner, shown in toString().
    typedef unsigned TypeID;

    Task(Category category, TypeID type);
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    // Slot order is fixed: destructor, work, toString.
    virtual ~Task();
    // Runs on a scheduler worker, without the scheduler's lock.
    virtual void work() = 0;
    // "[Task: category=%u, type=%u, due=%llu]"
    virtual std::string toString() const;

    Category getCategory() const { return m_category; }
    TypeID getType() const { return m_type; }
    uint32 getId() const { return m_id; }
    // Absolute monotonic microseconds; 0 until scheduled.
    int64 getDue() const { return m_due; }
    // The barrier the task was scheduled through; null until scheduled.
    TaskBarrier* getProcessor() const { return m_processor; }
    // Where the task was scheduled from, when KKDUMPTASKQUEUEBACKTRACE is set; else null.
    const Backtrace* getBacktrace() const { return m_backtrace.get(); }

private:
    friend class TaskProcessor;
    friend class TaskScheduler;

    Category m_category;
    TypeID m_type;
    TaskBarrier* m_processor = nullptr;
    int64 m_due = 0;
    std::unique_ptr<Backtrace> m_backtrace;
    uint32 m_id;
};

// A task of the I/O category; the base of timer tasks.
class IOTask : public Task
{
public:
    explicit IOTask(TypeID type) : Task(CATEGORY_IO, type) {}
};

} // namespace Kapi

#endif
