// The kickstart start-up node. Its constructor fills the dependency array from a constant
// pointer, so the order of static initialisers does not matter.
#include "kapi/net/KickstartInit.h"

#include "kapi/net/CurlInitNode.h"

namespace Kapi {
namespace Net {

namespace {

Init::InitNode* s_deps[1];

} // namespace

KickstartInit KickstartInit::s_node;
constinit KickstartInit* const KickstartInit::s_kickstartInit = &KickstartInit::s_node;

KickstartInit::KickstartInit() : NoOpInitNode("KickstartInit", 1, s_deps)
{
    s_deps[0] = CurlInitNode::s_instance;
}

} // namespace Net
} // namespace Kapi
