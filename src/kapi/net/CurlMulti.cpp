// CurlMulti: libcurl's multi-socket interface over Kapi::Poll. Poll events carry the
// descriptor itself as user data. Level-triggered registration is used because libcurl does
// not promise to drain a socket in one action call.
#include "kapi/net/CurlMulti.h"

#include "kapi/Poll.h"
#include "kapi/Timer.h"
#include "kapi/net/CurlEasy.h"
#include "kapi/net/CurlPool.h"
#include "kapi/vLog.h"

#include <climits>
#include <curl/curl.h>
#include <map>
#include <vector>

namespace Kapi {
namespace Net {

namespace {

constexpr long long kNoDeadline = LLONG_MAX;
constexpr long long kMaxWaitMs = 0x7fffffffLL; // 2^31 - 1

typedef std::multimap<long long, CURL*> DeadlineMap;

// The heap cell a timed request's private data points at.
struct DeadlineCell
{
    DeadlineMap::iterator position;
};

long long nowMs()
{
    return Timer::now() / 1000;
}

} // namespace

struct CurlMulti::State
{
    CURLM* multi = nullptr;
    CurlPool* pool = nullptr;
    Poll poll{Poll::POLL_LEVEL_TRIGGERED};
    long long timerDeadline = kNoDeadline;
    DeadlineMap deadlines;
    int active = 0;
    std::vector<Poll::Event> events;
};

CurlMulti::CurlMulti(CurlPool* pool) : m_state(new State)
{
    m_state->pool = pool;
    m_state->multi =
        static_cast<CURLM*>(pool != nullptr ? pool->getMultiHandle() : curl_multi_init());
    CURLM* multi = m_state->multi;
    if (multi != nullptr) {
        curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, timer_callback_function);
        curl_multi_setopt(multi, CURLMOPT_TIMERDATA, this);
        curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, socket_callback_function);
        curl_multi_setopt(multi, CURLMOPT_SOCKETDATA, this);
    }
}

CurlMulti::~CurlMulti()
{
    if (m_state->active > 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "CurlMulti(%p)::~CurlMulti() - still have %d outstanding connections in "
                        "progress",
                        static_cast<void*>(this), m_state->active);
    }
    CURLM* multi = m_state->multi;
    if (multi != nullptr) {
        // A pooled handle outlives this object: it must not call back into it.
        curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, nullptr);
        curl_multi_setopt(multi, CURLMOPT_TIMERDATA, nullptr);
        curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, nullptr);
        curl_multi_setopt(multi, CURLMOPT_SOCKETDATA, nullptr);
        if (m_state->pool != nullptr) {
            m_state->pool->returnMultiHandle(multi);
        } else {
            curl_multi_cleanup(multi);
        }
    }
    for (auto& entry : m_state->deadlines) {
        delete static_cast<DeadlineCell*>(CurlEasy::getAndClearPrivateData(entry.second));
    }
}

int CurlMulti::getActiveCount() const
{
    return m_state->active;
}

int CurlMulti::timer_callback_function(void*, long timeoutMs, void* self)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG,
                    "CurlMulti::timer_callback_function(): timeout=%ld", timeoutMs);
    if (self == nullptr) {
        return 0;
    }
    State& state = *static_cast<CurlMulti*>(self)->m_state;
    state.timerDeadline = timeoutMs == -1 ? kNoDeadline : nowMs() + timeoutMs;
    return 0;
}

int CurlMulti::socket_callback_function(void*, int fd, int what, void* self, void*)
{
    if (self == nullptr || what == CURL_POLL_NONE) {
        return 0;
    }
    static_cast<CurlMulti*>(self)->setFdEvents_i(fd, what);
    return 0;
}

void CurlMulti::setFdEvents_i(int fd, int what)
{
    Poll& poll = m_state->poll;
    if (what == CURL_POLL_REMOVE) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "CurlMulti::removeFd(), fd=%d", fd);
        poll.removeFd(fd);
        return;
    }
    unsigned pollWhat = 0;
    if ((what & CURL_POLL_IN) != 0) {
        pollWhat |= EPOLLIN;
    }
    if ((what & CURL_POLL_OUT) != 0) {
        pollWhat |= EPOLLOUT;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG,
                    "CurlMulti::addNewFd(), fd=%d, what=%d, pollWhat=%u", fd, what, pollWhat);
    const Poll::Event event{pollWhat, static_cast<uintptr_t>(fd)};
    if (!poll.changePollEvent(fd, event)) {
        poll.addPollEvent(fd, event);
    }
}

