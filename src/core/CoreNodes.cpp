// The core's fixed node list, read from the node accessors on each call.
#include "core/CoreNodes.h"

#include "apploader/LuaAppInit.h"
#include "clientserver/CommsInitNode.h"
#include "core/SettingsHelperInitNode.h"
#include "datacore/DataCoreInit.h"
#include "datacore/KeloQueryInit.h"
#include "kapi/ComponentVersionRegistry.h"
#include "kapi/GenHandleLib.h"
#include "kapi/KapiCryptoInit.h"
#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/WatchdogInit.h"
#include "kapi/net/CurlInitNode.h"
#include "streamsessions/PlayerControllerCoreInitNode.h"
#include "streamsessions/SSInitNode.h"

namespace KELO {

FixedStartupNodes getFixedStartupNodes()
{
    return FixedStartupNodes{
        Kapi::WatchdogMaster::getInitNode(),
        Kapi::TaskSchedulerInitNode::getInstance(),
        &GenHandleLib::g_initNode,
        StreamSessions::SSInitNode::getInstance(),
        UICore::PlayerControllerCoreInitNode::getInstance(),
        DataCore::Init::m_sInstance,
        LuaAppLoader::LuaAppInit::m_sInstance,
        LuaKeloQuery::KeloQueryInit::m_sInstance,
        Kapi::Crypto::getInitNode(),
        Kapi::Net::CurlInitNode::s_instance,
        ClientServerComms::CommsInitNode::getInstance(),
        Helpers::SettingsHelperInitNode::getInstance(),
        ComponentVersionRegistryInitNode::getInstance(),
    };
}

} // namespace KELO
