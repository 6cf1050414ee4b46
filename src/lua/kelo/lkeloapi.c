/*
** The direct-access native API (luaKelo_*): raw values, interned strings and their
** identifiers, fast userdata, raw table access, registry references and number conversions.
** Everything here works on the interpreter's own cells without the stack protocol, so
** nothing checks types beyond what each function states, and nothing raises except the
** read-only checks of the table writers and the watcher call.
** Registry references share luaL_ref's free list: registry[0] holds the first free reference
** and each free slot holds the next one (0 ends the list).
*/
#define lkeloapi_c
#define LUA_CORE

#include <math.h>
#include <string.h>

#include "lua.h"

#include "lapi.h"
#include "ldebug.h"
#include "ldo.h"
#include "lfunc.h"
#include "lgc.h"
#include "lobject.h"
#include "lstate.h"
#include "lstring.h"
#include "ltable.h"
#include "lvm.h"

#define FREELIST_REF 0

static Udata* block2udata(LuaFastUserDataHolder* block)
{
    return cast(Udata*, block) - 1;
}

static size_t textlength(const char* text, int length)
{
    return length < 0 ? strlen(text) : cast(size_t, length);
}

/* d truncated toward zero, saturated to the 64-bit range; NaN gives 0 */
static int64_t trunc64(lua_Number d)
{
    if (d != d)
        return 0;
    if (d >= 9223372036854775807.0)
        return INT64_MAX;
    if (d <= -9223372036854775808.0)
        return INT64_MIN;
    return (int64_t)d;
}

/* integral values (within 0.0001, compared with the truncation) become integers */
static void snapdouble(TValue* o, lua_Number d)
{
    if (fabs(d) < 9223372036854775808.0) {
        if (d > -2147483647.0 && d < 2147483647.0) {
            lua_Number t = trunc(d);
            if (fabs(d - t) < 0.0001) {
                setivalue(o, (int32_t)t);
                return;
            }
        } else {
            int64_t i = (int64_t)d;
            if (fabs(d - cast_num(i)) < 0.0001) {
                if (i >= INT32_MIN && i <= INT32_MAX) {
                    setivalue(o, (int32_t)i);
                } else {
                    setnvalue(o, cast_num(i));
                }
                return;
            }
        }
    }
    setnvalue(o, d);
}

static Table* currentenv(lua_State* L)
{
    if (L->ci == L->base_ci)
        return hvalue(gt(L));
    return curr_func(L)->c.env;
}

/* ---- string identifiers ---- */

LUA_API void luaKelo_string_setKeloID(LuaString* s, uint32_t id)
{
    s->tsv.keloid = id;
}

LUA_API uint32_t luaKelo_string_getKeloID(const LuaString* s)
{
    return s->tsv.keloid;
}

LUA_API void luaKelo_top_string_setKeloID(lua_State* L, uint32_t id)
{
    if (L->top > L->base && ttisstring(L->top - 1))
        rawtsvalue(L->top - 1)->tsv.keloid = id;
}

LUA_API LuaString* luaKelo_string_exists(lua_State* L, const char* text, int length)
{
    return luaS_find(L, text, textlength(text, length));
}

LUA_API LuaString* luaKelo_string_new(lua_State* L, const char* text, int length)
{
    return luaS_newlstr(L, text, textlength(text, length));
}

LUA_API const char* luaKelo_string_cptr(const LuaString* s, size_t* length)
{
    if (length != NULL)
        *length = s->tsv.len;
    return getstr(s);
}

/* ---- fast userdata ---- */

LUA_API LuaFastUserDataHolder* luaKelo_push_userdata_new(lua_State* L, size_t size)
{
    return lua_newuserdata(L, size);
}

LUA_API void luaKelo_pushuserdata(lua_State* L, LuaFastUserDataHolder* block)
{
    setuvalue(L, L->top, block2udata(block));
    L->top++;
}

LUA_API void luaV_pushuserdata(lua_State* L, LuaFastUserDataHolder* block)
{
    luaKelo_pushuserdata(L, block);
}

LUA_API void luaKelo_userdata_setcfuncs(LuaFastUserDataHolder* block,
                                        luaKelo_NewIndexFunction newindex,
                                        luaKelo_IndexFunction index)
{
    Udata* u = block2udata(block);
    u->uv.newindex = newindex;
    u->uv.index = index;
}

