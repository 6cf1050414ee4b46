// The player controller's start-up node. Its constructor fills the dependency array from
// accessors that only return addresses, so the order of static initialisers does not matter.
#include "streamsessions/PlayerControllerInitNode.h"

#include "clientserver/NetLoggerClientInitNode.h"
#include "kapi/GenHandleLib.h"
#include "pipeline/CdnStreamingManagerInitNode.h"

namespace KELO {

namespace {

Kapi::Init::InitNode* s_deps[3];

} // namespace

PlayerControllerInitNode PlayerControllerInitNode::s_node;

PlayerControllerInitNode* PlayerControllerInitNode::getInstance()
{
    return &s_node;
}

PlayerControllerInitNode::PlayerControllerInitNode() : NoOpInitNode("PlayerController", 3, s_deps)
{
    s_deps[0] = &GenHandleLib::g_initNode;
    s_deps[1] = ClientServerComms::NetLoggerClientInitNode::getInstance();
    s_deps[2] = KeloPipeline::CdnStreamingManagerInitNode::getInstance();
}

} // namespace KELO
