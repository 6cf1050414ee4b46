#ifndef KAPI_LUA_LUAHEADERS_H
#define KAPI_LUA_LUAHEADERS_H
// The interpreter's C API for the bridge: the stock headers plus the interpreter's extensions,
// all with C linkage (the extension header wraps them).
#include "luaKelo.h"

#endif
