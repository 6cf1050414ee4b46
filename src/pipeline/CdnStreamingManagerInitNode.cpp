// The CDN streaming manager's start-up node. Its constructor fills the dependency array from
// accessors that only return addresses, so the order of static initialisers does not matter.
#include "pipeline/CdnStreamingManagerInitNode.h"

#include "datacore/StorageManagerInitNode.h"
#include "kapi/ComponentVersionRegistry.h"
#include "kapi/GenHandleLib.h"
#include "kapi/net/CurlInitNode.h"

namespace KeloPipeline {

namespace {

Kapi::Init::InitNode* s_deps[4];

} // namespace

CdnStreamingManagerInitNode CdnStreamingManagerInitNode::s_node;

CdnStreamingManagerInitNode* CdnStreamingManagerInitNode::getInstance()
{
    return &s_node;
}

CdnStreamingManagerInitNode::CdnStreamingManagerInitNode()
    : NoOpInitNode("CdnStreamingManager", 4, s_deps)
{
    s_deps[0] = &GenHandleLib::g_initNode;
    s_deps[1] = KELO::StorageManagerInitNode::getInstance();
    s_deps[2] = Kapi::Net::CurlInitNode::s_instance;
    s_deps[3] = KELO::ComponentVersionRegistryInitNode::getInstance();
}

} // namespace KeloPipeline
