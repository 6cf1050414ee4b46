// The watchdog's start-up node: a process-wide object with no dependencies.
#include "kapi/WatchdogInit.h"

namespace Kapi {

WatchdogInit WatchdogInit::s_node;

Init::InitNode* WatchdogMaster::getInitNode()
{
    return &WatchdogInit::s_node;
}

WatchdogInit::WatchdogInit() : NoOpInitNode("WatchdogInit") {}

} // namespace Kapi
