#ifndef KAPI_TIMED_H
#define KAPI_TIMED_H
// A repeating timer. schedule(interval) runs timer() on a scheduler worker `interval`
// microseconds later; while timer() returns true it runs again `interval` after each run
// finished. All timers share one timer queue (a TaskProcessor of concurrency 1, see
// kapi/TimerTask.h), so no two timers' timer() calls ever overlap and a slow timer delays the
// others. The timer queue must exist (the "TaskScheduler" node is started).
//
// States: UNSCHEDULED (no pending run) -> SCHEDULED (a timer task is queued or running)
// -> back to UNSCHEDULED when timer() returns false or after deschedule(). reschedule() during
// a run passes through RESCHEDULING, deschedule() during a run through SHUTTING_DOWN. taskId is
// the id of the pending timer task, 0 exactly when UNSCHEDULED. The timer's own mutex guards
// the state; every state change is broadcast on its condition.
//
// All methods may be called from any thread, except that deschedule() (and so destruction)
// must not be called from inside the timer's own timer(): it would wait for itself.
// Destruction deschedules, but by then the derived part is gone: a derived class must call
// deschedule() in its own destructor so that timer() never runs on a half-destroyed object.
#include "kapi/Condition.h"
#include "kapi/KapiTypes.h"
#include "kapi/Mutex.h"

#include <memory>

namespace Kapi {

class Timed
{
public:
    enum State
    {
        UNSCHEDULED = 0,
        SCHEDULED = 1,
        RESCHEDULING = 2,
        SHUTTING_DOWN = 3
    };
    // "UNSCHEDULED", "SCHEDULED", "RESCHEDULING", "SHUTTING_DOWN"; any other "ERROR_STATE".
    static const char* stateToString(int state);

    Timed();
    Timed(const Timed&) = delete;
    Timed& operator=(const Timed&) = delete;

    // Slot order is fixed: destructor, timer.
    virtual ~Timed();
    // Runs on a scheduler worker; true runs it again after another interval.
    virtual bool timer() = 0;

    // Only when UNSCHEDULED: runs timer() `interval` microseconds from now; true when scheduled.
    bool schedule(int64 interval);
    // Stops the timer; if timer() is running, waits until it has returned. False when there was
    // nothing to stop (or another thread is already stopping it).
    bool deschedule();
    // Restarts the pending interval from now (or, during a run, queues the next run as if
    // timer() had returned true). False when UNSCHEDULED or SHUTTING_DOWN.
    bool reschedule();
    // The interval used from the next queueing on.
    void setTimerInterval(int64 interval);

    State getState() const;

private:
    friend class TimerTask;

    // Called by the timer task on a worker: runs timer() and decides what comes next.
    void work();
    // With m_mutex held.
    void changeState_i(State state);
    void createAndQueue_i();

    int64 m_interval = 0;
    uint32 m_taskId = 0;
    std::unique_ptr<Mutex> m_mutex;
    State m_state = UNSCHEDULED;
    std::unique_ptr<Condition> m_cond;
};

} // namespace Kapi

#endif
