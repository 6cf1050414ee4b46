#ifndef KAPI_TIMESTOREINITNODE_H
#define KAPI_TIMESTOREINITNODE_H
// The start-up node "TimeStoreInitNode" (no dependencies) of the time store, which keeps the
// wall-clock offset learnt from the service. The time store is not built yet: for now the
// node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace Kapi {

class TimeStoreInitNode : public Init::NoOpInitNode
{
public:
    static TimeStoreInitNode* getInstance();

private:
    TimeStoreInitNode();

    static TimeStoreInitNode s_node;
};

} // namespace Kapi

#endif
