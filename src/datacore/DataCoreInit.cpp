// The data core's start-up node. Its constructor fills the dependency array from accessors
// that only return addresses, so the order of static initialisers does not matter.
#include "datacore/DataCoreInit.h"

#include "clientserver/CommsInitNode.h"
#include "clientserver/NetLoggerClientInitNode.h"
#include "datacore/StorageManagerInitNode.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/net/KickstartInit.h"
#include "pipeline/CdnStreamingManagerInitNode.h"

namespace KELO {
namespace DataCore {

namespace {

Kapi::Init::InitNode* s_deps[6];

} // namespace

Init Init::s_node;
constinit Init* const Init::m_sInstance = &Init::s_node;

Init::Init() : NoOpInitNode("DataCoreInit", 6, s_deps)
{
    s_deps[0] = Kapi::Net::CurlInitNode::s_instance;
    s_deps[1] = Kapi::Net::KickstartInit::s_kickstartInit;
    s_deps[2] = ClientServerComms::CommsInitNode::getInstance();
    s_deps[3] = StorageManagerInitNode::getInstance();
    s_deps[4] = KeloPipeline::CdnStreamingManagerInitNode::getInstance();
    s_deps[5] = ClientServerComms::NetLoggerClientInitNode::getInstance();
}

} // namespace DataCore
} // namespace KELO
