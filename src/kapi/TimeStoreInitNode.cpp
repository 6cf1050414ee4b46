// The time store's start-up node: a process-wide object with no dependencies.
#include "kapi/TimeStoreInitNode.h"

namespace Kapi {

TimeStoreInitNode TimeStoreInitNode::s_node;

TimeStoreInitNode* TimeStoreInitNode::getInstance()
{
    return &s_node;
}

TimeStoreInitNode::TimeStoreInitNode() : InitNode("TimeStoreInitNode") {}

bool TimeStoreInitNode::start(const Kapi::vConfig&)
{
    return true;
}

bool TimeStoreInitNode::stop()
{
    return true;
}

} // namespace Kapi
