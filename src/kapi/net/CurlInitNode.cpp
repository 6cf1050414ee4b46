// The curl layer's start-up node. Its constructor fills the dependency array from accessors
// that only return addresses, so the order of static initialisers does not matter.
#include "kapi/net/CurlInitNode.h"

#include "kapi/OpenSslInit.h"
#include "kapi/TaskSchedulerInitNode.h"

namespace Kapi {
namespace Net {

namespace {

Init::InitNode* s_deps[2];

} // namespace

CurlInitNode CurlInitNode::s_node;
constinit CurlInitNode* const CurlInitNode::s_instance = &CurlInitNode::s_node;

CurlInitNode::CurlInitNode() : NoOpInitNode("CurlInitNode", 2, s_deps)
{
    s_deps[0] = vUtil::OpenSslInit::getOpenSslInitNode();
    s_deps[1] = Kapi::TaskSchedulerInitNode::getInstance();
}

} // namespace Net
} // namespace Kapi
