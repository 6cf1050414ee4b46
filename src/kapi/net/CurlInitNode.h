#ifndef KAPI_NET_CURLINITNODE_H
#define KAPI_NET_CURLINITNODE_H
// The start-up node "CurlInitNode" (after OpenSslInitNode and TaskScheduler) of the curl
// layer; its one instance is CurlInitNode::s_instance. start() reads "misc"/"kapiCurlVerbose",
// initialises libcurl and creates the handle pool and the cancel list; stop() destroys them
// (without cancelling) and cleans libcurl up.
//
// Representation: the pool and the cancel list exist exactly while the node is started.
//
// Threads: start() and stop() run on the start-up runner's thread; the getters may be called
// from any thread while the node is started (they give null while it is stopped).
#include "kapi/InitNode.h"

#include <memory>

namespace Kapi {
namespace Net {

class CurlAsyncCancelList;
class CurlPool;

class CurlInitNode : public Init::InitNode
{
public:
    // Constant-initialised: valid before any static constructor runs.
    static CurlInitNode* const s_instance;

    bool start(const Kapi::vConfig& config) override;
    bool stop() override;

    CurlPool* getCurlPool() const { return m_pool.get(); }
    CurlAsyncCancelList* getCurlAsyncCancelList() const { return m_cancelList.get(); }
    bool isVerbose() const { return m_verbose; }

private:
    CurlInitNode();
    ~CurlInitNode() override;

    static CurlInitNode s_node;

    std::unique_ptr<CurlPool> m_pool;
    std::unique_ptr<CurlAsyncCancelList> m_cancelList;
    bool m_verbose = false;
};

} // namespace Net
} // namespace Kapi

#endif
