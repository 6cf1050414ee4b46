#ifndef ARM11MTK_PORT_LINKSTATUSDRIVERGENERIC_H
#define ARM11MTK_PORT_LINKSTATUSDRIVERGENERIC_H
// The link-status driver of the device: it owns one LinkStatusMonitorGeneric, made on the first
// request. One driver per process, made by CreateGenericLinkStatusDriver() (PortDrivers.h).
// Destroying the driver destroys the monitor, which must have no listener by then.
#include "LinkStatusMonitorGeneric.h"

#include "core/LinkStatusDriver.h"

#include <memory>

class LinkStatusDriverGeneric : public KELO::LinkStatusDriver
{
public:
    LinkStatusDriverGeneric() = default;
    KELO::LinkStatusMonitor* getLinkStatusMonitor() override;

private:
    std::unique_ptr<LinkStatusMonitorGeneric> m_monitor;
};

#endif
