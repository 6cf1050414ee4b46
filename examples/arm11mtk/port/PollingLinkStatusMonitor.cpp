// The polling link-status monitor: one detached thread per registration, stopped through two
// process-wide flags.
#include "PollingLinkStatusMonitor.h"

#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

#include <pthread.h>
#include <syslog.h>
#include <unistd.h>

namespace KELO {

std::atomic<bool> PollingLinkStatusMonitor::s_stopRequested{false};
std::atomic<bool> PollingLinkStatusMonitor::s_stopped{false};

namespace {

const char kTag[] = "PollingLinkStatusMonitor";

} // namespace

PollingLinkStatusMonitor::PollingLinkStatusMonitor() = default;

PollingLinkStatusMonitor::~PollingLinkStatusMonitor()
{
    if (m_listener != nullptr)
        Kapi::PanicAssertFail("m_listener == __null", __FILE__, __LINE__);
    if (m_userData != nullptr)
        Kapi::PanicAssertFail("m_userData == __null", __FILE__, __LINE__);
}

bool PollingLinkStatusMonitor::getLinkStatus()
{
    _kkSysLog(LOG_INFO, "info", kTag, "%s: Baseclass getLinkStatus() -- no implementation?",
              "getLinkStatus");
    return true;
}

bool PollingLinkStatusMonitor::getServiceLinkStatus()
{
    return true;
}

void PollingLinkStatusMonitor::notify_i(LinkStatusListener::Event event)
{
    if (m_listener != nullptr)
        m_listener->Callback(m_userData, event);
}

int32 PollingLinkStatusMonitor::AddListener(void* context, LinkStatusListener* listener)
{
    if (m_listener != nullptr)
        return NOT_SUPPORTED;
    s_stopRequested = false;
    s_stopped = false;
    m_listener = listener;
    m_userData = context;
    m_linkStatus = getLinkStatus();
    m_serviceLinkStatus = getServiceLinkStatus();
    notify_i(m_linkStatus ? LinkStatusListener::LinkUp : LinkStatusListener::LinkDown);
    notify_i(m_serviceLinkStatus ? LinkStatusListener::ServiceLinkUp
                                 : LinkStatusListener::ServiceLinkDown);

    _kkSysLog(LOG_INFO, "info", kTag, "%s: Start polling thread", "AddListener");
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    const int error =
        pthread_create(&thread, &attr, &PollingLinkStatusMonitor::pollingThread, this);
    pthread_attr_destroy(&attr);
    if (error != 0) {
        _kkSysLog(LOG_ERR, "error", kTag, "%s: Cannot start polling thread (%d)", "AddListener",
                  error);
        m_listener = nullptr;
        m_userData = nullptr;
        return FAILURE;
    }
    return SUCCESS;
}

void* PollingLinkStatusMonitor::pollingThread(void* monitor)
{
    PollingLinkStatusMonitor* self = static_cast<PollingLinkStatusMonitor*>(monitor);
    _kkSysLog(LOG_INFO, "info", kTag, "%s: running", "pollingThread");
    while (!s_stopRequested) {
        sleep(1);
        self->check();
    }
    _kkSysLog(LOG_INFO, "info", kTag, "%s: exitting", "pollingThread");
    // The last touch of shared state: once stopped is seen, the monitor may go away.
    s_stopped = true;
    return nullptr;
}

void PollingLinkStatusMonitor::check()
{
    const bool service = getServiceLinkStatus();
    if (service != m_serviceLinkStatus) {
        m_serviceLinkStatus = service;
        _kkSysLog(LOG_INFO, "info", kTag, "%s: service state changed", "check");
        notify_i(service ? LinkStatusListener::ServiceLinkUp : LinkStatusListener::ServiceLinkDown);
    }
    const bool link = getLinkStatus();
    if (link != m_linkStatus) {
        m_linkStatus = link;
        _kkSysLog(LOG_INFO, "info", kTag, "%s: state changed", "check");
        notify_i(link ? LinkStatusListener::LinkUp : LinkStatusListener::LinkDown);
    }
}

int32 PollingLinkStatusMonitor::RemoveListener(LinkStatusListener* listener)
{
    if (listener == nullptr || listener != m_listener)
        return INVALID_ARGUMENTS;
    _kkSysLog(LOG_INFO, "info", kTag, "%s: Stop polling thread", "RemoveListener");
    s_stopRequested = true;
    while (!s_stopped) {
        sleep(1);
        _kkSysLog(LOG_INFO, "info", kTag, "%s: Waiting for polling thread to exit",
                  "RemoveListener");
    }
    _kkSysLog(LOG_INFO, "info", kTag, "%s: Polling thread gone", "RemoveListener");
    m_listener = nullptr;
    m_userData = nullptr;
    return SUCCESS;
}

} // namespace KELO
