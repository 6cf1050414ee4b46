/*
** Installs LuaSocket in package.preload: the C entry points for the core modules and, for
** each embedded Lua module, a loader closure whose upvalue is the index of its script in
** kelo_socket_scripts. Module names follow LuaSocket's own layout (url.lua is "socket.url").
*/
#include "luaKeloSocket.h"

#include <string.h>

#include "lauxlib.h"

struct KeloEmbeddedScript
{
    const char* name;
    const unsigned char* bytes;
    size_t length;
};
extern const struct KeloEmbeddedScript kelo_socket_scripts[];

int luaopen_socket_core(lua_State* L);
int luaopen_mime_core(lua_State* L);

static const char* moduleName(const char* file)
{
    static const char* const top[] = {"socket", "ltn12", "mime", NULL};
    static char name[64];
    int i;
    for (i = 0; top[i] != NULL; i++) {
        if (strcmp(file, top[i]) == 0)
            return file;
    }
    strcpy(name, "socket.");
    strncat(name, file, sizeof(name) - sizeof("socket."));
    return name;
}

/* loader(name): runs the embedded script with the module name as its argument */
static int loadEmbedded(lua_State* L)
{
    const struct KeloEmbeddedScript* s =
        &kelo_socket_scripts[lua_tointeger(L, lua_upvalueindex(1))];
    const char* name = luaL_checkstring(L, 1);
    char chunk[80];
    strcpy(chunk, "=");
    strncat(chunk, name, sizeof(chunk) - 2);
    if (luaL_loadbuffer(L, (const char*)s->bytes, s->length, chunk) != 0)
        lua_error(L);
    lua_pushvalue(L, 1);
    lua_call(L, 1, 1);
    return 1;
}

void luaKelo_preload_socket(lua_State* L)
{
    int i;
    lua_getglobal(L, "package");
    if (!lua_istable(L, -1)) {
        lua_pop(L, 1);
        return;
    }
    lua_getfield(L, -1, "preload");
    lua_pushcfunction(L, luaopen_socket_core);
    lua_setfield(L, -2, "socket.core");
    lua_pushcfunction(L, luaopen_mime_core);
    lua_setfield(L, -2, "mime.core");
    for (i = 0; kelo_socket_scripts[i].name != NULL; i++) {
        lua_pushinteger(L, i);
        lua_pushcclosure(L, loadEmbedded, 1);
        lua_setfield(L, -2, moduleName(kelo_socket_scripts[i].name));
    }
    lua_pop(L, 2);
}
