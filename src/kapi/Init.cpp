// The start-up graph runner: a depth-first walk that keeps the nodes of the current descent
// (`path`, to detect dependency loops) apart from the nodes already started by this start
// (`visited`, so that shared dependencies start once).
#include "kapi/Init.h"

#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

#include <algorithm>
#include <string>

namespace Kapi {
namespace Init {

Init::Init(const char* name, InitNode* root) : mName(name), mRoot(root), mStarted(false) {}

Init::~Init() = default;

bool Init::start(const Kapi::vConfig& config)
{
    mStarted = true;
    std::set<InitNode*> visited;
    std::vector<InitNode*> path;
    return startNode_i(mRoot, config, visited, path);
}

bool Init::startNode_i(InitNode* node, const Kapi::vConfig& config, std::set<InitNode*>& visited,
                       std::vector<InitNode*>& path)
{
    if (node == nullptr || visited.count(node) != 0)
        return true;
    if (std::find(path.begin(), path.end(), node) != path.end()) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR)) {
            std::string loop;
            for (const InitNode* onPath : path) {
                loop += onPath->name;
                loop += " --> ";
            }
            loop += node->name;
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                        "noticed dependency loop trying to start: %s (%s)", node->name,
                        loop.c_str());
        }
        return false;
    }

    path.push_back(node);
    for (unsigned i = 0; i < node->numDeps; ++i) {
        // A null entry means a dependency array was read before it was filled.
        KAPI_ASSERT(node->deps[i] != nullptr);
        if (!startNode_i(node->deps[i], config, visited, path)) {
            path.pop_back();
            return false;
        }
    }

    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO, "Init: %s->start()", node->name);
    const bool started = node->start(config);
    if (started) {
        visited.insert(node);
        mStartedNodes.push_back(node);
    }
    path.pop_back();
    return started;
}

void Init::stop()
{
    for (auto it = mStartedNodes.rbegin(); it != mStartedNodes.rend(); ++it) {
        InitNode* node = *it;
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO, "Init: %s->stop()", node->name);
        if (!node->stop() && vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO, "Init::stop: %s->stop() returned false\n",
                        node->name);
    }
    mStartedNodes.clear();
    mStarted = false;
}

} // namespace Init
} // namespace Kapi
