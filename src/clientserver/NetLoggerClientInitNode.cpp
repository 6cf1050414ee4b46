// The net logger's start-up node. Its constructor fills the dependency array from accessors
// that only return addresses, so the order of static initialisers does not matter.
#include "clientserver/NetLoggerClientInitNode.h"

#include "clientserver/CommsInitNode.h"
#include "kapi/TaskSchedulerInitNode.h"

namespace ClientServerComms {

namespace {

Kapi::Init::InitNode* s_deps[2];

} // namespace

NetLoggerClientInitNode NetLoggerClientInitNode::s_node;

NetLoggerClientInitNode* NetLoggerClientInitNode::getInstance()
{
    return &s_node;
}

NetLoggerClientInitNode::NetLoggerClientInitNode()
    : NoOpInitNode("NetLoggerClientInitNode", 2, s_deps)
{
    s_deps[0] = CommsInitNode::getInstance();
    s_deps[1] = Kapi::TaskSchedulerInitNode::getInstance();
}

} // namespace ClientServerComms
