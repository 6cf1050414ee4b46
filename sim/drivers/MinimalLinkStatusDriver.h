#ifndef SIM_DRIVERS_MINIMALLINKSTATUSDRIVER_H
#define SIM_DRIVERS_MINIMALLINKSTATUSDRIVER_H
// A minimal link-status driver for running the client without the device port: its monitor
// keeps one listener and never reports a change (it does not poll the interfaces). The
// remuxer stand-in lives here too until the platform remuxer library is simulated.
#include "ListenerSlot.h"
#include "core/LinkStatusDriver.h"

namespace SimDrivers {

class MinimalLinkStatusMonitor : public KELO::LinkStatusMonitor
{
public:
    int32 AddListener(void* context, KELO::LinkStatusListener* listener) override;
    int32 RemoveListener(KELO::LinkStatusListener* listener) override;

private:
    ListenerSlot<KELO::LinkStatusListener> mListener;
};

class MinimalLinkStatusDriver : public KELO::LinkStatusDriver
{
public:
    KELO::LinkStatusMonitor* getLinkStatusMonitor() override { return &mMonitor; }

private:
    MinimalLinkStatusMonitor mMonitor;
};

} // namespace SimDrivers

#endif
