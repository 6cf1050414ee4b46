#ifndef KELO_TESTS_PORT_LINKEVENTRECORDER_H
#define KELO_TESTS_PORT_LINKEVENTRECORDER_H
// Test helper: a link-status listener that records every event with its context, and lets a
// test wait for the n-th one (the limit only stops a broken monitor from hanging the test).
#include "core/LinkStatusDriver.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

class LinkEventRecorder : public KELO::LinkStatusListener
{
public:
    void Callback(void* context, Event event) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(static_cast<int>(event));
        m_contexts.push_back(context);
        m_changed.notify_all();
    }
    // True once at least `count` events arrived.
    bool waitFor(size_t count, std::chrono::seconds limit = std::chrono::seconds(20))
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, limit, [&] { return m_events.size() >= count; });
    }
    std::vector<int> events() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }
    std::vector<void*> contexts() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_contexts;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<int> m_events;
    std::vector<void*> m_contexts;
};

#endif
