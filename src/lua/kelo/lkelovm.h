/*
** Hooks of the virtual machine into the interpreter's extensions: the native index and
** newindex handlers of fast userdata, and integer arithmetic for operands that were converted
** from strings. Internal to the interpreter; native code uses luaKelo.h.
*/
#ifndef lkelovm_h
#define lkelovm_h

#include "lobject.h"
#include "ltm.h"

/* t is a userdata with an index (newindex) handler; key and val as in luaV_gettable
** (luaV_settable). val is a stack slot. */
LUAI_FUNC void luaKelo_callindex(lua_State* L, const TValue* t, TValue* key, StkId val);
LUAI_FUNC void luaKelo_callnewindex(lua_State* L, const TValue* t, TValue* key, StkId val);
/* Stores the integer result of op and returns 1, or returns 0 when the result needs doubles. */
LUAI_FUNC int luaKelo_arithint(StkId ra, int32_t a, int32_t b, TMS op);

#endif
