// The query layer's start-up node. Its constructor fills the dependency array from accessors
// that only return addresses, so the order of static initialisers does not matter.
#include "datacore/KeloQueryInit.h"

#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/net/KickstartInit.h"

namespace LuaKeloQuery {

namespace {

Kapi::Init::InitNode* s_deps[3];

} // namespace

KeloQueryInit KeloQueryInit::s_node;
constinit KeloQueryInit* const KeloQueryInit::m_sInstance = &KeloQueryInit::s_node;

KeloQueryInit::KeloQueryInit() : NoOpInitNode("KeloQueryInit", 3, s_deps)
{
    s_deps[0] = Kapi::TaskSchedulerInitNode::getInstance();
    s_deps[1] = Kapi::Net::CurlInitNode::s_instance;
    s_deps[2] = Kapi::Net::KickstartInit::s_kickstartInit;
}

} // namespace LuaKeloQuery
