#ifndef KAPI_NET_TIMEOUTCALLME_H
#define KAPI_NET_TIMEOUTCALLME_H
// Completion signals that come back to a network loop's thread. A TimeoutCallMe embeds one
// loop work item whose callback is staticCallNow; triggering queues that item, and the loop
// later runs callNow(), which records the running thread (the first time) and calls the
// listener's changed(). Triggers before that call merge into one, because queueing an item
// that is already queued only moves it.
//
// Two kinds, made by a TimeoutCallMeFactory bound to one System:
// - multi-threaded: trigger() posts a CrossThreadTimeout and is safe from any thread; it does
//   nothing once the System's threading is off;
// - single-threaded: trigger() appends a Timeout to the instant list; loop thread only.
// A call-me is owned and deleted by whoever created it, on the loop thread and before its
// System is deleted; deletion cancels a pending call.
#include "kapi/StreamCallMe.h"
#include "kapi/net/Timeout.h"

#include <pthread.h>

namespace Kapi {
namespace Net {

class System;

class TimeoutCallMe : public Stream::CallMe
{
public:
    // The System's factories (made once, owned by the System).
    static const Stream::CallMeFactory* getFactory(System* system);
    static const Stream::CallMeFactory* getSameThreadFactory(System* system);

    void setChangeListener(Stream::ChangeListener* listener) override { m_listener = listener; }
    void callNow();
    static void staticCallNow(void* self);

    // Which thread the call-me ran on (or was triggered from, for the single-threaded kind).
    bool hasThreadId() const { return m_hasThreadId; }
    pthread_t getThreadId() const { return m_threadId; }

protected:
    TimeoutCallMe() = default;

    pthread_t m_threadId{};
    bool m_hasThreadId = false;
    Stream::ChangeListener* m_listener = nullptr;
};

class TimeoutCallMeMultiThreaded final : public TimeoutCallMe
{
public:
    explicit TimeoutCallMeMultiThreaded(System* system);
    ~TimeoutCallMeMultiThreaded() override;

    void trigger() override;

private:
    CrossThreadTimeout m_node;
    System* m_system;
};

class TimeoutCallMeSingleThreaded final : public TimeoutCallMe
{
public:
    explicit TimeoutCallMeSingleThreaded(System* system);

    void trigger() override;

private:
    Timeout m_node; // unlinks itself on destruction
    System* m_system;
};

class TimeoutCallMeFactory : public Stream::CallMeFactory
{
public:
    TimeoutCallMeFactory(bool multiThreaded, System* system)
        : m_multiThreaded(multiThreaded), m_system(system)
    {
    }

    Stream::CallMe* create() const override;

private:
    bool m_multiThreaded;
    System* m_system;
};

} // namespace Net
} // namespace Kapi

#endif
