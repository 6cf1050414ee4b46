// The timer task and the class-wide timer queue. stop() unpublishes the queue before deleting
// it, so no timer can queue into a processor that is being destroyed.
#include "kapi/TimerTask.h"
#include "kapi/Timed.h"

namespace Kapi {

std::atomic<TaskProcessor*> TimerTask::m_timerq{nullptr};

TimerTask::TimerTask(Timed* timed) : IOTask(kType), m_timed(timed) {}

void TimerTask::work()
{
    m_timed->work();
}

void TimerTask::start()
{
    if (m_timerq.load() != nullptr)
        return;
    m_timerq.store(new TaskProcessor(1));
}

void TimerTask::stop()
{
    delete m_timerq.exchange(nullptr);
}

} // namespace Kapi
