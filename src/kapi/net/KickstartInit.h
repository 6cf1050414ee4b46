#ifndef KAPI_NET_KICKSTARTINIT_H
#define KAPI_NET_KICKSTARTINIT_H
// The start-up node "KickstartInit" (after CurlInitNode) that holds the kickstart configuration
// and the service endpoints; its one instance is KickstartInit::s_kickstartInit. Kickstart is
// not built yet: for now the node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace Kapi {
namespace Net {

class KickstartInit : public Init::NoOpInitNode
{
public:
    // Constant-initialised: valid before any static constructor runs.
    static KickstartInit* const s_kickstartInit;

private:
    KickstartInit();

    static KickstartInit s_node;
};

} // namespace Net
} // namespace Kapi

#endif
