// The application loader's start-up node. Its constructor fills the dependency array from
// accessors that only return addresses, so the order of static initialisers does not matter.
#include "apploader/LuaAppInit.h"

#include "kapi/ComponentVersionRegistry.h"
#include "kapi/KapiCryptoInit.h"
#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/net/KickstartInit.h"

namespace LuaAppLoader {

namespace {

Kapi::Init::InitNode* s_deps[5];

} // namespace

LuaAppInit LuaAppInit::s_node;
constinit LuaAppInit* const LuaAppInit::m_sInstance = &LuaAppInit::s_node;

LuaAppInit::LuaAppInit() : NoOpInitNode("LuaAppInit", 5, s_deps)
{
    s_deps[0] = Kapi::Crypto::getInitNode();
    s_deps[1] = Kapi::Net::CurlInitNode::s_instance;
    s_deps[2] = Kapi::Net::KickstartInit::s_kickstartInit;
    s_deps[3] = Kapi::TaskSchedulerInitNode::getInstance();
    s_deps[4] = KELO::ComponentVersionRegistryInitNode::getInstance();
}

} // namespace LuaAppLoader
