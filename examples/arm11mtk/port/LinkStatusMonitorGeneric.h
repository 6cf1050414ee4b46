#ifndef ARM11MTK_PORT_LINKSTATUSMONITORGENERIC_H
#define ARM11MTK_PORT_LINKSTATUSMONITORGENERIC_H
// The polling monitor over Linux interfaces. The network link is up when any of three
// interfaces counts: the wired one ("KELO_LINK_INTERFACE", default "eth0") when up and running
// with a non-zero IPv4 address, or "ath0" or "ra0" when up with a non-zero IPv4 address. The
// service link is up unless the device file "/tmp/kknetcfg.service.down" exists (KELO_ROOT
// prefixes it). A failing socket or ioctl makes an interface count as down.
//
// Threads: the queries hold no state; they run on the polling thread or the registrant's.
#include "PollingLinkStatusMonitor.h"

class LinkStatusMonitorGeneric : public KELO::PollingLinkStatusMonitor
{
public:
    bool getLinkStatus() override;
    bool getServiceLinkStatus() override;
};

#endif
