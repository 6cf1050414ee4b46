#ifndef KAPI_NET_CURLINITNODE_H
#define KAPI_NET_CURLINITNODE_H
// The start-up node "CurlInitNode" (after OpenSslInitNode and TaskScheduler) of the curl layer;
// its one instance is CurlInitNode::s_instance. The curl layer is not built yet: for now the
// node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace Kapi {
namespace Net {

class CurlInitNode : public Init::NoOpInitNode
{
public:
    // Constant-initialised: valid before any static constructor runs.
    static CurlInitNode* const s_instance;

private:
    CurlInitNode();

    static CurlInitNode s_node;
};

} // namespace Net
} // namespace Kapi

#endif
