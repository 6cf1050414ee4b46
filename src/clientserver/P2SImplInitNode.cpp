// The service-messaging start-up node. Its constructor fills the dependency array from
// accessors that only return addresses, so the order of static initialisers does not matter.
#include "clientserver/P2SImplInitNode.h"

#include "kapi/GenHandleLib.h"
#include "kapi/OpenSslInit.h"
#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/TimeStoreInitNode.h"
#include "kapi/WatchdogInit.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/net/KickstartInit.h"
#include "kapi/net/NetworkThreadInitNode.h"

namespace ClientServerComms {

namespace {

Kapi::Init::InitNode* s_deps[8];

} // namespace

P2SImplInitNode P2SImplInitNode::s_node;

P2SImplInitNode* P2SImplInitNode::getInstance()
{
    return &s_node;
}

P2SImplInitNode::P2SImplInitNode() : NoOpInitNode("P2SImpl", 8, s_deps)
{
    s_deps[0] = Kapi::WatchdogMaster::getInitNode();
    s_deps[1] = Kapi::TimeStoreInitNode::getInstance();
    s_deps[2] = Kapi::TaskSchedulerInitNode::getInstance();
    s_deps[3] = &GenHandleLib::g_initNode;
    s_deps[4] = Kapi::Net::CurlInitNode::s_instance;
    s_deps[5] = Kapi::Net::KickstartInit::s_kickstartInit;
    s_deps[6] = vUtil::OpenSslInit::getOpenSslSessionInitNode();
    s_deps[7] = Kapi::NetThread::NetworkThreadInitNode::getInstance();
}

} // namespace ClientServerComms
