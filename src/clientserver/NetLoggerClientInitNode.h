#ifndef CLIENTSERVER_NETLOGGERCLIENTINITNODE_H
#define CLIENTSERVER_NETLOGGERCLIENTINITNODE_H
// The start-up node "NetLoggerClientInitNode" (after CommsInitNode and TaskScheduler) of the
// client that uploads the device's log to the service. The net logger is not built yet: for
// now the node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace ClientServerComms {

class NetLoggerClientInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static NetLoggerClientInitNode* getInstance();

private:
    NetLoggerClientInitNode();

    static NetLoggerClientInitNode s_node;
};

} // namespace ClientServerComms

#endif
