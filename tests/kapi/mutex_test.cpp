// Mutexes: ownership as tryAcquire sees it, the scope guards, mutual exclusion under contention,
// and the assertion that ends the process when a mutex is released by a thread not holding it.
#include "kapi/Log.h"
#include "kapi/Mutex.h"
#include "kapi/PanicAssert.h"
#include "kapi/PosixMutex.h"

#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

using Kapi::Mutex;

namespace {

bool tryFromOtherThread(Mutex& mutex)
{
    bool taken = false;
    std::thread other([&] {
        taken = mutex.tryAcquire();
        if (taken)
            mutex.release();
    });
    other.join();
    return taken;
}

} // namespace

TEST(Mutex, TryAcquireSeesTheHolderAndIsNeverRecursive)
{
    for (bool recursive : {false, true}) {
        std::unique_ptr<Mutex> mutex = Mutex::New(recursive);
        ASSERT_NE(dynamic_cast<Kapi::PosixMutex*>(mutex.get()), nullptr);
        EXPECT_TRUE(tryFromOtherThread(*mutex));
        EXPECT_TRUE(mutex->tryAcquire());
        EXPECT_FALSE(tryFromOtherThread(*mutex));
        EXPECT_FALSE(mutex->tryAcquire()) << recursive; // not even for the holder
        mutex->release();
        EXPECT_TRUE(tryFromOtherThread(*mutex));
        mutex->acquire();
        EXPECT_FALSE(tryFromOtherThread(*mutex));
        mutex->release();
    }
}

TEST(Mutex, GuardsHoldForTheirScope)
{
    Kapi::ScopedMutex owned; // makes its own
    Kapi::ScopedMutex adopted(Mutex::New(false));
    Kapi::ScopedMutex fromRaw(Mutex::New(false).release());
    for (Kapi::ScopedMutex* scoped : {&owned, &adopted, &fromRaw}) {
        {
            Kapi::MutexLocker locker(*scoped);
            EXPECT_FALSE(tryFromOtherThread(**scoped));
        }
        EXPECT_TRUE(tryFromOtherThread(*scoped->get()));
    }
    Kapi::MutexLocker locker(owned.get());
    EXPECT_FALSE(owned->tryAcquire());
}

TEST(Mutex, SerialisesReadModifyWrite)
{
    Kapi::ScopedMutex lock;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                Kapi::MutexLocker locker(lock);
                counter = counter + 1;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, 80000);
}

TEST(MutexDeathTest, ReleasingAMutexNotHeldByTheCallerEndsTheProcess)
{
    KELO_SKIP_UNDER_TSAN();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Kapi::Log::Get()->setLogToConsole(true);
            Mutex::New(false)->release();
        },
        "KapiMutex:233 Assertion failure: iResult == 0 && \"mutex unlock failed\"");
    EXPECT_DEATH(
        {
            Kapi::Log::Get()->setLogToConsole(true);
            std::unique_ptr<Mutex> mutex = Mutex::New(false);
            mutex->acquire();
            std::thread other([&] { mutex->release(); });
            other.join();
        },
        "KapiMutex:233 Assertion failure");
}

TEST(MutexDeathTest, KapiAssertNamesExpressionFileAndLine)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    KAPI_ASSERT(2 + 2 == 4);
    const int line = __LINE__ + 5;
    EXPECT_DEATH(
        {
            Kapi::Log::Get()->setLogToConsole(true);
            const int answer = 41;
            KAPI_ASSERT(answer == 42);
        },
        "mutex_test.cpp:" + std::to_string(line) + " Assertion failure: answer == 42");
}
