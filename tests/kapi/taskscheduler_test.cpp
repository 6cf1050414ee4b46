// The task scheduler: ordering, the per-processor and per-category limits, taking tasks back,
// destroying barriers and the scheduler with work outstanding, the queue-length warnings, and
// the "TaskScheduler" start-up node with its worker threads.
#include "kapi/TaskProcessor.h"
#include "kapi/TaskScheduler.h"
#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/Timer.h"
#include "kapi/TimerTask.h"
#include "kapi/vConfig.h"

#include "support/LogCapture.h"
#include "task_test_util.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <vector>

using Kapi::Task;
using Kapi::TaskProcessor;
using Kapi::TaskScheduler;
using Kapi::Timer;
using KeloTest::FnTask;
using KeloTest::Latch;

namespace {

constexpr int64 kHour = 3600LL * 1000000;

// Occupies the processor (or the only worker) with a blocking task, schedules `count` tasks,
// the i-th due at when(i), that record their number in `order` while the meter watches for
// overlap, then lets them run; returns once all ran.
bool runRecorded(TaskProcessor& processor, Task::Category category, int count,
                 const std::function<int64(int)>& when, std::vector<int>& order,
                 KeloTest::OverlapMeter& meter, int sleepMs)
{
    Latch blockerStarted;
    Latch blocker;
    Latch done(count);
    std::mutex mutex;
    auto block = [&] {
        blockerStarted.arrive();
        blocker.wait();
    };
    processor.schedule(new FnTask(category, block), Timer::now());
    if (!blockerStarted.wait())
        return false;
    for (int i = 0; i < count; ++i) {
        auto record = [&, i] {
            meter.enter();
            std::this_thread::sleep_for(std::chrono::milliseconds(sleepMs));
            meter.leave();
            {
                std::lock_guard<std::mutex> lock(mutex);
                order.push_back(i);
            }
            done.arrive(); // last: the caller's locals may go once all arrived
        };
        processor.schedule(new FnTask(category, record), when(i));
    }
    blocker.arrive(); // all are queued before the first recorded task can start
    return done.wait();
}

} // namespace

TEST(TaskScheduler, WithoutSchedulerATaskIsDroppedWithAnError)
{
    ASSERT_EQ(TaskScheduler::getTaskScheduler(), nullptr);
    LogCapture capture(VLOGSRC_P2P_CLIENT, VLOG_ERROR);
    std::atomic<int> deleted{0};
    TaskProcessor processor(1);
    processor.schedule(new FnTask(
                           Task::CATEGORY_CPU, [] {}, &deleted),
                       Timer::now());
    EXPECT_EQ(deleted.load(), 1);
    ASSERT_EQ(capture.lines().size(), 1u);
    EXPECT_NE(capture.lines()[0].text.find("no task scheduler"), std::string::npos);
}

TEST(TaskScheduler, OneWorkerRunsInDueOrderAndEqualDuesInSchedulingOrder)
{
    TaskScheduler scheduler(1, 0);
    EXPECT_EQ(TaskScheduler::getTaskScheduler(), &scheduler);
    TaskProcessor processor(10);
    std::vector<int> order;
    KeloTest::OverlapMeter meter;
    const int64 due = Timer::now();
    // 0..4 share one due time; 5..7 come later, each due earlier than the one before.
    ASSERT_TRUE(runRecorded(
        processor, Task::CATEGORY_CPU, 8,
        [due](int i) { return i < 5 ? due : due - 1000 * (i - 4); }, order, meter, 0));
    EXPECT_EQ(order, (std::vector<int>{7, 6, 5, 0, 1, 2, 3, 4}));
}

TEST(TaskScheduler, ProcessorOfConcurrencyOneRunsOneAtATimeAmongSeventeenWorkers)
{
    TaskScheduler scheduler(1, 16);
    TaskProcessor serial(1);
    std::vector<int> order;
    KeloTest::OverlapMeter meter;
    const int64 now = Timer::now();
    ASSERT_TRUE(runRecorded(
        serial, Task::CATEGORY_IO, 3, [now](int i) { return now - i; }, order, meter, 20));
    EXPECT_EQ(meter.most(), 1);
    EXPECT_EQ(order, (std::vector<int>{2, 1, 0}));
}

