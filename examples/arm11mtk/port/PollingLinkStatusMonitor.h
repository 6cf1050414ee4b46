#ifndef ARM11MTK_PORT_POLLINGLINKSTATUSMONITOR_H
#define ARM11MTK_PORT_POLLINGLINKSTATUSMONITOR_H
// A link-status monitor that polls: while its one listener is registered, a detached thread
// sleeps a second, then check()s, so each change of the network link or the service link
// gives exactly one notification. AddListener() reports both current states at once (network,
// then service) on the caller's thread.
//
// Representation: the listener and its context (null when none), the last network state
// (starts down) and the last service state (starts up); two process-wide flags,
// stop-requested and stopped, are the handshake with the polling thread.
//
// Threads: AddListener and RemoveListener are for one thread (the registrant's); the listener
// is called from the polling thread while it runs. RemoveListener blocks until the thread has
// gone, about a second at most. The last states belong to the polling thread while it runs.
#include "core/LinkStatusDriver.h"

#include <atomic>

namespace KELO {

class PollingLinkStatusMonitor : public LinkStatusMonitor
{
public:
    PollingLinkStatusMonitor();
    // Requires that no listener is registered (fatal otherwise).
    ~PollingLinkStatusMonitor() override;

    // NOT_SUPPORTED when a listener is registered already; FAILURE when the polling thread
    // cannot be started (the listener is then not kept).
    int32 AddListener(void* context, LinkStatusListener* listener) override;
    // INVALID_ARGUMENTS unless `listener` is the registered one.
    int32 RemoveListener(LinkStatusListener* listener) override;

    // The base versions answer "up".
    virtual bool getLinkStatus();
    virtual bool getServiceLinkStatus();
    // Reads both states and notifies each change (service first).
    virtual void check();

private:
    static void* pollingThread(void* monitor);
    void notify_i(LinkStatusListener::Event event);

    LinkStatusListener* m_listener = nullptr;
    void* m_userData = nullptr;
    bool m_linkStatus = false;
    bool m_serviceLinkStatus = true;

    static std::atomic<bool> s_stopRequested;
    static std::atomic<bool> s_stopped;
};

} // namespace KELO

#endif
