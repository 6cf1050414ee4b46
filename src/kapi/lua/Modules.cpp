// The "json" module's functions and the registration of both modules (preload and open). The
// crypto functions live in CryptoModule.cpp.
#include "kapi/lua/Modules.h"

#include "kapi/lua/LuaHeaders.h"
#include "kapi/lua/LuaJson.h"
#include "kapi/vLog.h"

namespace {

// Pushes the encoding of the value at the top; false (nothing pushed) when it cannot be
// encoded. Kept apart from json_encode so the writer's text is freed before control returns
// to the interpreter.
bool pushEncoded(lua_State* L)
{
    Kapi::Lua::JsonWriter writer(L);
    if (!writer.write()) {
        return false;
    }
    lua_pushlstring(L, writer.getText().data(), writer.getText().size());
    return true;
}

bool pushDecoded(lua_State* L, const char* text)
{
    Kapi::Lua::JsonReader reader(L, text);
    return reader.read();
}

int json_encode(lua_State* L)
{
    lua_settop(L, 1);
    return pushEncoded(L) ? 1 : 0;
}

int json_decode(lua_State* L)
{
    size_t length = 0;
    const char* text = luaL_checklstring(L, 1, &length);
    if (length == 0) {
        return 0;
    }
    return pushDecoded(L, text) ? 1 : 0;
}

const luaL_Reg kJsonFunctions[] = {
    {"encode", json_encode}, {"decode", json_decode}, {nullptr, nullptr}};

// require "crypto.base64": the crypto tables, returning the base64 one.
int openCryptoBase64(lua_State* L)
{
    luaopen_crypto(L);
    lua_getfield(L, -1, "base64");
    lua_remove(L, -2);
    return 1;
}

} // namespace

extern "C" int luaopen_json(lua_State* L)
{
    luaL_register(L, "json", kJsonFunctions);
    return 1;
}

namespace Kapi {
namespace Lua {

void preloadModules(lua_State* L)
{
    const int top = lua_gettop(L);
    lua_getglobal(L, "package");
    if (lua_istable(L, -1)) {
        lua_getfield(L, -1, "preload");
    }
    if (!lua_istable(L, -1)) {
        if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_ERROR))
            vLogMessage(VLOGSRC_LUA, VLOG_ERROR, "preloadModules: the package library is not open");
        lua_settop(L, top);
        return;
    }
    lua_pushcfunction(L, luaopen_crypto);
    lua_setfield(L, -2, "crypto");
    lua_pushcfunction(L, luaopen_json);
    lua_setfield(L, -2, "json");
    lua_pushcfunction(L, openCryptoBase64);
    lua_setfield(L, -2, "crypto.base64");
    lua_settop(L, top);
}

void openModules(lua_State* L)
{
    luaopen_crypto(L);
    luaopen_json(L);
    lua_pop(L, 2);
}

} // namespace Lua
} // namespace Kapi
