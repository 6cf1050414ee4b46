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

KickstartInit::KickstartInit() : InitNode("KickstartInit", 1, s_deps)
{
    s_deps[0] = CurlInitNode::s_instance;
}

bool KickstartInit::start(const Kapi::vConfig&)
{
    return true;
}

bool KickstartInit::stop()
{
    return true;
}

} // namespace Net
} // namespace Kapi
