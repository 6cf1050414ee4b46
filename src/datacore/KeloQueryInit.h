#ifndef DATACORE_KELOQUERYINIT_H
#define DATACORE_KELOQUERYINIT_H
// The start-up node "KeloQueryInit" of the Lua query layer, started after the task scheduler,
// curl and kickstart nodes; its one instance is KeloQueryInit::m_sInstance. The query layer is
// not built yet: for now the node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace LuaKeloQuery {

class KeloQueryInit : public Kapi::Init::NoOpInitNode
{
public:
    // Constant-initialised: valid before any static constructor runs.
    static KeloQueryInit* const m_sInstance;

private:
    KeloQueryInit();

    static KeloQueryInit s_node;
};

} // namespace LuaKeloQuery

#endif
