#ifndef CORE_CORENODES_H
#define CORE_CORENODES_H
// The thirteen service nodes the core's root node "kelo-app-init-node" depends on, in the
// order the root lists them; the whole start order of the process follows from this list and
// the nodes' own dependencies.
#include "kapi/InitNode.h"

#include <array>

namespace KELO {

constexpr unsigned kFixedStartupNodeCount = 13;

typedef std::array<Kapi::Init::InitNode*, kFixedStartupNodeCount> FixedStartupNodes;

// Watchdog, task scheduler, handle library, stream sessions, player-controller core, data
// core, application loader, query layer, crypto, curl, comms, settings helper, component
// versions. Never null entries once static initialisation has finished.
FixedStartupNodes getFixedStartupNodes();

} // namespace KELO

#endif