TEST(TaskScheduler, CategoryLimitsHoldAcrossProcessors)
{
    TaskScheduler scheduler(1, 4);
    EXPECT_EQ(scheduler.getMaxTasks(Task::CATEGORY_CPU), 1);
    EXPECT_EQ(scheduler.getMaxTasks(Task::CATEGORY_IO), 4);
    TaskProcessor first(10);
    TaskProcessor second(10);

    // One CPU slot: CPU tasks of two processors never overlap.
    KeloTest::OverlapMeter cpu;
    Latch cpuDone(2);
    auto cpuTask = [&] {
        cpu.enter();
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        cpu.leave();
        cpuDone.arrive();
    };
    for (TaskProcessor* processor : {&first, &second})
        processor->schedule(new FnTask(Task::CATEGORY_CPU, cpuTask), Timer::now());
    ASSERT_TRUE(cpuDone.wait());
    EXPECT_EQ(cpu.most(), 1);

    // Two I/O tasks of one processor run together: each waits until both are inside.
    Latch bothInside(2);
    std::atomic<int> met{0};
    Latch ioDone(2);
    auto ioTask = [&] {
        bothInside.arrive();
        met += bothInside.wait() ? 1 : 0;
        ioDone.arrive();
    };
    for (int i = 0; i < 2; ++i)
        first.schedule(new FnTask(Task::CATEGORY_IO, ioTask), Timer::now());
    ASSERT_TRUE(ioDone.wait());
    EXPECT_EQ(met.load(), 2);
}

TEST(TaskScheduler, DescheduleQueuedRunningAndWaiting)
{
    TaskScheduler scheduler(1, 16);
    TaskProcessor processor(4);

    // Queued: handed back with its scheduling data, never run.
    std::atomic<bool> ran{false};
    FnTask* queued = new FnTask(
        Task::CATEGORY_IO, [&] { ran = true; }, nullptr, 4);
    const int64 when = Timer::now() + kHour;
    processor.schedule(queued, when);
    std::unique_ptr<Task> back = processor.deschedule(queued->getId(), false);
    ASSERT_EQ(back.get(), queued);
    EXPECT_EQ(back->getProcessor(), &processor);
    EXPECT_EQ(back->toString(), "[Task: category=1, type=4, due=" + std::to_string(when) + "]");
    EXPECT_EQ(processor.deschedule(queued->getId(), false), nullptr);
    FnTask next(
        Task::CATEGORY_CPU, [] {}, nullptr, 3);
    EXPECT_EQ(next.getId(), queued->getId() + 1);
    EXPECT_EQ(next.toString(), "[Task: category=0, type=3, due=0]");

    // Running: no-wait returns null while it still runs; waiting returns after it finished.
    Latch started;
    Latch release;
    std::atomic<bool> finished{false};
    FnTask* running = new FnTask(Task::CATEGORY_IO, [&] {
        started.arrive();
        release.wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        finished = true;
    });
    const unsigned id = running->getId();
    processor.schedule(running, Timer::now());
    ASSERT_TRUE(started.wait());
    EXPECT_EQ(processor.deschedule(id, false), nullptr);
    std::atomic<bool> waiterReturned{false};
    std::thread waiter([&] {
        EXPECT_EQ(processor.deschedule(id, true), nullptr);
        EXPECT_TRUE(finished.load());
        waiterReturned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(waiterReturned.load());
    release.arrive();
    waiter.join();
    EXPECT_FALSE(ran.load());
}

TEST(TaskScheduler, DestroyingProcessorOrSchedulerDropsQueuedTasksAndWaitsForRunningOnes)
{
    std::atomic<int> deleted{0};
    std::atomic<int> ran{0};
    auto counted = [&] {
        return new FnTask(
            Task::CATEGORY_IO, [&] { ++ran; }, &deleted);
    };
    TaskProcessor outlivesScheduler(2);
    {
        TaskScheduler scheduler(1, 16);
        Latch started;
        std::atomic<bool> finished{false};
        {
            TaskProcessor processor(1);
            auto slow = [&] {
                started.arrive();
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                finished = true;
            };
            processor.schedule(new FnTask(Task::CATEGORY_IO, slow), Timer::now());
            for (int i = 0; i < 4; ++i)
                processor.schedule(counted(), Timer::now() + (i % 2) * kHour);
            ASSERT_TRUE(started.wait());
        }
        EXPECT_TRUE(finished.load());
        EXPECT_EQ(deleted.load(), 4);
        EXPECT_EQ(scheduler.getQueueLength(), 0u);
        for (int i = 0; i < 3; ++i)
            outlivesScheduler.schedule(counted(), Timer::now() + kHour);
    }
    EXPECT_EQ(TaskScheduler::getTaskScheduler(), nullptr);
    EXPECT_EQ(deleted.load(), 7);
    EXPECT_EQ(ran.load(), 0);
}

TEST(TaskScheduler, QueueLengthWarningsDoubleAndHalve)
{
    TaskScheduler scheduler(1, 1);
    TaskProcessor processor(1);
    LogCapture capture(VLOGSRC_P2P_CLIENT, VLOG_WARNING);
    std::vector<unsigned> ids;
    for (int i = 0; i < 799; ++i) {
        FnTask* task = new FnTask(Task::CATEGORY_CPU, [] {});
        ids.push_back(task->getId());
        processor.schedule(task, Timer::now() + kHour);
        if (i == 398) {
            EXPECT_TRUE(capture.lines().empty()) << "warned before the 400th task";
        }
    }
    const std::string increased =
        "p2p_client.warning: TaskScheduler::schedule_i(): number of tasks increased to 400";
    EXPECT_EQ(capture.summary(), std::vector<std::string>{increased});
    EXPECT_EQ(scheduler.getWarningThreshold(), 400u);

    // Draining: the level falls back at 200 left, and never below the initial 200.
    for (unsigned id : ids)
        EXPECT_NE(processor.deschedule(id, false), nullptr);
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{increased,
                                        "p2p_client.warning: TaskScheduler::removeTaskFromQ_i(): "
                                        "number of tasks decreased to 200"}));
}

