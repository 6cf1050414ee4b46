// The two OpenSSL start-up nodes: process-wide objects; the session node's dependency array is
// filled by its constructor from the accessor, which only returns an address, so the order of
// static initialisers does not matter.
#include "kapi/OpenSslInit.h"

namespace vUtil {

namespace {

Kapi::Init::InitNode* s_sessionDeps[1];
OpenSslInitNode s_openSslNode;
OpenSslSessionInitNode s_openSslSessionNode;

} // namespace

OpenSslInitNode* OpenSslInit::getOpenSslInitNode()
{
    return &s_openSslNode;
}

OpenSslSessionInitNode* OpenSslInit::getOpenSslSessionInitNode()
{
    return &s_openSslSessionNode;
}

OpenSslInitNode::OpenSslInitNode() : InitNode("OpenSslInitNode") {}

bool OpenSslInitNode::start(const Kapi::vConfig&)
{
    return true;
}

bool OpenSslInitNode::stop()
{
    return true;
}

OpenSslSessionInitNode::OpenSslSessionInitNode()
    : InitNode("OpenSslSessionInitNode", 1, s_sessionDeps)
{
    s_sessionDeps[0] = OpenSslInit::getOpenSslInitNode();
}

bool OpenSslSessionInitNode::start(const Kapi::vConfig&)
{
    return true;
}

bool OpenSslSessionInitNode::stop()
{
    return true;
}

} // namespace vUtil
