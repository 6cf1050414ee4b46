#ifndef KAPI_INIT_H
#define KAPI_INIT_H
// The start-up graph runner. start() starts the graph below the root depth-first, each node at
// most once per start and always after the nodes it depends on; stop() stops, in exactly the
// reverse order, every node whose start succeeded under this runner.
//
// Representation: `mStartedNodes` lists the nodes in the order their start() returned true; it
// grows with each start() (a second start without a stop appends the nodes again) and is
// emptied by stop(). Nodes and their names are not owned; the destructor stops nothing.
//
// Threads: a runner is not thread-safe; its owner serialises start() and stop(). Node start()
// and stop() run on the calling thread, one at a time.
#include "kapi/InitNode.h"

#include <set>
#include <vector>

namespace Kapi {
namespace Init {

class Init
{
public:
    // `name` is a string literal; `root` may be null (start() then succeeds at once).
    Init(const char* name, InitNode* root);
    ~Init();
    Init(const Init&) = delete;
    Init& operator=(const Init&) = delete;

    // True when every node reached started. The first failure ends the start at once; the
    // nodes started before it stay listed so that stop() stops them.
    bool start(const Kapi::vConfig& config);
    // Stops the listed nodes last first; a node whose stop() fails is reported and skipped.
    void stop();

    const char* getName() const { return mName; }
    InitNode* getRoot() const { return mRoot; }
    bool isStarted() const { return mStarted; }
    const std::vector<InitNode*>& getStartedNodes() const { return mStartedNodes; }

private:
    bool startNode_i(InitNode* node, const Kapi::vConfig& config, std::set<InitNode*>& visited,
                     std::vector<InitNode*>& path);

    const char* mName;
    InitNode* mRoot;
    bool mStarted;
    std::vector<InitNode*> mStartedNodes;
};

} // namespace Init
} // namespace Kapi

#endif
