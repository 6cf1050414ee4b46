// The UI player controller's start-up node. Its constructor fills the dependency array from an
// accessor that only returns an address, so the order of static initialisers does not matter.
#include "streamsessions/PlayerControllerCoreInitNode.h"

#include "streamsessions/PlayerControllerInitNode.h"

namespace KELO {
namespace UICore {

namespace {

Kapi::Init::InitNode* s_deps[1];

} // namespace

PlayerControllerCoreInitNode PlayerControllerCoreInitNode::s_node;

PlayerControllerCoreInitNode* PlayerControllerCoreInitNode::getInstance()
{
    return &s_node;
}

PlayerControllerCoreInitNode::PlayerControllerCoreInitNode()
    : NoOpInitNode("PlayerControllerCore", 1, s_deps)
{
    s_deps[0] = PlayerControllerInitNode::getInstance();
}

} // namespace UICore
} // namespace KELO
