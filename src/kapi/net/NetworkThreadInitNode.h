#ifndef KAPI_NET_NETWORKTHREADINITNODE_H
#define KAPI_NET_NETWORKTHREADINITNODE_H
// The start-up node "NetworkThreadInitNode" (no dependencies) of the network thread and its
// event loop. The network thread is not built yet: for now the node's start and stop do
// nothing and succeed.
#include "kapi/InitNode.h"

namespace Kapi {
namespace NetThread {

class NetworkThreadInitNode : public Init::NoOpInitNode
{
public:
    static NetworkThreadInitNode* getInstance();

private:
    NetworkThreadInitNode();

    static NetworkThreadInitNode s_node;
};

} // namespace NetThread
} // namespace Kapi

#endif