LUA_API void luaKelo_userdata_setcgc(LuaFastUserDataHolder* block, luaKelo_GcFunction gc)
{
    block2udata(block)->uv.gc = gc;
}

LUA_API LuaTable* luaKelo_userdata_getfenv(LuaFastUserDataHolder* block)
{
    return block2udata(block)->uv.env;
}

LUA_API void luaKelo_userdata_setfenv(lua_State* L, LuaFastUserDataHolder* block, LuaTable* env)
{
    Udata* u = block2udata(block);
    u->uv.env = env;
    luaC_objbarrier(L, u, env);
}

LUA_API void luaKelo_call_watcher(lua_State* L, const LuaTValue* function,
                                  LuaFastUserDataHolder* block, LuaString* key,
                                  const LuaTValue* value)
{
    StkId func;
    if (!ttisfunction(function))
        luaG_runerror(L, "erroring! watcher not a function (%d)", ttype(function));
    luaD_checkstack(L, 4);
    func = L->top;
    setobj2s(L, func, function);
    setuvalue(L, func + 1, block2udata(block));
    setsvalue2s(L, func + 2, key);
    setobj2s(L, func + 3, value);
    L->top += 4;
    luaD_call(L, func, 0);
}

/* ---- stack access ---- */

LUA_API LuaTValue* luaKelo_top_tvalue(lua_State* L)
{
    return L->top > L->base ? L->top - 1 : NULL;
}

LUA_API LuaString* luaKelo_top_string(lua_State* L)
{
    return luaKelo_tvalue_string(luaKelo_top_tvalue(L));
}

LUA_API LuaFastUserDataHolder* luaKelo_top_userdata(lua_State* L)
{
    return luaKelo_tvalue_userdata(luaKelo_top_tvalue(L));
}

LUA_API LuaTable* luaKelo_top_table(lua_State* L)
{
    return luaKelo_tvalue_table(luaKelo_top_tvalue(L));
}

LUA_API LuaTValue* luaKelo_stack_tvalue(lua_State* L, int idx)
{
    TValue* o = index2adr(L, idx);
    return ttisnil(o) ? NULL : o;
}

LUA_API LuaString* luaKelo_stack_string(lua_State* L, int idx)
{
    return luaKelo_tvalue_string(index2adr(L, idx));
}

LUA_API LuaFastUserDataHolder* luaKelo_stack_userdata(lua_State* L, int idx)
{
    return luaKelo_tvalue_userdata(index2adr(L, idx));
}

LUA_API LuaTable* luaKelo_stack_get_fenv(lua_State* L, int idx)
{
    const TValue* o = index2adr(L, idx);
    return ttisuserdata(o) ? uvalue(o)->env : NULL;
}

LUA_API void luaKelo_stack_push_tvalue(lua_State* L, const LuaTValue* value)
{
    if (value == NULL) {
        setnilvalue(L->top);
    } else {
        setobj2s(L, L->top, value);
    }
    L->top++;
}

/* ---- raw values ---- */

LUA_API int luaKelo_tvalue_type(const LuaTValue* value)
{
    return value == NULL ? LUA_TNONE : ttype(value);
}

LUA_API LuaString* luaKelo_tvalue_string(const LuaTValue* value)
{
    return (value != NULL && ttisstring(value)) ? rawtsvalue(value) : NULL;
}

LUA_API LuaTable* luaKelo_tvalue_table(const LuaTValue* value)
{
    return (value != NULL && ttistable(value)) ? hvalue(value) : NULL;
}

LUA_API LuaFastUserDataHolder* luaKelo_tvalue_userdata(const LuaTValue* value)
{
    return (value != NULL && ttisuserdata(value)) ? rawuvalue(value) + 1 : NULL;
}

LUA_API const char* luaKelo_tvalue_cptr(const LuaTValue* value, size_t* length)
{
    if (value == NULL || !ttisstring(value)) {
        if (length != NULL)
            *length = 0;
        return NULL;
    }
    return luaKelo_string_cptr(rawtsvalue(value), length);
}

LUA_API const char* luaKelo_tvalue_to_cptr(lua_State* L, LuaTValue* value, size_t* length)
{
    if (value != NULL && (ttisstring(value) || luaV_tostring(L, value)))
        return luaKelo_string_cptr(rawtsvalue(value), length);
    if (length != NULL)
        *length = 0;
    return "";
}

