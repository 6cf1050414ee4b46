#ifndef KAPI_COMPONENTVERSIONREGISTRY_H
#define KAPI_COMPONENTVERSIONREGISTRY_H
// The process-wide table of component versions: component name -> int32 version, held as a
// KeyValueMap of Integer32 values. The application loader and the CDN streaming manager fill
// it; the service connection reads it.
//
// Lifetime: the single instance exists from the start of the node "ComponentVersionRegistry"
// to its stop; getInstance() is null outside that span. Components that use the registry
// depend on the node, so the instance outlives their use of it.
//
// Threads: setVersion() and getVersion() may be called from any thread.
#include "kapi/InitNode.h"
#include "kapi/KapiTypes.h"
#include "kapi/KeyValueMap.h"
#include "kapi/Mutex.h"

#include <memory>
#include <string>

namespace KELO {

class ComponentVersionRegistry
{
public:
    // The instance, or null while the node is stopped.
    static ComponentVersionRegistry* getInstance() { return s_instance.get(); }

    ComponentVersionRegistry();
    ~ComponentVersionRegistry();
    ComponentVersionRegistry(const ComponentVersionRegistry&) = delete;
    ComponentVersionRegistry& operator=(const ComponentVersionRegistry&) = delete;

    // Adds or replaces the entry.
    void setVersion(const std::string& name, int version);
    // The entry's version, or 0 when the name is absent.
    int32 getVersion(const std::string& name) const;

private:
    friend class ComponentVersionRegistryInitNode;

    Kapi::ScopedMutex mLock;
    Kapi::KeyValueMap mVersions; // guarded by mLock

    static std::unique_ptr<ComponentVersionRegistry> s_instance;
};

// The node "ComponentVersionRegistry" (no dependencies): start creates the instance, stop
// destroys it; both succeed.
class ComponentVersionRegistryInitNode : public Kapi::Init::InitNode
{
public:
    static ComponentVersionRegistryInitNode* getInstance();

    bool start(const Kapi::vConfig& config) override;
    bool stop() override;

private:
    ComponentVersionRegistryInitNode();

    static ComponentVersionRegistryInitNode s_node;
};

} // namespace KELO

#endif
