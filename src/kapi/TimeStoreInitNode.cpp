// The time store's start-up node: a process-wide object with no dependencies.
#include "kapi/TimeStoreInitNode.h"

namespace Kapi {

TimeStoreInitNode TimeStoreInitNode::s_node;

TimeStoreInitNode* TimeStoreInitNode::getInstance()
{
    return &s_node;
}

TimeStoreInitNode::TimeStoreInitNode() : NoOpInitNode("TimeStoreInitNode") {}

} // namespace Kapi
