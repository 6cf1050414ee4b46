// The task scheduler: the queue, the worker loop and the queue-length watch. Tasks are owned by
// the queue entries while queued and by the worker's local unique_ptr while running; a task is
// always deleted outside the mutex, because its destructor may schedule or destroy barriers.
#include "kapi/TaskScheduler.h"
#include "kapi/Backtrace.h"
#include "kapi/PanicAssert.h"
#include "kapi/PanicAssertThreads.h"
#include "kapi/TaskProcessor.h"
#include "kapi/TaskTunables.h"
#include "kapi/Timer.h"
#include "kapi/vLog.h"

#include <algorithm>
#include <atomic>

namespace Kapi {

namespace {

// Tasks due this close are started at once rather than waited for.
constexpr int64 kStartSlack = 16000;

std::atomic<TaskScheduler*> g_pTaskScheduler{nullptr};

const char* yesNo(bool value)
{
    return value ? "yes" : "no";
}

} // namespace

TaskScheduler::TaskScheduler(int cpuTasks, int ioTasks)
    : m_warningThreshold(taskTunables().warningThreshold), m_maxTasks{cpuTasks, ioTasks},
      m_mutex(Mutex::New()), m_workCond(Condition::New()), m_doneCond(Condition::New())
{
    TaskScheduler* expected = nullptr;
    if (!g_pTaskScheduler.compare_exchange_strong(expected, this))
        PanicAssertFail("g_pTaskScheduler == NULL", "vTask", __LINE__);

    const TaskTunables& tunables = taskTunables();
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_INFO)) {
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_INFO,
                    "TaskScheduler: concurrency set to: CPU=%d, I/O=%d", cpuTasks, ioTasks);
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_INFO,
                    "TaskScheduler: TASK_WARNING_THRESHOLD=%u, TASK_ASSERT_THRESHOLD=%u, "
                    "DUMPTASKQUEUE=%s, DUMPTASKQUEUEBACKTRACE=%s",
                    tunables.warningThreshold, tunables.assertThreshold,
                    yesNo(tunables.dumpTaskQueue), yesNo(tunables.dumpTaskQueueBacktrace));
    }

    const int workers = std::max(cpuTasks, 0) + std::max(ioTasks, 0);
    for (int i = 0; i < workers; ++i)
        m_threads.push_back(Thread::New("scheduler.run", Thread::PRIORITY_LOW, this));
    for (const std::unique_ptr<Thread>& thread : m_threads)
        thread->start();
}

TaskScheduler::~TaskScheduler()
{
    m_mutex->acquire();
    m_stopping = true;
    m_workCond->broadcast();
    m_mutex->release();

    for (std::unique_ptr<Thread>& thread : m_threads) {
        thread->join();
        thread.reset();
    }
    m_threads.clear();

    // Deleting a task may queue more (its destructor may schedule); repeat until none is left.
    for (;;) {
        Queue leftover;
        m_mutex->acquire();
        leftover.swap(m_queue);
        m_mutex->release();
        if (leftover.empty())
            break;
    }
    g_pTaskScheduler.store(nullptr);
}

TaskScheduler* TaskScheduler::getTaskScheduler()
{
    return g_pTaskScheduler.load();
}

int TaskScheduler::getMaxTasks(Task::Category category) const
{
    if (category < 0 || category >= Task::NUM_CATEGORIES)
        return 0;
    return m_maxTasks[category];
}

uint32 TaskScheduler::getWarningThreshold() const
{
    MutexLocker lock(*m_mutex);
    return m_warningThreshold;
}

size_t TaskScheduler::getQueueLength() const
{
    MutexLocker lock(*m_mutex);
    return m_queue.size();
}

void TaskScheduler::schedule(TaskBarrier* barrier, std::unique_ptr<Task> task, int64 when)
{
    MutexLocker lock(*m_mutex);
    task->m_processor = barrier;
    task->m_due = when;
    if (taskTunables().dumpTaskQueueBacktrace)
        task->m_backtrace = std::make_unique<Backtrace>();
    schedule_i(std::move(task));
}

void TaskScheduler::schedule_i(std::unique_ptr<Task> task)
{
    const int64 due = task->m_due;
    const Queue::iterator later = std::upper_bound(
        m_queue.begin(), m_queue.end(), due,
        [](int64 value, const Queue::value_type& entry) { return value < entry.first; });
    m_queue.emplace(later, due, std::move(task));

    const size_t length = m_queue.size();
    if (length >= 2 * static_cast<size_t>(m_warningThreshold)) {
        m_warningThreshold *= 2;
        if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_WARNING))
            vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_WARNING,
                        "TaskScheduler::schedule_i(): number of tasks increased to %u",
                        m_warningThreshold);
        if (length >= taskTunables().assertThreshold)
            criticalLimitReached_i(length);
    }
    m_workCond->signal();
}

