#ifndef CLIENTSERVER_P2SIMPLINITNODE_H
#define CLIENTSERVER_P2SIMPLINITNODE_H
// The start-up node "P2SImpl" of the service-messaging implementation, started after the
// watchdog, time store, task scheduler, handle library, curl, kickstart, OpenSSL session and
// network thread nodes. Service messaging is not built yet: for now the node's start and stop
// do nothing and succeed.
#include "kapi/InitNode.h"

namespace ClientServerComms {

class P2SImplInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static P2SImplInitNode* getInstance();

private:
    P2SImplInitNode();

    static P2SImplInitNode s_node;
};

} // namespace ClientServerComms

#endif
