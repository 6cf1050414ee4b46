/*
** LuaSocket for the program's script states: the C modules "socket.core" and "mime.core" and
** LuaSocket's Lua modules (socket, ltn12, mime, socket.url, socket.http, socket.tp,
** socket.ftp, socket.smtp, socket.headers), embedded in the program, installed as loaders in
** package.preload so require finds them without any file on disk.
*/
#ifndef luaKeloSocket_h
#define luaKeloSocket_h

#ifdef __cplusplus
extern "C" {
#endif

#include "lua.h"

/* Needs the package library opened. Leaves the stack as it was. */
void luaKelo_preload_socket(lua_State* L);

#ifdef __cplusplus
}
#endif

#endif
