// The curl layer's start-up node. Its constructor fills the dependency array from accessors
// that only return addresses, so the order of static initialisers does not matter.
#include "kapi/net/CurlInitNode.h"

#include "kapi/OpenSslInit.h"
#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/net/CurlAsyncCancelList.h"
#include "kapi/net/CurlPool.h"
#include "kapi/vLog.h"

#include <curl/curl.h>

namespace Kapi {
namespace Net {

namespace {

Init::InitNode* s_deps[2];

// This build always initialises libcurl itself.
constexpr int kIsCurlInitNeeded = 1;

} // namespace

CurlInitNode CurlInitNode::s_node;
constinit CurlInitNode* const CurlInitNode::s_instance = &CurlInitNode::s_node;

CurlInitNode::CurlInitNode() : InitNode("CurlInitNode", 2, s_deps)
{
    s_deps[0] = vUtil::OpenSslInit::getOpenSslInitNode();
    s_deps[1] = Kapi::TaskSchedulerInitNode::getInstance();
}

CurlInitNode::~CurlInitNode() = default;

bool CurlInitNode::start(const Kapi::vConfig& config)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "CurlInitNode::start() IS_CURL_INIT_NEEDED=%d",
                    kIsCurlInitNeeded);
    if (!config.getSingleBooleanValue("misc", "kapiCurlVerbose", m_verbose, false)) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "Cannot get misc->kapiCurlVerbose");
        return false;
    }
    curl_global_init(CURL_GLOBAL_ALL);
    m_pool = std::make_unique<CurlPool>();
    m_cancelList = std::make_unique<CurlAsyncCancelList>();
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "CurlInitNode::start() : DONE");
    return true;
}

bool CurlInitNode::stop()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "CurlInitNode::stop() IS_CURL_INIT_NEEDED=%d",
                    kIsCurlInitNeeded);
    m_pool.reset();
    m_cancelList.reset();
    m_verbose = false;
    curl_global_cleanup();
    return true;
}

} // namespace Net
} // namespace Kapi
