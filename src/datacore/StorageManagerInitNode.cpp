// The storage manager's start-up node: a process-wide object with no dependencies.
#include "datacore/StorageManagerInitNode.h"

namespace KELO {

StorageManagerInitNode StorageManagerInitNode::s_singleton;

StorageManagerInitNode* StorageManagerInitNode::getInstance()
{
    return &s_singleton;
}

StorageManagerInitNode::StorageManagerInitNode() : NoOpInitNode("StorageManager") {}

} // namespace KELO
