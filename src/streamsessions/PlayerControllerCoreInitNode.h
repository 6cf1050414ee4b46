#ifndef STREAMSESSIONS_PLAYERCONTROLLERCOREINITNODE_H
#define STREAMSESSIONS_PLAYERCONTROLLERCOREINITNODE_H
// The start-up node "PlayerControllerCore" (after PlayerController) of the UI side of the
// player controller. It is not built yet: for now the node's start and stop do nothing and
// succeed.
#include "kapi/InitNode.h"

namespace KELO {
namespace UICore {

class PlayerControllerCoreInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static PlayerControllerCoreInitNode* getInstance();

private:
    PlayerControllerCoreInitNode();

    static PlayerControllerCoreInitNode s_node;
};

} // namespace UICore
} // namespace KELO

#endif
