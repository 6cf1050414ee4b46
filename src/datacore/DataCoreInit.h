#ifndef DATACORE_DATACOREINIT_H
#define DATACORE_DATACOREINIT_H
// The start-up node "DataCoreInit" of the data core (queries, tickets, image cache), started
// after the curl, kickstart, comms, storage, CDN streaming and net logger nodes; its one
// instance is DataCore::Init::m_sInstance. The data core is not built yet: for now the node's
// start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace KELO {
namespace DataCore {

class Init : public Kapi::Init::NoOpInitNode
{
public:
    // Constant-initialised: valid before any static constructor runs.
    static Init* const m_sInstance;

private:
    Init();

    static Init s_node;
};

} // namespace DataCore
} // namespace KELO

#endif