LUA_API int64_t luaKelo_tvalue_to_integer(const LuaTValue* value)
{
    TValue n;
    const TValue* o = value;
    if (o == NULL)
        return 0;
    if (ttisint(o))
        return ivalue(o);
    if (!tonumber(o, &n))
        return 0;
    return ttisint(o) ? ivalue(o) : trunc64(nvalue(o));
}

LUA_API lua_Number luaKelo_tvalue_to_number(const LuaTValue* value)
{
    return (value != NULL && ttisnumber(value)) ? nvalue(value) : 0;
}

LUA_API int luaKelo_tvalue_equal(const LuaTValue* a, const LuaTValue* b)
{
    if (a == b)
        return 1;
    if (a == NULL || b == NULL)
        return 0;
    if (ttype(a) != ttype(b))
        return 0;
    switch (ttype(a)) {
    case LUA_TNIL:
        return 1;
    case LUA_TNUMBER:
        return luai_numeq(dvalue(a), dvalue(b));
    case LUA_TINT:
        return ivalue(a) == ivalue(b);
    case LUA_TBOOLEAN:
        return bvalue(a) == bvalue(b);
    case LUA_TLIGHTUSERDATA:
        return pvalue(a) == pvalue(b);
    default:
        return gcvalue(a) == gcvalue(b);
    }
}

LUA_API void luaKelo_tvalue_set_nil(LuaTValue* value)
{
    setnilvalue(value);
}

LUA_API void luaKelo_tvalue_set_boolean(LuaTValue* value, int b)
{
    setbvalue(value, b != 0);
}

LUA_API void luaKelo_tvalue_set_integer(LuaTValue* value, int32_t n)
{
    setivalue(value, n);
}

LUA_API void luaKelo_tvalue_set_double(LuaTValue* value, lua_Number d)
{
    snapdouble(value, d);
}

LUA_API void luaKelo_tvalue_set_table(LuaTValue* value, LuaTable* table)
{
    value->value.gc = obj2gco(table);
    value->tt = LUA_TTABLE;
}

LUA_API void luaKelo_tvalue_set_userdata(LuaTValue* value, LuaFastUserDataHolder* block)
{
    value->value.gc = obj2gco(block2udata(block));
    value->tt = LUA_TUSERDATA;
}

LUA_API void luaKelo_tvalue_set_string(LuaTValue* value, LuaString* s)
{
    value->value.gc = obj2gco(s);
    value->tt = LUA_TSTRING;
}

LUA_API void luaKelo_tvalue_set_cclosure1(lua_State* L, LuaTValue* value, lua_CFunction fn,
                                          const LuaTValue* upvalue)
{
    int nup = upvalue != NULL ? 1 : 0;
    Closure* cl = luaF_newCclosure(L, nup, currentenv(L));
    cl->c.f = fn;
    if (nup)
        setobj2n(L, &cl->c.upvalue[0], upvalue);
    setclvalue(L, value, cl);
}

/* ---- tables ---- */

LUA_API LuaTable* luaKelo_table_new(lua_State* L, int arraySize)
{
    return luaH_new(L, arraySize, 0);
}

LUA_API int luaKelo_table_length(LuaTable* table)
{
    return luaH_getn(table);
}

LUA_API int luaKelo_table_iterate(lua_State* L, LuaTable* table, LuaTValue* key, LuaTValue* value)
{
    TValue kv[2];
    setobj(L, &kv[0], key);
    if (!luaH_next(L, table, kv))
        return 0;
    setobj(L, key, &kv[0]);
    setobj(L, value, &kv[1]);
    return 1;
}

LUA_API void luaKelo_table_get_tvalue(lua_State* L, LuaTable* table, LuaString* key, LuaTValue* out)
{
    UNUSED(L);
    setobj(L, out, luaH_getstr(table, key));
}

LUA_API void luaKelo_table_get_tvalue_i(lua_State* L, LuaTable* table, int n, LuaTValue* out)
{
    UNUSED(L);
    setobj(L, out, luaH_getnum(table, n));
}

LUA_API const LuaTValue* luaKelo_table_tvalue(lua_State* L, LuaTable* table, LuaString* key)
{
    const TValue* o = luaH_getstr(table, key);
    UNUSED(L);
    return ttisnil(o) ? NULL : o;
}

LUA_API LuaFastUserDataHolder* luaKelo_table_userdata_i(lua_State* L, LuaTable* table, int n)
{
    UNUSED(L);
    return luaKelo_tvalue_userdata(luaH_getnum(table, n));
}

