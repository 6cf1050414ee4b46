#ifndef KELO_TESTS_NET_CURLTESTCALLME_H
#define KELO_TESTS_NET_CURLTESTCALLME_H
// A test-only CallMeFactory whose CallMes run their listener's changed() on the test's own
// thread: trigger() (from any thread) queues the CallMe once, and runOne() called by the test
// takes the first queued CallMe and runs it. Repeated triggers before the run merge into one
// call; a CallMe deleted while queued is dropped from the queue. The queue is under m_mutex.
#include "kapi/StreamCallMe.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace KeloTest {

class QueueCallMeFactory : public Kapi::Stream::CallMeFactory
{
public:
    class QueuedCallMe : public Kapi::Stream::CallMe
    {
    public:
        explicit QueuedCallMe(QueueCallMeFactory* owner) : m_owner(owner) {}
        ~QueuedCallMe() override
        {
            m_owner->change([this](auto& q) { std::erase(q, this); });
        }
        void trigger() override
        {
            m_owner->change([this](auto& q) {
                if (std::find(q.begin(), q.end(), this) == q.end())
                    q.push_back(this);
            });
        }
        void setChangeListener(Kapi::Stream::ChangeListener* listener) override
        {
            m_listener = listener;
        }
        Kapi::Stream::ChangeListener* m_listener = nullptr;

    private:
        QueueCallMeFactory* m_owner;
    };

    Kapi::Stream::CallMe* create() const override
    {
        return new QueuedCallMe(const_cast<QueueCallMeFactory*>(this));
    }

    // Waits up to 30 s for a queued CallMe and runs its listener; false on time-out.
    bool runOne()
    {
        QueuedCallMe* callMe = nullptr;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (!m_cond.wait_for(lock, std::chrono::seconds(30),
                                 [this] { return !m_queue.empty(); }))
                return false;
            callMe = m_queue.front();
            m_queue.pop_front();
        }
        // changed() may delete the CallMe (through its owner): nothing touches it afterwards.
        if (callMe->m_listener != nullptr)
            callMe->m_listener->changed();
        return true;
    }

    size_t queued()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_queue.size();
    }

private:
    template <class F> void change(F update)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        update(m_queue);
        m_cond.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_cond;
    std::deque<QueuedCallMe*> m_queue;
};

} // namespace KeloTest

#endif
