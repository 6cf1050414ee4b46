#ifndef CLIENTSERVER_COMMSINITNODE_H
#define CLIENTSERVER_COMMSINITNODE_H
// The start-up node "CommsInitNode" (after P2SImpl) that owns the comms object of the service
// connection. The comms object is not built yet: for now the node's start and stop do nothing
// and succeed.
#include "kapi/InitNode.h"

namespace ClientServerComms {

class CommsInitNode : public Kapi::Init::InitNode
{
public:
    static CommsInitNode* getInstance();

    bool start(const Kapi::vConfig& config) override;
    bool stop() override;

private:
    CommsInitNode();

    static CommsInitNode s_node;
};

} // namespace ClientServerComms

#endif
