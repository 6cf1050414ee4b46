#ifndef KAPI_NET_NETWORKTHREADINITNODE_H
#define KAPI_NET_NETWORKTHREADINITNODE_H
// The start-up node "NetworkThreadInitNode" (no dependencies): owns the process's network
// thread between start() and stop(). start() reads section "misc": "kapiNetMaxEvents"
// (unsigned, default 0 = the loop's default) and "networkThreadPriority" (default "low"; one
// of "high", "super-medium", "medium", "sub-medium", "normal", "low", which are thread
// priorities 0 to 5) and starts the thread "NetworkThread". installSubsystem() and
// uninstallSubsystem() forward to the running thread and fail while the node is stopped.
//
// Threads: start() and stop() on the start-up runner's thread; installSubsystem() and
// uninstallSubsystem() from any thread while the node is started (never concurrently with
// stop()).
#include "kapi/InitNode.h"
#include "kapi/net/NetworkThread.h"

#include <memory>

namespace Kapi {
namespace Net {
class Subsystem;
}

namespace NetThread {

class NetworkThreadInitNode : public Init::InitNode
{
public:
    static NetworkThreadInitNode* getInstance();
    ~NetworkThreadInitNode() override;

    bool start(const vConfig& config) override;
    bool stop() override;

    bool installSubsystem(Net::Subsystem* subsystem);
    bool uninstallSubsystem(Net::Subsystem* subsystem);

    // The running thread, or null.
    NetworkThread* getNetworkThread() const { return m_thread.get(); }

private:
    NetworkThreadInitNode();

    std::unique_ptr<NetworkThread> m_thread;
    bool m_started = false;

    static NetworkThreadInitNode s_node;
};

} // namespace NetThread
} // namespace Kapi

#endif
