/*
** Read-only tables as seen from the API and the table library, and the restricted library
** set for untrusted scripts. A table's read-only byte is LUAKELO_RO_ALL or 0 when set here;
** the raw setters of the interpreter enforce it. The restricted "os" and "debug" are fresh
** tables holding only the allowed functions of the full libraries, registered under the
** usual global and package.loaded names.
*/
#define lkelolib_c
#define LUA_LIB

#include "lua.h"

#include "lapi.h"
#include "lauxlib.h"
#include "lkelolib.h"
#include "lobject.h"
#include "lstate.h"
#include "lualib.h"

LUA_API void lua_setreadonly(lua_State* L, int idx, int on)
{
    const TValue* o = index2adr(L, idx);
    if (ttistable(o))
        hvalue(o)->readonly = on ? LUAKELO_RO_ALL : 0;
}

LUA_API int lua_getreadonly(lua_State* L, int idx)
{
    const TValue* o = index2adr(L, idx);
    return ttistable(o) ? hvalue(o)->readonly : 0;
}

LUALIB_API void luaL_checknotreadonly(lua_State* L, int idx)
{
    if (lua_getreadonly(L, idx)) {
        luaL_where(L, 1);
        lua_pushliteral(L, "read-only table");
        lua_concat(L, 2);
        lua_error(L);
    }
}

LUALIB_API int luaKelo_tab_setreadonly(lua_State* L)
{
    luaL_checktype(L, 1, LUA_TTABLE);
    lua_setreadonly(L, 1, 1);
    lua_settop(L, 1);
    return 1;
}

LUALIB_API int luaKelo_tab_isreadonly(lua_State* L)
{
    luaL_checktype(L, 1, LUA_TTABLE);
    lua_pushboolean(L, lua_getreadonly(L, 1) != 0);
    return 1;
}

/* Opens the full library `name` with `open`, then replaces it by a table of `keep` only. */
static void open_restricted(lua_State* L, const char* name, lua_CFunction open,
                            const char* const keep[])
{
    int i;
    lua_pushcfunction(L, open);
    lua_pushstring(L, name);
    lua_call(L, 1, 1); /* the full library table */
    lua_newtable(L);
    for (i = 0; keep[i] != NULL; i++) {
        lua_getfield(L, -2, keep[i]);
        lua_setfield(L, -2, keep[i]);
    }
    lua_remove(L, -2);
    lua_pushvalue(L, -1);
    lua_setglobal(L, name);
    luaL_findtable(L, LUA_REGISTRYINDEX, "_LOADED", 1);
    lua_pushvalue(L, -2);
    lua_setfield(L, -2, name);
    lua_pop(L, 1); /* leaves the restricted table */
}

LUALIB_API int luaKelo_open_os_safe(lua_State* L)
{
    static const char* const keep[] = {"clock", "date", "difftime", "getenv", "time", NULL};
    open_restricted(L, LUA_OSLIBNAME, luaopen_os, keep);
    return 1;
}

LUALIB_API int luaKelo_open_debug_safe(lua_State* L)
{
    static const char* const keep[] = {"traceback", NULL};
    open_restricted(L, LUA_DBLIBNAME, luaopen_debug, keep);
    return 1;
}

LUALIB_API void luaKelo_openlibs_safe(lua_State* L)
{
    static const luaL_Reg libs[] = {{"", luaopen_base},
                                    {LUA_LOADLIBNAME, luaopen_package},
                                    {LUA_TABLIBNAME, luaopen_table},
                                    {LUA_IOLIBNAME, luaopen_io},
                                    {LUA_OSLIBNAME, luaKelo_open_os_safe},
                                    {LUA_STRLIBNAME, luaopen_string},
                                    {LUA_MATHLIBNAME, luaopen_math},
                                    {LUA_DBLIBNAME, luaKelo_open_debug_safe},
                                    {NULL, NULL}};
    const luaL_Reg* lib;
    for (lib = libs; lib->func != NULL; lib++) {
        lua_pushcfunction(L, lib->func);
        lua_pushstring(L, lib->name);
        lua_call(L, 1, 0);
    }
}

/* The layout native code relies on; a mismatch means the header and the build disagree. */
LUA_API int luaKelo_verifyBuild(void)
{
    int ok = sizeof(LuaTValue) == sizeof(TValue) && sizeof(((TValue*)0)->value.i) == 4 &&
             LUA_TINT != LUA_TNONE && LUA_TINT < LUA_TNIL;
    return ok ? 0 : 1;
}
