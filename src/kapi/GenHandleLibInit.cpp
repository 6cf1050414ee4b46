// The start-up node "GenHandleLib": creates the process's handle library after the task
// scheduler is up and destroys it before the scheduler stops.
#include "kapi/GenHandleLib.h"

#include "kapi/TaskSchedulerInitNode.h"
#include "kapi/vConfig.h"
#include "kapi/vLog.h"

namespace {

// Filled during static initialisation; read only when a runner starts.
Kapi::Init::InitNode* s_deps[] = {Kapi::TaskSchedulerInitNode::getInstance()};

const uint32 kDefaultHandleStart = 10000;

} // namespace

GenHandleLib::LibInitNode GenHandleLib::g_initNode;

GenHandleLib::LibInitNode::LibInitNode() : InitNode("GenHandleLib", 1, s_deps) {}

bool GenHandleLib::LibInitNode::start(const Kapi::vConfig& config)
{
    uint32 handleStart = kDefaultHandleStart;
    if (!config.getSingleUInteger32Value("misc", "handleStart", handleStart, kDefaultHandleStart)) {
        if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_WARNING))
            vLogMessage(VLOGSRC_P2P_UTIL, VLOG_WARNING,
                        "GenHandleLib: unusable misc/handleStart, starting at %u", handleStart);
    }
    if (s_instance.load() == nullptr)
        s_instance.store(new GenHandleLib(handleStart), std::memory_order_release);
    return true;
}

bool GenHandleLib::LibInitNode::stop()
{
    // The instance stays reachable while it shuts down: work still running for a handle
    // finishes against it.
    GenHandleLib* lib = s_instance.load();
    delete lib;
    s_instance.store(nullptr, std::memory_order_release);
    return true;
}
