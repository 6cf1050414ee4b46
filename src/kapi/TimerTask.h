#ifndef KAPI_TIMERTASK_H
#define KAPI_TIMERTASK_H
// One pending run of a Kapi::Timed: an I/O task of type 2 whose work() runs the timer.
// All timer tasks go through the class-wide timer queue, a TaskProcessor of concurrency 1 that
// exists between TimerTask::start() and TimerTask::stop() (called by the "TaskScheduler" node
// after creating / before deleting the scheduler). Timers must be descheduled before stop().
#include "kapi/Task.h"
#include "kapi/TaskProcessor.h"

#include <atomic>

namespace Kapi {

class Timed;

class TimerTask : public IOTask
{
public:
    static constexpr TypeID kType = 2;

    // `timed` is not owned; it outlives the task (deschedule() removes or waits for it).
    explicit TimerTask(Timed* timed);
    void work() override;

    // Creates the timer queue (once).
    static void start();
    // Deletes the timer queue: queued timer tasks are dropped, a running one is waited for.
    static void stop();
    // The timer queue, or null outside start()..stop().
    static TaskProcessor* getTimerQueue() { return m_timerq.load(); }

private:
    Timed* m_timed;
    static std::atomic<TaskProcessor*> m_timerq; // owned; set by start(), deleted by stop()
};

} // namespace Kapi

#endif
