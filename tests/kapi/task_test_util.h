#ifndef KELO_TESTS_KAPI_TASK_TEST_UTIL_H
#define KELO_TESTS_KAPI_TASK_TEST_UTIL_H
// Helpers for the scheduler and timer tests. Waits have a generous limit, so that a broken
// scheduler fails a test instead of hanging it; no test depends on how fast anything runs.
#include "kapi/Task.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace KeloTest {

// A task that runs a function and counts its own deletion.
class FnTask : public Kapi::Task
{
public:
    FnTask(Category category, std::function<void()> fn, std::atomic<int>* deleted = nullptr,
           TypeID type = 9)
        : Task(category, type), m_fn(std::move(fn)), m_deleted(deleted)
    {
    }
    ~FnTask() override { m_deleted != nullptr ? void(++*m_deleted) : void(); }
    void work() override { m_fn(); }

private:
    std::function<void()> m_fn;
    std::atomic<int>* m_deleted;
};

// Opens once `count` arrivals have been counted.
class Latch
{
public:
    explicit Latch(int count = 1) : m_count(count) {}
    void arrive()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (--m_count <= 0)
            m_cond.notify_all();
    }
    bool wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_cond.wait_for(lock, std::chrono::seconds(30), [this] { return m_count <= 0; });
    }
    bool isOpen()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_count <= 0;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    int m_count;
};

// True once `condition` holds (polled).
inline bool waitUntil(const std::function<bool()>& condition)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Counts how many callers are inside at once and remembers the most.
class OverlapMeter
{
public:
    void enter()
    {
        const int now = ++m_inside;
        for (int seen = m_most.load(); now > seen && !m_most.compare_exchange_weak(seen, now);) {
        }
    }
    void leave() { --m_inside; }
    int most() const { return m_most.load(); }

private:
    std::atomic<int> m_inside{0};
    std::atomic<int> m_most{0};
};

} // namespace KeloTest

#endif
