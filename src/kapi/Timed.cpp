// Timed: the timer state machine. Lock order: a timer's mutex, then the scheduler's mutex
// (through the timer queue); timer() itself runs with neither held.
#include "kapi/Timed.h"
#include "kapi/Timer.h"
#include "kapi/TimerTask.h"
#include "kapi/vLog.h"

namespace Kapi {

const char* Timed::stateToString(int state)
{
    switch (state) {
    case UNSCHEDULED:
        return "UNSCHEDULED";
    case SCHEDULED:
        return "SCHEDULED";
    case RESCHEDULING:
        return "RESCHEDULING";
    case SHUTTING_DOWN:
        return "SHUTTING_DOWN";
    default:
        return "ERROR_STATE";
    }
}

Timed::Timed() : m_mutex(Mutex::New()), m_cond(Condition::New())
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "Timed@%p created", static_cast<void*>(this));
}

Timed::~Timed()
{
    deschedule();
}

Timed::State Timed::getState() const
{
    MutexLocker lock(*m_mutex);
    return m_state;
}

void Timed::setTimerInterval(int64 interval)
{
    MutexLocker lock(*m_mutex);
    m_interval = interval;
}

void Timed::changeState_i(State state)
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "Timed@%p::changeState(): from %s to %s",
                    static_cast<void*>(this), stateToString(m_state), stateToString(state));
    m_state = state;
    m_cond->broadcast();
}

void Timed::createAndQueue_i()
{
    TaskProcessor* queue = TimerTask::getTimerQueue();
    if (queue == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_ERROR))
            vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_ERROR, "Timed@%p: no timer queue, timer stopped",
                        static_cast<void*>(this));
        m_taskId = 0;
        changeState_i(UNSCHEDULED);
        return;
    }
    TimerTask* task = new TimerTask(this);
    m_taskId = task->getId(); // before schedule(): the task may run and be deleted at once
    queue->schedule(task, Timer::now() + m_interval);
    changeState_i(SCHEDULED);
}

bool Timed::schedule(int64 interval)
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "Timed@%p::schedule(TimeMicroseconds=%llu)",
                    static_cast<void*>(this), static_cast<unsigned long long>(interval));
    MutexLocker lock(*m_mutex);
    if (m_state != UNSCHEDULED)
        return false;
    m_interval = interval;
    createAndQueue_i();
    return m_state == SCHEDULED;
}

void Timed::work()
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "Timed@%p::work() calling timer()",
                    static_cast<void*>(this));
    const bool again = timer();
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "Timed@%p::work() timer() returns %s",
                    static_cast<void*>(this), again ? "true" : "false");

    MutexLocker lock(*m_mutex);
    switch (m_state) {
    case RESCHEDULING:
        createAndQueue_i();
        break;
    case SHUTTING_DOWN:
        m_taskId = 0;
        changeState_i(UNSCHEDULED);
        break;
    case SCHEDULED:
        if (again) {
            createAndQueue_i();
        } else {
            m_taskId = 0;
            changeState_i(UNSCHEDULED);
        }
        break;
    case UNSCHEDULED:
        break; // the timer queue went away while we ran (see deschedule)
    }
}

bool Timed::deschedule()
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "Timed@%p::deschedule()",
                    static_cast<void*>(this));
    MutexLocker lock(*m_mutex);
    switch (m_state) {
    case UNSCHEDULED:
    case SHUTTING_DOWN:
        return false;
    case SCHEDULED: {
        TaskProcessor* queue = TimerTask::getTimerQueue();
        if (queue == nullptr) {
            // Stopping the timer queue dropped our task and waited for any run to end.
            m_taskId = 0;
            changeState_i(UNSCHEDULED);
            return true;
        }
        if (std::unique_ptr<Task> task = queue->deschedule(m_taskId, false)) {
            m_taskId = 0;
            changeState_i(UNSCHEDULED);
            return true;
        }
        changeState_i(SHUTTING_DOWN); // timer() is running now
        break;
    }
    case RESCHEDULING:
        changeState_i(SHUTTING_DOWN);
        break;
    }
    while (m_state != UNSCHEDULED)
        m_cond->wait(m_mutex.get(), kInfinite);
    return true;
}

bool Timed::reschedule()
{
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "Timed@%p::reschedule()",
                    static_cast<void*>(this));
    MutexLocker lock(*m_mutex);
    switch (m_state) {
    case SCHEDULED: {
        TaskProcessor* queue = TimerTask::getTimerQueue();
        if (queue == nullptr)
            return false;
        if (std::unique_ptr<Task> task = queue->deschedule(m_taskId, false)) {
            queue->schedule(std::move(task), Timer::now() + m_interval);
            return true;
        }
        changeState_i(RESCHEDULING); // timer() is running now
        return true;
    }
    case RESCHEDULING:
        return true;
    case UNSCHEDULED:
    case SHUTTING_DOWN:
        return false;
    }
    return false;
}

} // namespace Kapi
