#ifndef KAPI_INITNODE_H
#define KAPI_INITNODE_H
// A node of the start-up graph: a named service with the nodes it depends on. Nodes are
// process-wide singletons created during static initialisation; their dependency arrays are
// filled then too and only read when a runner (Kapi::Init::Init) starts, so the order of static
// initialisers does not matter. start() and stop() run on the runner's thread, one node at a
// time; a node must return to a startable state after stop().
#include "kapi/vConfig.h"

namespace Kapi {
namespace Init {

class InitNode
{
public:
    // `name` is a string literal; `deps` points at `numDeps` nodes (null when 0), not owned.
    InitNode(const char* name, unsigned numDeps, InitNode** deps)
        : name(name), numDeps(numDeps), deps(deps)
    {
    }
    explicit InitNode(const char* name) : InitNode(name, 0, nullptr) {}
    virtual ~InitNode() = default;
    InitNode(const InitNode&) = delete;
    InitNode& operator=(const InitNode&) = delete;

    // True when the service started.
    virtual bool start(const Kapi::vConfig& config) = 0;
    // True when the service stopped.
    virtual bool stop() = 0;

    const char* name;
    unsigned numDeps;
    InitNode** deps;
};

// A pure grouping node: start and stop do nothing and succeed.
class NoOpInitNode : public InitNode
{
public:
    using InitNode::InitNode;
    bool start(const Kapi::vConfig&) override { return true; }
    bool stop() override { return true; }
};

} // namespace Init
} // namespace Kapi

#endif
