// The epoll wrapper. User data travels in the 64-bit epoll data word as a uintptr_t, so the
// reserved value is the same on 32- and 64-bit targets.
#include "kapi/Poll.h"

#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <utility>

namespace Kapi {

namespace {

constexpr uint32 kEdgeTriggered = 0x80000000u; // EPOLLET
constexpr unsigned char kWakeUpByte = 0xAA;
constexpr size_t kDrainChunk = 100;

bool setNonBlocking(int fd)
{
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

} // namespace

Poll::Poll(PollType type)
    : m_pipeFds{-1, -1}, m_edgeFlag(type == POLL_EDGE_TRIGGERED ? kEdgeTriggered : 0),
      m_fd(epoll_create(static_cast<int>(kInitialCapacity))),
      m_events(new (std::nothrow) epoll_event[kInitialCapacity]), m_capacity(kInitialCapacity)
{
    if (!(m_fd >= 0)) {
        PanicAssertFail("m_fd >= 0", "KapiPoll", 101);
    }
    if (!(m_events != nullptr)) {
        PanicAssertFail("m_events != NULL", "KapiPoll", 102);
    }
    createPipeFds_i();
    if (m_pipeFds[0] >= 0) {
        addPollEvent(m_pipeFds[0], Event{EPOLLIN, kWakeUpUserData});
    }
}

Poll::~Poll()
{
    close(m_fd);
    for (int& fd : m_pipeFds) {
        if (fd >= 0) {
            close(fd);
            fd = -1;
        }
    }
}

void Poll::createPipeFds_i()
{
    int fds[2];
    if (pipe(fds) != 0 || !setNonBlocking(fds[0]) || !setNonBlocking(fds[1])) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "Poll::createPipeFds() could not create pipe %m");
        return;
    }
    m_pipeFds[0] = fds[0];
    m_pipeFds[1] = fds[1];
}

bool Poll::addOrChangePollEvent_i(int op, int fd, Event event)
{
    epoll_event record{};
    record.events = event.events | m_edgeFlag;
    record.data.u64 = static_cast<uint64>(event.userData);
    if (epoll_ctl(m_fd, op, fd, &record) == 0) {
        return true;
    }
    if (errno != ENOENT) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "Poll::addOrChangePollEvent(): %m");
    }
    return false;
}

bool Poll::addPollEvent(int fd, Event event)
{
    return addOrChangePollEvent_i(EPOLL_CTL_ADD, fd, event);
}

bool Poll::changePollEvent(int fd, Event event)
{
    return addOrChangePollEvent_i(EPOLL_CTL_MOD, fd, event);
}

bool Poll::removeFd(int fd)
{
    epoll_event unused{}; // kernels before 2.6.9 require a non-null pointer
    if (epoll_ctl(m_fd, EPOLL_CTL_DEL, fd, &unused) == 0) {
        return true;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "Poll::removeFd(%d): %m", fd);
    return false;
}

void Poll::cancelWaitForEvents()
{
    const unsigned char byte = kWakeUpByte;
    if (write(m_pipeFds[1], &byte, 1) != 1) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "Poll::cancelWaitForEvents() could not write");
    }
}

void Poll::drainPipe_i()
{
    unsigned char buffer[kDrainChunk];
    while (read(m_pipeFds[0], buffer, sizeof(buffer)) > 0) {
    }
}

int Poll::waitForEvents(std::vector<Event>& out, unsigned timeoutMs, bool* cancelled)
{
    const int count =
        epoll_wait(m_fd, m_events.get(), static_cast<int>(m_capacity), static_cast<int>(timeoutMs));
    if (count <= 0) {
        return count;
    }
    int appended = 0;
    for (int i = 0; i < count; ++i) {
        const uintptr_t userData = static_cast<uintptr_t>(m_events[i].data.u64);
        if (userData == kWakeUpUserData) {
            drainPipe_i();
            if (cancelled != nullptr) {
                *cancelled = true;
            }
            continue;
        }
        out.push_back(Event{m_events[i].events, userData});
        ++appended;
    }
    if (static_cast<uint32>(count) == m_capacity) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO,
                        "Poll::waitForEvents: got %u events, doubling the array",
                        static_cast<unsigned>(count));
        std::unique_ptr<epoll_event[]> larger(new (std::nothrow) epoll_event[m_capacity * 2]);
        if (larger != nullptr) {
            m_events = std::move(larger);
            m_capacity *= 2;
        }
    }
    return appended;
}

} // namespace Kapi
