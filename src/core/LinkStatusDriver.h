#ifndef CORE_LINKSTATUSDRIVER_H
#define CORE_LINKSTATUSDRIVER_H
// Network link status: the driver hands out a monitor that tells its listeners when the
// network link or the link to the service goes down or comes up. The monitor belongs to the
// driver. Operations returning int32 give a KELO::Status.
//
// Threads: callbacks arrive on the monitor's own (polling) thread; receivers only post work.
#include "core/KeloStatus.h"
#include "kapi/KapiTypes.h"

namespace KELO {

class LinkStatusListener
{
public:
    enum Event : int32
    {
        LinkDown = 1,
        LinkUp = 2,
        ServiceLinkDown = 3,
        ServiceLinkUp = 4
    };
    virtual ~LinkStatusListener() = default;
    virtual void Callback(void* context, Event event) = 0;
};

class LinkStatusMonitor
{
public:
    LinkStatusMonitor() = default;
    LinkStatusMonitor(const LinkStatusMonitor&) = delete;
    LinkStatusMonitor& operator=(const LinkStatusMonitor&) = delete;

    // Slot order is fixed; a polling monitor adds its own queries after these.
    virtual ~LinkStatusMonitor() = default;
    virtual int32 AddListener(void* context, LinkStatusListener* listener) = 0;
    virtual int32 RemoveListener(LinkStatusListener* listener) = 0;
};

class LinkStatusDriver
{
public:
    LinkStatusDriver() = default;
    LinkStatusDriver(const LinkStatusDriver&) = delete;
    LinkStatusDriver& operator=(const LinkStatusDriver&) = delete;

    // Slot order is fixed.
    virtual ~LinkStatusDriver() = default;
    virtual LinkStatusMonitor* getLinkStatusMonitor() = 0;
};

} // namespace KELO

#endif
