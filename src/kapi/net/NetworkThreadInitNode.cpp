// The network thread's start-up node: configuration, priority names and the thread's life.
#include "kapi/net/NetworkThreadInitNode.h"

#include "kapi/vConfig.h"
#include "kapi/vLog.h"

#include <cstring>

namespace Kapi {
namespace NetThread {

namespace {

struct PriorityName
{
    const char* name;
    Thread::Priority priority;
};

const PriorityName kPriorities[] = {
    {"low", Thread::PRIORITY_LOWEST},        {"normal", Thread::PRIORITY_LOW},
    {"sub-medium", Thread::PRIORITY_NORMAL}, {"medium", Thread::PRIORITY_ABOVE_NORMAL},
    {"super-medium", Thread::PRIORITY_HIGH}, {"high", Thread::PRIORITY_HIGHEST},
};

} // namespace

NetworkThreadInitNode NetworkThreadInitNode::s_node;

NetworkThreadInitNode* NetworkThreadInitNode::getInstance()
{
    return &s_node;
}

NetworkThreadInitNode::NetworkThreadInitNode() : InitNode("NetworkThreadInitNode") {}

NetworkThreadInitNode::~NetworkThreadInitNode()
{
    // A thread still running at process exit is left alone rather than joined from a static
    // destructor.
    if (m_started)
        static_cast<void>(m_thread.release());
}

bool NetworkThreadInitNode::start(const vConfig& config)
{
    if (m_started)
        return true;
    uint32 maxEvents = 0;
    if (!config.getSingleUInteger32Value("misc", "kapiNetMaxEvents", maxEvents, 0)) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "Cannot get misc->kapiNetMaxEvents");
        return false;
    }
    std::string priorityName;
    if (!config.getSingleValue("misc", "networkThreadPriority", priorityName, "low")) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "Cannot get misc->networkThreadPriority");
        return false;
    }
    const PriorityName* chosen = nullptr;
    for (const PriorityName& entry : kPriorities) {
        if (priorityName == entry.name)
            chosen = &entry;
    }
    if (chosen == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "Invalid misc->networkThreadPriority: %s",
                        priorityName.c_str());
        return false;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "Starting NetworkThread with %s priority",
                    chosen->name);
    m_thread = std::make_unique<NetworkThread>(maxEvents);
    if (!m_thread->start("NetworkThread", chosen->priority)) {
        m_thread.reset();
        return false;
    }
    m_started = true;
    return true;
}

bool NetworkThreadInitNode::stop()
{
    if (m_thread != nullptr)
        m_thread->stop();
    m_thread.reset();
    m_started = false;
    return true;
}

bool NetworkThreadInitNode::installSubsystem(Net::Subsystem* subsystem)
{
    return m_thread != nullptr && m_thread->installSubsystem(subsystem);
}

bool NetworkThreadInitNode::uninstallSubsystem(Net::Subsystem* subsystem)
{
    return m_thread != nullptr && m_thread->uninstallSubsystem(subsystem);
}

} // namespace NetThread
} // namespace Kapi
