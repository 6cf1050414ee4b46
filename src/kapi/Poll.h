#ifndef KAPI_POLL_H
#define KAPI_POLL_H
// An epoll set with a built-in wake-up pipe. The pipe's read end is registered for input from
// construction to destruction with the reserved user data kWakeUpUserData (-1); a byte written
// by cancelWaitForEvents() makes a blocked waitForEvents() return. The record array starts at
// 100 records and doubles whenever one wait fills it. Every descriptor is registered
// edge-triggered for PollType 0 and level-triggered for any other type.
//
// waitForEvents() is meant for one thread at a time; registration and cancelWaitForEvents()
// are safe from any thread.
#include "kapi/KapiTypes.h"

#include <cstdint>
#include <memory>
#include <sys/epoll.h>
#include <vector>

namespace Kapi {

class Poll
{
public:
    // Any value other than 0 is level-triggered.
    enum PollType : int
    {
        POLL_EDGE_TRIGGERED = 0,
        POLL_LEVEL_TRIGGERED = 1
    };

    struct Event
    {
        uint32 events;      // epoll event bits (EPOLLIN, EPOLLOUT, ...)
        uintptr_t userData; // returned with the event; kWakeUpUserData is reserved
    };

    static constexpr uintptr_t kWakeUpUserData = static_cast<uintptr_t>(-1);
    static constexpr uint32 kInitialCapacity = 100;

    explicit Poll(PollType type);
    ~Poll();
    Poll(const Poll&) = delete;
    Poll& operator=(const Poll&) = delete;

    // True on success; false (logged unless the descriptor is unknown, ENOENT) on failure.
    bool addPollEvent(int fd, Event event);
    bool changePollEvent(int fd, Event event);
    // False (logged) when the descriptor is not registered.
    bool removeFd(int fd);
    // Waits up to `timeoutMs` (UINT_MAX: no limit) and appends the ready descriptors' events to
    // `out`. A wake-up sets *cancelled (when given) to true and is not appended; *cancelled is
    // never set to false. Returns the number appended, or epoll_wait's result when that is 0
    // (time-out) or negative (error, errno set).
    int waitForEvents(std::vector<Event>& out, unsigned timeoutMs, bool* cancelled);
    // Wakes the thread blocked in (or next entering) waitForEvents().
    void cancelWaitForEvents();

    uint32 capacity() const { return m_capacity; }

private:
    void createPipeFds_i();
    bool addOrChangePollEvent_i(int op, int fd, Event event);
    void drainPipe_i();

    int m_pipeFds[2]; // read end, write end; -1 when not open
    uint32 m_edgeFlag;
    int m_fd; // the epoll descriptor
    std::unique_ptr<epoll_event[]> m_events;
    uint32 m_capacity; // records in m_events
};

} // namespace Kapi

#endif