LUA_API void luaKelo_table_set_tvalue(lua_State* L, LuaTable* table, LuaString* key,
                                      const LuaTValue* value)
{
    TValue* slot = luaH_setstr(L, table, key);
    setobj2t(L, slot, value);
    luaC_barriert(L, table, value);
}

LUA_API void luaKelo_table_set_tvalue_i(lua_State* L, LuaTable* table, int n,
                                        const LuaTValue* value)
{
    TValue* slot = luaH_setnum(L, table, n);
    setobj2t(L, slot, value);
    luaC_barriert(L, table, value);
}

LUA_API void luaKelo_table_set_string(lua_State* L, LuaTable* table, LuaString* key,
                                      LuaString* value)
{
    TValue v;
    setsvalue(L, &v, value);
    luaKelo_table_set_tvalue(L, table, key, &v);
}

LUA_API void luaKelo_table_set_integer(lua_State* L, LuaTable* table, LuaString* key, int32_t value)
{
    TValue v;
    setivalue(&v, value);
    luaKelo_table_set_tvalue(L, table, key, &v);
}

/* ---- registry references ---- */

LUA_API int luaKelo_register_tvalue(lua_State* L, const LuaTValue* value)
{
    Table* reg = hvalue(registry(L));
    const TValue* head = luaH_getnum(reg, FREELIST_REF);
    int ref = 0;
    TValue* slot;
    if (value == NULL || ttisnil(value))
        return LUAKELO_REFNIL;
    if (ttisnumber(head)) {
        int first = (int)luaKelo_tvalue_to_integer(head);
        const TValue* next = first != 0 ? luaH_getnum(reg, first) : luaO_nilobject;
        if (first != 0 && ttisnumber(next)) {
            TValue n;
            setobj(L, &n, next);
            ref = first;
            setobj2t(L, luaH_setnum(L, reg, FREELIST_REF), &n);
        }
    }
    if (ref == 0)
        ref = luaH_getn(reg) + 1;
    slot = luaH_setnum(L, reg, ref);
    setobj2t(L, slot, value);
    luaC_barriert(L, reg, value);
    return ref;
}

LUA_API void luaKelo_unregister_ref(lua_State* L, int ref)
{
    Table* reg = hvalue(registry(L));
    const TValue* head;
    if (ref < 1)
        return;
    head = luaH_getnum(reg, FREELIST_REF);
    if (ttisnil(head) || ttisnumber(head)) {
        TValue old;
        if (ttisnil(head)) {
            setivalue(&old, 0);
        } else {
            setobj(L, &old, head);
        }
        setobj2t(L, luaH_setnum(L, reg, ref), &old);
        setivalue(luaH_setnum(L, reg, FREELIST_REF), ref);
    } else {
        setnilvalue(luaH_setnum(L, reg, ref));
    }
}

LUA_API void luaKelo_registry_get_tvalue(lua_State* L, int ref, LuaTValue* out)
{
    setobj(L, out, luaH_getnum(hvalue(registry(L)), ref));
}

/* ---- number conversions ---- */

LUA_API int64_t luaKelo_toint64(lua_State* L, int idx)
{
    return luaKelo_tvalue_to_integer(index2adr(L, idx));
}

LUA_API int64_t luaKelo_optint64(lua_State* L, int idx, int64_t def)
{
    return lua_isnoneornil(L, idx) ? def : luaKelo_toint64(L, idx);
}

LUA_API void luaKelo_pushint64(lua_State* L, int64_t v)
{
    if (v >= INT32_MIN && v <= INT32_MAX) {
        setivalue(L->top, (int32_t)v);
    } else {
        setnvalue(L->top, cast_num(v));
    }
    L->top++;
}

LUA_API uint32_t luaKelo_touint32(lua_State* L, int idx)
{
    return (uint32_t)luaKelo_tvalue_to_integer(index2adr(L, idx));
}

LUA_API void luaKelo_pushuint32(lua_State* L, uint32_t v)
{
    if (v < 0x80000000u) {
        setivalue(L->top, (int32_t)v);
    } else {
        setnvalue(L->top, cast_num(v));
    }
    L->top++;
}

LUA_API void luaKelo_pushdouble(lua_State* L, double d)
{
    snapdouble(L->top, d);
    L->top++;
}

LUA_API int lua_isinteger(lua_State* L, int idx)
{
    return ttisint(index2adr(L, idx));
}
