// The comms start-up node. Its constructor fills the dependency array from an accessor that
// only returns an address, so the order of static initialisers does not matter.
#include "clientserver/CommsInitNode.h"

#include "clientserver/P2SImplInitNode.h"

namespace ClientServerComms {

namespace {

Kapi::Init::InitNode* s_deps[1];

} // namespace

CommsInitNode CommsInitNode::s_node;

CommsInitNode* CommsInitNode::getInstance()
{
    return &s_node;
}

CommsInitNode::CommsInitNode() : NoOpInitNode("CommsInitNode", 1, s_deps)
{
    s_deps[0] = P2SImplInitNode::getInstance();
}

} // namespace ClientServerComms
