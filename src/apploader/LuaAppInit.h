#ifndef APPLOADER_LUAAPPINIT_H
#define APPLOADER_LUAAPPINIT_H
// The start-up node "LuaAppInit" of the application loader, started after the crypto, curl,
// kickstart, task scheduler and component-version nodes; its one instance is
// LuaAppInit::m_sInstance. The application loader is not built yet: for now the node's start
// and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace LuaAppLoader {

class LuaAppInit : public Kapi::Init::NoOpInitNode
{
public:
    // Constant-initialised: valid before any static constructor runs.
    static LuaAppInit* const m_sInstance;

private:
    LuaAppInit();

    static LuaAppInit s_node;
};

} // namespace LuaAppLoader

#endif
