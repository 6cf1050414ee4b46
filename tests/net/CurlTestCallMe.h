#ifndef KELO_TESTS_NET_CURLTESTCALLME_H
#define KELO_TESTS_NET_CURLTESTCALLME_H
// A test-only CallMeFactory whose CallMes run their listener's changed() on the test's own
// thread: trigger() (from any thread) queues the CallMe once, and runOne()/runUntil() called
// by the test take queued CallMes in order and run them. Repeated triggers before the run
// merge into one call; a CallMe deleted while queued is dropped from the queue.
#include "kapi/StreamCallMe.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace KeloTest {

class QueueCallMeFactory : public Kapi::Stream::CallMeFactory
{
public:
    class QueuedCallMe : public Kapi::Stream::CallMe
    {
    public:
        explicit QueuedCallMe(QueueCallMeFactory* owner) : m_owner(owner) {}
        ~QueuedCallMe() override { m_owner->forget(this); }
        void trigger() override { m_owner->enqueue(this); }
        void setChangeListener(Kapi::Stream::ChangeListener* listener) override
        {
            m_listener = listener;
        }
        Kapi::Stream::ChangeListener* listener() const { return m_listener; }

    private:
        QueueCallMeFactory* m_owner;
        Kapi::Stream::ChangeListener* m_listener = nullptr;
    };

    Kapi::Stream::CallMe* create() const override
    {
        return new QueuedCallMe(const_cast<QueueCallMeFactory*>(this));
    }

    // Waits up to `timeoutMs` for a queued CallMe and runs its listener; false on time-out.
    bool runOne(int timeoutMs = 30000)
    {
        QueuedCallMe* callMe = nullptr;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (!m_cond.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                 [this] { return !m_queue.empty(); })) {
                return false;
            }
            callMe = m_queue.front();
            m_queue.pop_front();
        }
        // changed() may delete the CallMe (through its owner): nothing touches it afterwards.
        if (callMe->listener() != nullptr) {
            callMe->listener()->changed();
        }
        ++m_runs;
        return true;
    }

    int runs() const { return m_runs; }
    size_t queued()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_queue.size();
    }

private:
    void enqueue(QueuedCallMe* callMe)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (QueuedCallMe* queued : m_queue) {
            if (queued == callMe) {
                return;
            }
        }
        m_queue.push_back(callMe);
        m_cond.notify_all();
    }
    void forget(QueuedCallMe* callMe)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (auto it = m_queue.begin(); it != m_queue.end();) {
            it = *it == callMe ? m_queue.erase(it) : it + 1;
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_cond;
    std::deque<QueuedCallMe*> m_queue; // guarded by m_mutex
    int m_runs = 0;                    // the test thread's count of runs
};

} // namespace KeloTest

#endif
