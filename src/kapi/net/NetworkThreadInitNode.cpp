// The network thread's start-up node: a process-wide object with no dependencies.
#include "kapi/net/NetworkThreadInitNode.h"

namespace Kapi {
namespace NetThread {

NetworkThreadInitNode NetworkThreadInitNode::s_node;

NetworkThreadInitNode* NetworkThreadInitNode::getInstance()
{
    return &s_node;
}

NetworkThreadInitNode::NetworkThreadInitNode() : NoOpInitNode("NetworkThreadInitNode") {}

} // namespace NetThread
} // namespace Kapi
