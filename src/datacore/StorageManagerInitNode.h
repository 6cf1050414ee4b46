#ifndef DATACORE_STORAGEMANAGERINITNODE_H
#define DATACORE_STORAGEMANAGERINITNODE_H
// The start-up node "StorageManager" (no dependencies) of the storage manager, which keeps
// whole movies on a local disk. The storage manager is not built yet: for now the node's start
// and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace KELO {

class StorageManagerInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static StorageManagerInitNode* getInstance();

private:
    StorageManagerInitNode();

    static StorageManagerInitNode s_singleton;
};

} // namespace KELO

#endif
