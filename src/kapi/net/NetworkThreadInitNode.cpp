// The network thread's start-up node: a process-wide object with no dependencies.
#include "kapi/net/NetworkThreadInitNode.h"

namespace Kapi {
namespace NetThread {

NetworkThreadInitNode NetworkThreadInitNode::s_node;

NetworkThreadInitNode* NetworkThreadInitNode::getInstance()
{
    return &s_node;
}

NetworkThreadInitNode::NetworkThreadInitNode() : InitNode("NetworkThreadInitNode") {}

bool NetworkThreadInitNode::start(const Kapi::vConfig&)
{
    return true;
}

bool NetworkThreadInitNode::stop()
{
    return true;
}

} // namespace NetThread
} // namespace Kapi
