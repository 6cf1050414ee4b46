// The minimal link-status monitor.
#include "MinimalLinkStatusDriver.h"

namespace SimDrivers {

int32 MinimalLinkStatusMonitor::AddListener(void* /*context*/, KELO::LinkStatusListener* listener)
{
    return mListener.add(listener);
}

int32 MinimalLinkStatusMonitor::RemoveListener(KELO::LinkStatusListener* listener)
{
    return mListener.remove(listener);
}

} // namespace SimDrivers
