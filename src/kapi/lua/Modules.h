#ifndef KAPI_LUA_MODULES_H
#define KAPI_LUA_MODULES_H
// The native script modules "crypto" (with crypto.cipher, crypto.digest, crypto.hmac and
// crypto.base64) and "json". Each luaopen_ function registers its global tables with
// luaL_register and returns the main table. Run on the thread that owns the Lua state.
struct lua_State;

extern "C" {
// Makes the digests and ciphers available by name, then registers "crypto", "crypto.cipher",
// "crypto.digest", "crypto.hmac" and "crypto.base64" in that order; returns "crypto".
int luaopen_crypto(lua_State* L);
// Registers "json"; returns it.
int luaopen_json(lua_State* L);
}

namespace Kapi {
namespace Lua {

// Puts the modules into package.preload, for require: "crypto" (all crypto tables), "json", and
// "crypto.base64" (the same crypto tables, returning crypto.base64). The "package" library must
// be open.
void preloadModules(lua_State* L);
// Opens both modules at once (as the script engine does right after the standard libraries);
// leaves the stack as it was.
void openModules(lua_State* L);

} // namespace Lua
} // namespace Kapi

#endif
