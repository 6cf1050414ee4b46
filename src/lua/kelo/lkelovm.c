/*
** The virtual machine's side of the extensions: calling the native handlers of fast
** userdata, the integer arithmetic of the integer subtype, and its public helpers.
** A handler gets copies of the key and value cells (the stack may move while it runs) and
** at least LUA_MINSTACK free stack slots; the index handler's result slot starts as nil.
*/
#define lkelovm_c
#define LUA_CORE

#include "lua.h"

#include "ldo.h"
#include "lkelonum.h"
#include "lkelovm.h"
#include "lobject.h"
#include "lstate.h"

void luaKelo_callindex(lua_State* L, const TValue* t, TValue* key, StkId val)
{
    Udata* u = rawuvalue(t);
    TValue k;
    ptrdiff_t vo = savestack(L, val);
    setobj(L, &k, key);
    luaD_checkstack(L, LUA_MINSTACK);
    val = restorestack(L, vo);
    setnilvalue(val);
    u->uv.index(L, u + 1, &k, val);
}

void luaKelo_callnewindex(lua_State* L, const TValue* t, TValue* key, StkId val)
{
    Udata* u = rawuvalue(t);
    TValue k, v;
    setobj(L, &k, key);
    setobj(L, &v, val);
    luaD_checkstack(L, LUA_MINSTACK);
    u->uv.newindex(L, u + 1, &k, &v);
}

int luaKelo_arithint(StkId ra, int32_t a, int32_t b, TMS op)
{
    int32_t r;
    int ok;
    switch (op) {
    case TM_ADD:
        ok = kelo_tryadd(&r, a, b);
        break;
    case TM_SUB:
        ok = kelo_trysub(&r, a, b);
        break;
    case TM_MUL:
        ok = kelo_trymul(&r, a, b);
        break;
    case TM_DIV:
        ok = kelo_trydiv(&r, a, b);
        break;
    case TM_MOD:
        ok = kelo_trymod(&r, a, b);
        break;
    case TM_POW:
        ok = kelo_trypow(&r, a, b);
        break;
    case TM_UNM:
        ok = kelo_tryunm(&r, a);
        break;
    default:
        ok = 0;
        break;
    }
    if (ok)
        setivalue(ra, r);
    return ok;
}

LUA_API int try_addint(int32_t* r, int32_t a, int32_t b)
{
    return kelo_tryadd(r, a, b);
}
LUA_API int try_subint(int32_t* r, int32_t a, int32_t b)
{
    return kelo_trysub(r, a, b);
}
LUA_API int try_mulint(int32_t* r, int32_t a, int32_t b)
{
    return kelo_trymul(r, a, b);
}
LUA_API int try_divint(int32_t* r, int32_t a, int32_t b)
{
    return kelo_trydiv(r, a, b);
}
LUA_API int try_modint(int32_t* r, int32_t a, int32_t b)
{
    return kelo_trymod(r, a, b);
}
LUA_API int try_powint(int32_t* r, int32_t a, int32_t b)
{
    return kelo_trypow(r, a, b);
}
LUA_API int try_unmint(int32_t* r, int32_t a)
{
    return kelo_tryunm(r, a);
}
