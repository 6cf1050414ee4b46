/*
** Library functions of the extensions that the stock libraries register: the read-only
** entries of the table library.
*/
#ifndef lkelolib_h
#define lkelolib_h

#include "lua.h"

LUALIB_API int luaKelo_tab_setreadonly(lua_State* L);
LUALIB_API int luaKelo_tab_isreadonly(lua_State* L);

#endif