int CurlMulti::addHandle(CurlEasy* easy)
{
    State& state = *m_state;
    CURL* handle = static_cast<CURL*>(easy->getEasyHandle());
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "CurlMulti(%p)::addHandle() - new handle=%p",
                    static_cast<void*>(this), static_cast<void*>(handle));
    if (easy->getTimeout() > 0) {
        const long long deadline =
            (Timer::now() + static_cast<long long>(easy->getTimeout()) * 1000000) / 1000;
        easy->setPrivateData(new DeadlineCell{state.deadlines.emplace(deadline, handle)});
    }
    ++state.active;
    const Curl::Code setup = easy->setupTransfer();
    if (setup != Curl::kOk) {
        callTransferListener_i(handle, setup);
        return Curl::kFailedInit;
    }
    const CURLMcode added =
        state.multi != nullptr ? curl_multi_add_handle(state.multi, handle) : CURLM_BAD_HANDLE;
    if (added != CURLM_OK) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "CurlMulti(%p)::addHandle() handle=%p failed with st=%d",
                        static_cast<void*>(this), static_cast<void*>(handle),
                        static_cast<int>(added));
        callTransferListener_i(handle, Curl::kFailedInit);
    }
    return Curl::kOk;
}

void CurlMulti::callTransferListener_i(void* easyHandle, Curl::Code code)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG,
                    "CurlMulti(%p)::callTransferListener() - handle=%p, st=%d",
                    static_cast<void*>(this), easyHandle, code);
    DeadlineCell* cell = static_cast<DeadlineCell*>(CurlEasy::getAndClearPrivateData(easyHandle));
    if (cell != nullptr) {
        m_state->deadlines.erase(cell->position);
        delete cell;
    }
    CurlEasy::callTransferListener(easyHandle, code);
    --m_state->active;
}

void CurlMulti::removeHandle(CurlEasy* easy)
{
    CURL* handle = static_cast<CURL*>(easy->getEasyHandle());
    if (m_state->multi != nullptr && curl_multi_remove_handle(m_state->multi, handle) == CURLM_OK) {
        callTransferListener_i(handle, Curl::kPartialFile);
    }
}

void CurlMulti::callCurlAction_i(int fd, int events)
{
    State& state = *m_state;
    int running = 0;
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG,
                    "CurlMulti::callCurlAction() fd=%d, ev=%d, run count=%d", fd, events,
                    state.active);
    CURLMcode result;
    do {
        result = curl_multi_socket_action(state.multi, fd, events, &running);
    } while (result == CURLM_CALL_MULTI_PERFORM);
    if (result != CURLM_OK) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "CurlMulti(%p)::callCurlAction() - curl_multi_socket_action failed with "
                        "st=%d",
                        static_cast<void*>(this), static_cast<int>(result));
    }
    if (running >= state.active) {
        return;
    }
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(state.multi, &left)) {
        if (message->msg != CURLMSG_DONE) {
            continue;
        }
        // The message does not survive curl_multi_remove_handle.
        CURL* handle = message->easy_handle;
        const Curl::Code code = message->data.result;
        curl_multi_remove_handle(state.multi, handle);
        callTransferListener_i(handle, code);
    }
}

bool CurlMulti::checkTimeouts_i(long long now)
{
    State& state = *m_state;
    bool completed = false;
    while (!state.deadlines.empty() && state.deadlines.begin()->first <= now) {
        CURL* handle = state.deadlines.begin()->second;
        curl_multi_remove_handle(state.multi, handle);
        callTransferListener_i(handle, Curl::kTimedOut);
        completed = true;
    }
    return completed;
}

void CurlMulti::go(long long timeoutMicroseconds)
{
    State& state = *m_state;
    if (state.multi == nullptr) {
        return;
    }
    const long long now = nowMs();
    if (state.timerDeadline != kNoDeadline && state.timerDeadline - now <= 0) {
        state.timerDeadline = kNoDeadline;
        callCurlAction_i(CURL_SOCKET_TIMEOUT, 0);
        return;
    }
    if (checkTimeouts_i(now)) {
        return;
    }
    long long wait = timeoutMicroseconds / 1000;
    if (state.timerDeadline != kNoDeadline && state.timerDeadline - now < wait) {
        wait = state.timerDeadline - now;
    }
    if (!state.deadlines.empty() && state.deadlines.begin()->first - now < wait) {
        wait = state.deadlines.begin()->first - now;
    }
    if (wait >= kMaxWaitMs) {
        wait = kMaxWaitMs;
    }
    if (wait < 0) {
        wait = 0;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG,
                    "CurlMulti::go() Waiting for events with timeout=%lldms", wait);
    state.events.clear();
    const int count = state.poll.waitForEvents(state.events, static_cast<unsigned>(wait), nullptr);
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG, "CurlMulti::go() Poll returns %d", count);
    // Actions change registrations, never this round's records.
    for (const Poll::Event& event : state.events) {
        int bits = 0;
        if ((event.events & EPOLLIN) != 0) {
            bits |= CURL_CSELECT_IN;
        }
        if ((event.events & EPOLLOUT) != 0) {
            bits |= CURL_CSELECT_OUT;
        }
        if ((event.events & EPOLLERR) != 0) {
            bits |= CURL_CSELECT_ERR;
        }
        callCurlAction_i(static_cast<int>(event.userData), bits);
    }
}

void CurlMulti::cancelGo()
{
    m_state->poll.cancelWaitForEvents();
}

} // namespace Net
} // namespace Kapi
