// The event loop proper: the timeout pass, one poll per iteration, socket events, the
// cross-thread queue, idle work and the release of sockets whose peer closed.
//
// Each iteration: poll (without waiting when idle work is pending and nothing is due within
// 10 ms), run the cross-thread queue when woken, hand every event to its socket while holding
// a reference to it, close and release the closables, then run the timeouts that became due.
#include "kapi/net/Socket.h"
#include "kapi/net/System.h"
#include "kapi/vLog.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace Kapi {
namespace Net {

namespace {

constexpr int kMaxIdleWaitMs = 10;
constexpr int kMaxPollErrors = 20;

// Runs the due heads of one timed list; the first head not due competes for the earliest.
bool runDue(TimeoutList<Timeout>& list, int64 now, int64& earliest, bool& anyDue)
{
    bool called = false;
    while (Timeout* head = list.head()) {
        if (head->dueTime() > now) {
            if (!anyDue || head->dueTime() < earliest)
                earliest = head->dueTime();
            anyDue = true;
            break;
        }
        head->unlink();
        head->fire();
        called = true;
    }
    return called;
}

} // namespace

int System::doTimeouts()
{
    for (;;) {
        const int64 now = this->now();
        int64 earliest = 0;
        bool anyDue = false;
        bool called = false;
        TimeoutList<Timeout>* const timed[] = {&m_thirtySecond, &m_twentySecond,    &m_oneSecond,
                                               &m_tenthSecond,  &m_hundredthSecond, &m_fast};
        for (TimeoutList<Timeout>* list : timed)
            called |= runDue(*list, now, earliest, anyDue);
        // Items added to the instant list by these calls run in this same pass.
        while (Timeout* head = m_instant.head()) {
            head->unlink();
            head->fire();
            called = true;
        }
        if (called)
            return 0;
        if (!anyDue)
            return -1;
        const int64 later = this->now();
        if (earliest > later) {
            const int64 waitMs = (earliest - later + 999) / 1000;
            return waitMs > INT_MAX ? INT_MAX : static_cast<int>(waitMs);
        }
    }
}

void System::runOneIdle_i()
{
    if (Timeout* head = m_idle.head()) {
        head->unlink();
        head->fire();
    }
}

void System::processOtherThread_i()
{
    // The lock object outlives a shut-down run by one of the callbacks.
    Mutex* const lock = m_pThreadLock.load();
    if (lock == nullptr)
        return;
    lock->acquire();
    unsigned count = m_crossThreadQueue.size();
    lock->release();
    // Nodes posted while these run wait for the next wake-up.
    while (count-- > 0) {
        lock->acquire();
        CrossThreadTimeout* node = m_crossThreadQueue.head();
        if (node != nullptr)
            node->unlink();
        lock->release();
        if (node == nullptr)
            break;
        node->fire();
    }
}

void System::loop_i()
{
    std::vector<Poll::Event> events;
    events.reserve(m_maxEvents > 0 ? static_cast<size_t>(m_maxEvents) : 0);
    std::vector<Socket*> held;
    int wait = doTimeouts();
    int errors = 0;
    for (;;) {
        if (wait < 0 && m_socketCount == 0 && m_idle.empty() && m_pThreadLock.load() == nullptr)
            return; // nothing can ever happen again
        events.clear();
        bool woken = false;
        int result;
        if ((wait >= 0 && wait <= kMaxIdleWaitMs) || m_idle.empty()) {
            result = m_vPoll->waitForEvents(events, static_cast<unsigned>(wait), &woken);
        } else {
            result = m_vPoll->waitForEvents(events, 0, &woken);
            if (result == 0 && !woken)
                runOneIdle_i();
        }
        if (result < 0) {
            if (errno != EINTR && ++errors > kMaxPollErrors) {
                if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
                    vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                                "Repeated poll() errors, terminating: %m");
                exit(1);
            }
            wait = doTimeouts();
            continue;
        }
        held.clear();
        for (const Poll::Event& event : events) {
            Socket* socket = reinterpret_cast<Socket*>(event.userData);
            socket->sockAddRef();
            held.push_back(socket);
        }
        if (woken)
            processOtherThread_i();
        for (size_t i = 0; i < held.size(); ++i) {
            held[i]->handle(events[i].events);
            held[i]->delRef();
        }
        releaseClosables_i();
        wait = doTimeouts();
        errors = 0;
    }
}

} // namespace Net
} // namespace Kapi
