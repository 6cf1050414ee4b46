#ifndef KAPI_WATCHDOGINIT_H
#define KAPI_WATCHDOGINIT_H
// The start-up node "WatchdogInit" (no dependencies) of the software watchdog, reached through
// Kapi::WatchdogMaster::getInitNode(). The watchdog itself is not built yet: for now the node's
// start and stop do nothing and succeed, and WatchdogMaster offers only the node accessor.
#include "kapi/InitNode.h"

namespace Kapi {

class WatchdogInit : public Init::NoOpInitNode
{
public:
private:
    friend class WatchdogMaster;
    WatchdogInit();

    static WatchdogInit s_node;
};

class WatchdogMaster
{
public:
    static Init::InitNode* getInitNode();
};

} // namespace Kapi

#endif
