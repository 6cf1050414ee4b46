#ifndef STREAMSESSIONS_PLAYERCONTROLLERINITNODE_H
#define STREAMSESSIONS_PLAYERCONTROLLERINITNODE_H
// The start-up node "PlayerController" of the player controller, started after the handle
// library, net logger and CDN streaming manager nodes. The player controller is not built yet:
// for now the node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace KELO {

class PlayerControllerInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static PlayerControllerInitNode* getInstance();

private:
    PlayerControllerInitNode();

    static PlayerControllerInitNode s_node;
};

} // namespace KELO

#endif
