#ifndef KELO_TESTS_KAPI_HANDLE_TEST_UTIL_H
#define KELO_TESTS_KAPI_HANDLE_TEST_UTIL_H
// Helpers for the message, handle and functor-task tests: a fixture that starts the nodes
// "TaskScheduler" and "GenHandleLib" through a runner, a message that counts its deletions and
// a receiver that records what it is given. Waits have a generous limit so that a fault fails a
// test instead of hanging it; no test depends on how fast anything runs.
#include "kapi/GenHandleLib.h"
#include "kapi/Init.h"
#include "kapi/Message.h"
#include "kapi/vConfig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace HandleTest {

// Polls `done` until it holds; false after 30 s.
inline bool waitUntil(const std::function<bool()>& done)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!done()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

class HandleLibTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Kapi::vConfig config;
        ASSERT_TRUE(config.fromString("[misc]\nhandleStart = 10000\n"));
        ASSERT_TRUE(m_runner.start(config));
        lib = GenHandleLib::getGenHandleLib();
        ASSERT_NE(lib, nullptr);
    }
    void TearDown() override { m_runner.stop(); }

    // Whether the handle is still registered (locked and unlocked to find out).
    bool handleExists(unsigned handle)
    {
        if (lib->lockObject(handle) == nullptr)
            return false;
        lib->unlockObject(handle);
        return true;
    }

    GenHandleLib* lib = nullptr;

private:
    Kapi::Init::Init m_runner{"handles-test", &GenHandleLib::g_initNode};
};

// Carries a value; every copy counts its deletion in the shared counter.
class CountedMessage : public Kapi::CloneableMessage
{
public:
    CountedMessage(int value, std::atomic<int>* deleted)
        : CloneableMessage(Kapi::MSG_CUSTOM), value(value), m_deleted(deleted)
    {
    }
    CountedMessage(const CountedMessage&) = default;
    ~CountedMessage() override { ++*m_deleted; }
    Kapi::CloneableMessage* clone() const override { return new CountedMessage(*this); }

    int value;

private:
    std::atomic<int>* m_deleted;
};

// Records each CountedMessage's value and thread, runs `onNotify`, and notes overlapping calls.
class Recorder : public Handleable
{
public:
    bool notify(Kapi::Message* message) override
    {
        if (++m_inside > 1)
            overlapped = true;
        const int value = static_cast<CountedMessage*>(message)->value;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_values.push_back(value);
            m_threads.push_back(std::this_thread::get_id());
        }
        if (onNotify)
            onNotify(value);
        --m_inside;
        return true;
    }
    std::vector<int> values()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_values;
    }
    std::vector<std::thread::id> threads()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_threads;
    }

    std::function<void(int)> onNotify;
    std::atomic<bool> overlapped{false};

private:
    std::atomic<int> m_inside{0};
    std::mutex m_mutex;
    std::vector<int> m_values;
    std::vector<std::thread::id> m_threads;
};

} // namespace HandleTest

#endif
