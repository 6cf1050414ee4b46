// The link-status driver and its factory pair.
#include "LinkStatusDriverGeneric.h"

#include "../PortDrivers.h"

#include "kapi/vLog.h"

#include <syslog.h>

namespace {

const char kTag[] = "LinkStatusDriverGeneric";

std::unique_ptr<LinkStatusDriverGeneric> s_driver;

} // namespace

KELO::LinkStatusMonitor* LinkStatusDriverGeneric::getLinkStatusMonitor()
{
    if (!m_monitor) {
        _kkSysLog(LOG_INFO, "info", kTag, "Create new LinkStatusMonitorGeneric");
        m_monitor = std::make_unique<LinkStatusMonitorGeneric>();
    }
    return m_monitor.get();
}

KELO::LinkStatusDriver* CreateGenericLinkStatusDriver()
{
    if (!s_driver) {
        s_driver = std::make_unique<LinkStatusDriverGeneric>();
        _kkSysLog(LOG_INFO, "info", kTag, "LinkStatus Driver for GENERIC created");
    }
    return s_driver.get();
}

void DestroyGenericLinkStatusDriver()
{
    if (!s_driver)
        return;
    s_driver.reset();
    _kkSysLog(LOG_INFO, "info", kTag, "LinkStatus Driver for GENERIC destroyed");
}
