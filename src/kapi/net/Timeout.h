#ifndef KAPI_NET_TIMEOUT_H
#define KAPI_NET_TIMEOUT_H
// Work items of the network event loop. Every item is a node of an intrusive ring (DoubleLink),
// so unlinking is always safe and an item is in at most one list at a time. A TimeoutList is
// such a ring around a sentinel node that is never handed to a callback.
//
// Timeout: a one-shot callback with a due time, owned by its user and touched only on the loop
// thread. Every submit first unlinks the node, so submitting again moves it; the destructor
// unlinks too. Each timed list of a System has one fixed delay and is appended at its tail, so
// its head is always the earliest due.
//
// CrossThreadTimeout: a node without a due time that any thread may post to a System's
// cross-thread queue; the loop thread then runs its callback once. Posting and cancelling take
// the System's thread lock; both do nothing once the System's threading is off. A node must be
// out of the queue (cancelled, run, or dropped by the System's shut-down) before it is
// destroyed; the destructor enforces it.
#include "kapi/DoubleLink.h"
#include "kapi/KapiTypes.h"

namespace Kapi {
namespace Net {

class System;

typedef void (*TimeoutCallback)(void* context);

// A FIFO of nodes of one type T (Timeout or CrossThreadTimeout).
template <class T> class TimeoutList
{
public:
    TimeoutList() = default;
    TimeoutList(const TimeoutList&) = delete;
    TimeoutList& operator=(const TimeoutList&) = delete;
    ~TimeoutList() { clear(); }

    bool empty() const { return !m_sentinel.isLinked(); }
    T* head() const { return empty() ? nullptr : static_cast<T*>(m_sentinel.next()); }
    // Links `node` (already unlinked) at the tail.
    void append(T* node) { static_cast<DoubleLink*>(node)->linkBefore(&m_sentinel); }
    unsigned size() const
    {
        unsigned count = 0;
        for (const DoubleLink* link = m_sentinel.next(); link != &m_sentinel; link = link->next())
            ++count;
        return count;
    }
    // Unlinks every node, leaving each pointing at itself.
    void clear()
    {
        while (!empty())
            m_sentinel.next()->unlink();
    }

private:
    DoubleLink m_sentinel;
};

class Timeout : public DoubleLink
{
public:
    Timeout() = default;
    Timeout(void* context, TimeoutCallback callback) : m_context(context), m_callback(callback) {}
    ~Timeout() { unlink(); }

    void setCallback(void* context, TimeoutCallback callback)
    {
        m_context = context;
        m_callback = callback;
    }

    void submitInstant(System* system);
    void submitHundredthSecond(System* system);
    void submitTenthSecond(System* system);
    void submitOneSecond(System* system);
    void submitTwentySecond(System* system);
    void submitThirtySecond(System* system);
    void submitFast(System* system);
    void submitIdle(System* system);
    void cancel() { unlink(); }

    // Meaningful for the timed lists only.
    int64 dueTime() const { return m_due; }
    void fire() { m_callback(m_context); }

private:
    friend class System;

    void submitTimed_i(System* system, TimeoutList<Timeout>& list, int64 delay);

    int64 m_due = 0;
    void* m_context = nullptr;
    TimeoutCallback m_callback = nullptr;
};

class CrossThreadTimeout : public DoubleLink
{
public:
    CrossThreadTimeout() = default;
    CrossThreadTimeout(void* context, TimeoutCallback callback)
        : m_context(context), m_callback(callback)
    {
    }
    ~CrossThreadTimeout();

    // Before any post; not while the node may be queued.
    void setCallback(void* context, TimeoutCallback callback)
    {
        m_context = context;
        m_callback = callback;
    }

    // Any thread.
    void submitInstantFromAnotherThread(System* system);
    void cancel(System* system);

    void fire() { m_callback(m_context); }

private:
    void* m_context = nullptr;
    TimeoutCallback m_callback = nullptr;
};

} // namespace Net
} // namespace Kapi

#endif