void TaskScheduler::criticalLimitReached_i(size_t length)
{
    const TaskTunables& tunables = taskTunables();
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_ERROR))
        vLogMessage(
            VLOGSRC_P2P_CLIENT, VLOG_ERROR,
            "TaskScheduler:: critical limit reached (number of tasks is %u, assert level is %u)",
            static_cast<unsigned>(length), tunables.assertThreshold);
    if (tunables.dumpTaskQueue && vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_WARNING)) {
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_WARNING, "TaskScheduler:: dumping task info");
        unsigned index = 0;
        for (const Queue::value_type& entry : m_queue) {
            const Task& task = *entry.second;
            vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_WARNING, "Task[%u]: %s", index,
                        task.toString().c_str());
            if (tunables.dumpTaskQueueBacktrace) {
                if (task.m_backtrace == nullptr) {
                    vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_WARNING, "Task[%u] No backtrace!", index);
                } else {
                    vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_WARNING, "Task[%u] Backtrace:", index);
                    vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_WARNING, "%s",
                                task.m_backtrace->toString().c_str());
                }
            }
            ++index;
        }
    }
    PanicAssertFailAllThreads("false && \"TASK_ASSERT_THRESHOLD hit\"", "vTask", 337);
}

TaskScheduler::Queue::iterator TaskScheduler::removeTaskFromQ_i(Queue::iterator entry)
{
    const Queue::iterator next = m_queue.erase(entry);
    const uint32 initial = taskTunables().warningThreshold;
    if (m_warningThreshold > initial && m_queue.size() <= m_warningThreshold / 2) {
        m_warningThreshold /= 2;
        if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_WARNING))
            vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_WARNING,
                        "TaskScheduler::removeTaskFromQ_i(): number of tasks decreased to %u",
                        m_warningThreshold);
    }
    return next;
}

TaskScheduler::Queue::iterator TaskScheduler::findStartable_i()
{
    for (Queue::iterator entry = m_queue.begin(); entry != m_queue.end(); ++entry) {
        const Task& task = *entry->second;
        const TaskBarrier& barrier = *task.m_processor;
        if (barrier.m_running < barrier.m_limit &&
            m_runningCount[task.m_category] < m_maxTasks[task.m_category])
            return entry;
    }
    return m_queue.end();
}

int TaskScheduler::main()
{
    m_mutex->acquire();
    for (;;) {
        if (m_stopping) {
            m_mutex->release();
            return 0;
        }
        const Queue::iterator entry = findStartable_i();
        if (entry == m_queue.end()) {
            m_workCond->wait(m_mutex.get(), kInfinite);
            continue;
        }
        const int64 now = Timer::now();
        if (entry->first > now + kStartSlack) {
            m_workCond->wait(m_mutex.get(), entry->first - now);
            continue;
        }

        std::unique_ptr<Task> task = std::move(entry->second);
        TaskBarrier* barrier = task->m_processor;
        const Task::Category category = task->m_category;
        const uint32 id = task->m_id;
        ++m_runningCount[category];
        ++barrier->m_running;
        barrier->m_cond->signal();
        removeTaskFromQ_i(entry);
        m_workCond->signal();
        m_runningIds.insert(id);
        m_mutex->release();

        task->work();

        m_mutex->acquire();
        --barrier->m_running;
        barrier->m_cond->signal(); // the barrier may be destroyed as soon as we release
        --m_runningCount[category];
        m_runningIds.erase(id);
        m_doneCond->broadcast();
        m_mutex->release();
        task.reset();
        m_mutex->acquire();
    }
}

std::unique_ptr<Task> TaskScheduler::deschedule_i(unsigned id, bool wait)
{
    MutexLocker lock(*m_mutex);
    if (vLogLevelEnabled(VLOGSRC_P2P_CLIENT, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_CLIENT, VLOG_DEBUG, "TaskScheduler::deschedule_i(%u)", id);
    for (Queue::iterator entry = m_queue.begin(); entry != m_queue.end(); ++entry) {
        if (entry->second->m_id == id) {
            std::unique_ptr<Task> task = std::move(entry->second);
            removeTaskFromQ_i(entry);
            return task;
        }
    }
    if (wait) {
        while (m_runningIds.count(id) != 0)
            m_doneCond->wait(m_mutex.get(), kInfinite);
    }
    return nullptr;
}

void TaskScheduler::drainBarrier(TaskBarrier* barrier)
{
    m_mutex->acquire();
    for (;;) {
        std::vector<std::unique_ptr<Task>> dropped;
        for (Queue::iterator entry = m_queue.begin(); entry != m_queue.end();) {
            if (entry->second->m_processor == barrier) {
                dropped.push_back(std::move(entry->second));
                entry = removeTaskFromQ_i(entry);
            } else {
                ++entry;
            }
        }
        if (!dropped.empty()) {
            m_mutex->release();
            dropped.clear();
            m_mutex->acquire();
            continue; // running tasks or destructors may have queued more meanwhile
        }
        if (barrier->m_running == 0)
            break;
        barrier->m_cond->wait(m_mutex.get(), kInfinite);
    }
    m_mutex->release();
}

} // namespace Kapi
