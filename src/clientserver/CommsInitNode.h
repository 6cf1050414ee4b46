#ifndef CLIENTSERVER_COMMSINITNODE_H
#define CLIENTSERVER_COMMSINITNODE_H
// The start-up node "CommsInitNode" (after P2SImpl) that owns the comms object of the service
// connection. The comms object is not built yet: for now the node's start and stop do nothing
// and succeed.
#include "kapi/InitNode.h"

namespace ClientServerComms {

class CommsInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static CommsInitNode* getInstance();

private:
    CommsInitNode();

    static CommsInitNode s_node;
};

} // namespace ClientServerComms

#endif
