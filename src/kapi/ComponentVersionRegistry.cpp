// The component version table and its start-up node.
#include "kapi/ComponentVersionRegistry.h"

namespace KELO {

std::unique_ptr<ComponentVersionRegistry> ComponentVersionRegistry::s_instance;

ComponentVersionRegistry::ComponentVersionRegistry() = default;

ComponentVersionRegistry::~ComponentVersionRegistry() = default;

void ComponentVersionRegistry::setVersion(const std::string& name, int version)
{
    Kapi::MutexLocker locker(mLock);
    mVersions.setValue(name, static_cast<int32>(version));
}

int32 ComponentVersionRegistry::getVersion(const std::string& name) const
{
    Kapi::MutexLocker locker(mLock);
    const Kapi::Variant* value = mVersions.findValue(name);
    return value != nullptr ? value->asInteger32() : 0;
}

ComponentVersionRegistryInitNode ComponentVersionRegistryInitNode::s_node;

ComponentVersionRegistryInitNode* ComponentVersionRegistryInitNode::getInstance()
{
    return &s_node;
}

ComponentVersionRegistryInitNode::ComponentVersionRegistryInitNode()
    : InitNode("ComponentVersionRegistry")
{
}

bool ComponentVersionRegistryInitNode::start(const Kapi::vConfig&)
{
    ComponentVersionRegistry::s_instance = std::make_unique<ComponentVersionRegistry>();
    return true;
}

bool ComponentVersionRegistryInitNode::stop()
{
    ComponentVersionRegistry::s_instance.reset();
    return true;
}

} // namespace KELO