// ---- the start-up node ----

namespace {

// Kernel id -> (name, nice value: field 19 of stat) of the process's "scheduler.run" threads.
std::map<int, std::pair<std::string, int>> workerThreads()
{
    std::map<int, std::pair<std::string, int>> threads;
    DIR* dir = opendir("/proc/self/task");
    while (const dirent* entry = dir != nullptr ? readdir(dir) : nullptr) {
        const std::string base = std::string("/proc/self/task/") + entry->d_name;
        std::string name;
        std::getline(std::ifstream(base + "/comm"), name);
        std::ifstream statFile(base + "/stat");
        const std::string stat((std::istreambuf_iterator<char>(statFile)),
                               std::istreambuf_iterator<char>());
        if (name != "scheduler.run" || stat.rfind(')') == std::string::npos)
            continue; // not a worker, or a thread that ended while we looked
        std::istringstream fields(stat.substr(stat.rfind(')') + 1));
        std::string field;
        for (int number = 3; fields >> field && number < 19; ++number) {
        }
        threads[std::stoi(entry->d_name)] = {name, std::stoi(field)};
    }
    if (dir != nullptr)
        closedir(dir);
    return threads;
}

bool startNode(const std::string& configText)
{
    Kapi::vConfig config;
    EXPECT_TRUE(config.fromString(configText));
    return Kapi::TaskSchedulerInitNode::getInstance()->start(config);
}

} // namespace

TEST(TaskSchedulerInitNode, DefaultConfigStartsSeventeenNiceWorkers)
{
    Kapi::TaskSchedulerInitNode* node = Kapi::TaskSchedulerInitNode::getInstance();
    EXPECT_STREQ(node->name, "TaskScheduler");
    EXPECT_EQ(node->numDeps, 0u);

    const auto before = workerThreads(); // earlier tests' workers may still be ending
    ASSERT_TRUE(startNode(""));
    ASSERT_NE(TaskScheduler::getTaskScheduler(), nullptr);
    EXPECT_NE(Kapi::TimerTask::getTimerQueue(), nullptr);
    EXPECT_EQ(node->getMaxTasks(Task::CATEGORY_CPU), 1);
    EXPECT_EQ(node->getMaxTasks(Task::CATEGORY_IO), 16);

    // Workers name themselves and lower their priority once running: wait for all of them.
    const int nice = std::min(getpriority(PRIO_PROCESS, 0) + 5, 19);
    size_t niceNewWorkers = 0;
    KeloTest::waitUntil([&] {
        niceNewWorkers = 0;
        for (const auto& [tid, info] : workerThreads())
            niceNewWorkers += before.count(tid) == 0 && info.second == nice ? 1 : 0;
        return niceNewWorkers >= 17;
    });
    EXPECT_EQ(niceNewWorkers, 17u);

    EXPECT_TRUE(node->stop());
    EXPECT_EQ(TaskScheduler::getTaskScheduler(), nullptr);
    EXPECT_EQ(Kapi::TimerTask::getTimerQueue(), nullptr);
    EXPECT_EQ(node->getMaxTasks(Task::CATEGORY_IO), 0);

    ASSERT_TRUE(startNode("[misc]\ntaskSchedulerCpuTasks = 2\ntaskSchedulerIoTasks = 3\n"));
    EXPECT_EQ(node->getMaxTasks(Task::CATEGORY_CPU), 2);
    EXPECT_EQ(node->getMaxTasks(Task::CATEGORY_IO), 3);
    EXPECT_TRUE(node->stop());
}

TEST(TaskSchedulerInitNode, ZeroOrUnreadableCountsFailTheStart)
{
    for (const char* text :
         {"[misc]\ntaskSchedulerIoTasks = 0\n", "[misc]\ntaskSchedulerIoTasks = abc\n",
          "[misc]\ntaskSchedulerCpuTasks = 0\n", "[misc]\ntaskSchedulerCpuTasks = -1\n",
          "[misc]\ntaskSchedulerCpuTasks = 1\ntaskSchedulerCpuTasks = 2\n"}) {
        LogCapture capture(VLOGSRC_P2P_CLIENT, VLOG_ERROR);
        EXPECT_FALSE(startNode(text)) << text;
        EXPECT_EQ(TaskScheduler::getTaskScheduler(), nullptr) << text;
        EXPECT_EQ(Kapi::TimerTask::getTimerQueue(), nullptr) << text;
        EXPECT_EQ(capture.lines().size(), 1u) << text;
    }
}
