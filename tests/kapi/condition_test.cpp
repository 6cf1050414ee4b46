// The waiting primitives: condition waits (signalled, timed out, time left), semaphore waits
// (one attempt, timed, unlimited, across signals), sleep across signals, the monotonic
// stopwatch, and the assertions on invalid wait arguments and a failing monotonic clock.
// Elapsed-time bounds are deliberately loose.
#include "kapi/Log.h"
#include "kapi/PosixCondition.h"
#include "kapi/PosixSemaphore.h"
#include "kapi/Thread.h"
#include "kapi/Timer.h"

#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

using Kapi::Condition;
using Kapi::kInfinite;

namespace {

constexpr int64 kSecond = 1000000;

// Calls `wait` (one wait on `condition`, `mutex` held) until another thread, after `delay`
// microseconds, has set a flag and signalled. Returns how many of the waits returned false.
template <typename Wait>
long failedWaits(Kapi::Mutex& mutex, Condition& condition, int64 delay, Wait wait)
{
    bool flag = false;
    long failures = 0;
    std::thread signaller([&] {
        Kapi::Thread::sleep(delay);
        Kapi::MutexLocker locker(mutex);
        flag = true;
        condition.signal();
    });
    {
        Kapi::MutexLocker locker(mutex);
        while (!flag)
            failures += wait() ? 0 : 1;
    }
    signaller.join();
    return failures;
}

} // namespace

TEST(Condition, WaitsAreSignalledOrTimeOut)
{
    auto mutex = Kapi::Mutex::New();
    std::unique_ptr<Condition> condition = Condition::New();
    ASSERT_NE(dynamic_cast<Kapi::PosixCondition*>(condition.get()), nullptr);
    for (int64 maxWait : {kInfinite, 60 * kSecond})
        EXPECT_EQ(failedWaits(*mutex, *condition, 50000,
                              [&] { return condition->wait(mutex.get(), maxWait); }),
                  0);

    int64 left = 2 * kSecond;
    EXPECT_EQ(failedWaits(*mutex, *condition, kSecond / 2,
                          [&] { return condition->timedWait(mutex.get(), &left); }),
              0);
    EXPECT_GT(left, kSecond);
    EXPECT_LT(left, 2 * kSecond - kSecond / 10);
    left = kInfinite; // no deadline, nothing to count down
    failedWaits(*mutex, *condition, 1000, [&] { return condition->timedWait(mutex.get(), &left); });
    EXPECT_EQ(left, kInfinite);

    Kapi::MutexLocker locker(*mutex);
    EXPECT_FALSE(condition->wait(mutex.get(), 100000));
    EXPECT_FALSE(condition->wait(mutex.get(), 0));
    left = 100000;
    EXPECT_FALSE(condition->timedWait(mutex.get(), &left));
    EXPECT_EQ(left, 0);
}

TEST(ConditionDeathTest, InvalidWaitArgumentsEndTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::pair<int, const char*> cases[] = {
        {0, "KapiCondition:77 Assertion failure: maxWait >= 0"},
        {1, "KapiCondition:150 Assertion failure: maxWait != NULL"},
        {2, "KapiCondition:151 Assertion failure: \\*maxWait >= 0"}};
    for (const auto& [which, message] : cases) {
        EXPECT_DEATH(
            {
                Kapi::Log::Get()->setLogToConsole(true);
                auto mutex = Kapi::Mutex::New();
                std::unique_ptr<Condition> condition = Condition::New();
                int64 negative = -1;
                Kapi::MutexLocker locker(*mutex);
                if (which == 0)
                    condition->wait(mutex.get(), -1);
                else
                    condition->timedWait(mutex.get(), which == 1 ? nullptr : &negative);
            },
            message);
    }
}

TEST(Semaphore, OneAttemptTimedAndUnlimitedWaits)
{
    std::unique_ptr<Kapi::Semaphore> semaphore = Kapi::Semaphore::New(2);
    ASSERT_NE(dynamic_cast<Kapi::PosixSemaphore*>(semaphore.get()), nullptr);
    EXPECT_TRUE(semaphore->wait(0));
    EXPECT_TRUE(semaphore->wait(kSecond));
    EXPECT_FALSE(semaphore->wait(0));
    EXPECT_FALSE(semaphore->wait(50000));
    std::atomic<bool> posted{false};
    std::thread poster([&] {
        Kapi::Thread::sleep(100000);
        posted = true;
        semaphore->post();
    });
    EXPECT_TRUE(semaphore->wait(kInfinite));
    EXPECT_TRUE(posted);
    poster.join();
}

TEST(Semaphore, WaitAndSleepResumeAfterSignals)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {}; // no SA_RESTART: the calls return EINTR
    struct sigaction previous = {};
    sigaction(SIGUSR1, &action, &previous);
    std::unique_ptr<Kapi::Semaphore> semaphore = Kapi::Semaphore::New(0);
    const pthread_t waiter = pthread_self();
    std::atomic<bool> stop{false};
    std::thread signaller([&] {
        for (int i = 0; i < 5; ++i) {
            pthread_kill(waiter, SIGUSR1);
            Kapi::Thread::sleep(20000);
        }
        semaphore->post();
        while (!stop) {
            pthread_kill(waiter, SIGUSR1);
            Kapi::Thread::sleep(20000);
        }
    });
    EXPECT_TRUE(semaphore->wait(kInfinite));
    const int64 start = Kapi::Timer::now();
    Kapi::Thread::sleep(300000);
    EXPECT_GE(Kapi::Timer::now() - start, 300000); // a lower bound: never cut short
    stop = true;
    signaller.join();
    sigaction(SIGUSR1, &previous, nullptr);
}

TEST(Timer, SetMovesTheOrigin)
{
    std::unique_ptr<Kapi::Timer> timer = Kapi::Timer::New();
    EXPECT_GE(timer->get(), 0);
    timer->set(5 * kSecond);
    const int64 got = timer->get();
    EXPECT_GE(got, 5 * kSecond);
    EXPECT_LT(got, 6 * kSecond);
    timer->set(-kSecond); // an origin in the future
    EXPECT_LT(timer->get(), 0);
}

TEST(TimerProcess, FailingMonotonicClockEndsTheProcess)
{
    const KeloTest::ProcessResult run = KeloTest::runProcess(
        KeloTest::binPath("thread_probe"), {"brokenclock"}, "", {"KKDEBUGGER", "KKNOQUITONASSERT"});
    EXPECT_EQ(run.exitStatus, 128 + SIGABRT);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("\nKapiTimer:56 Assertion failure: !clock_gettimeMONOTONIC_broken\n"),
              std::string::npos)
        << run.err;
}
