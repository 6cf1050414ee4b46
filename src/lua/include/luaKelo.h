/*
** The interpreter's extensions: a 32-bit integer subtype beside doubles, read-only tables,
** identifiers on interned strings, fast userdata with native index/newindex handlers and a
** native finaliser, direct access to raw values, tables and the registry, number
** conversions, and the restricted standard libraries.
**
** Representation shared with native code:
** - LuaTValue is the interpreter's own value cell: a value word and a type tag. Tags are the
**   interpreter's (LUA_TNIL ... LUA_TTHREAD) with LUA_TINT (-2) for the integer subtype;
**   LUA_TNUMBER (3) then means a double. lua_type() reports both as LUA_TNUMBER.
** - LuaString and LuaTable are interned strings and tables; LuaFastUserDataHolder is the
**   payload block of a full userdata (what lua_newuserdata returns), so a block pointer is
**   also the userdata's identity.
** Invariants: an integer-tagged value always holds a value of [-2^31, 2^31-1]; arithmetic that
** leaves that range, or that would produce -0, gives a double. Table keys that are integral
** doubles in that range are stored as integers, so 1 and 1.0 are the same key. lua_pushnumber
** and number constants of compiled chunks store integral values in that range as integers;
** arithmetic on doubles keeps the double tag even when the result is integral.
**
** Thread rule: a state and every pointer obtained from these functions belong to the thread
** that runs the state. Raw pointers stay valid only while the object is reachable; a new
** table or string made here is unanchored until stored somewhere reachable, so store it before
** the next call that may allocate. Functions below never raise unless stated; on a type
** mismatch they return null, 0 or do nothing.
*/
#ifndef luaKelo_h
#define luaKelo_h

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#include "lauxlib.h"
#include "lua.h"
#include "lualib.h"

/* Tag of the integer subtype in LuaTValue::tt. */
#define LUA_TINT (-2)

/* Read-only flag bits of a table: 0x07 forbids changing a non-nil entry, 0x38 forbids
** creating one; lua_setreadonly stores both. */
#define LUAKELO_RO_UNMODIFIABLE 0x07
#define LUAKELO_RO_NONEW 0x38
#define LUAKELO_RO_ALL 0x1B

union GCObject;
typedef union LuaValueWord {
    union GCObject* gc;
    void* p;
    lua_Number n;
    int b;
    int32_t i;
} LuaValueWord;

typedef struct lua_TValue
{
    LuaValueWord value;
    int tt;
} LuaTValue;

typedef union TString LuaString;
typedef struct Table LuaTable;
typedef void LuaFastUserDataHolder;

/* Native handlers of a fast userdata. The key and value cells are read-only to the handler;
** the index handler stores its answer in *result (nil when it stores nothing). A handler may
** raise a Lua error (the running Lua function is level 0 for luaL_where) and may push up to
** LUA_MINSTACK values; it should store into *result last, after anything that allocates. */
typedef void (*luaKelo_IndexFunction)(lua_State* L, LuaFastUserDataHolder* block,
                                      const LuaTValue* key, LuaTValue* result);
typedef void (*luaKelo_NewIndexFunction)(lua_State* L, LuaFastUserDataHolder* block,
                                         const LuaTValue* key, const LuaTValue* value);
typedef void (*luaKelo_GcFunction)(LuaFastUserDataHolder* block);

/* ---- integer subtype ---- */

/* 1 when the value at idx is tagged as an integer. */
LUA_API int lua_isinteger(lua_State* L, int idx);

/* Overflow-checked 32-bit operations with Lua's semantics: store the result and return 1, or
** return 0 when the exact result is not an integer of 32 bits (or is -0, or the operation is
** undefined for integers, such as division by zero). */
LUA_API int try_addint(int32_t* r, int32_t a, int32_t b);
LUA_API int try_subint(int32_t* r, int32_t a, int32_t b);
LUA_API int try_mulint(int32_t* r, int32_t a, int32_t b);
LUA_API int try_divint(int32_t* r, int32_t a, int32_t b);
LUA_API int try_modint(int32_t* r, int32_t a, int32_t b);
LUA_API int try_powint(int32_t* r, int32_t a, int32_t b);
LUA_API int try_unmint(int32_t* r, int32_t a);

/* ---- read-only tables ---- */

LUA_API void lua_setreadonly(lua_State* L, int idx, int on);
LUA_API int lua_getreadonly(lua_State* L, int idx);
/* Raises "read-only table" with the caller's position when the table at idx is read-only. */
LUALIB_API void luaL_checknotreadonly(lua_State* L, int idx);

/* ---- string identifiers ---- */

LUA_API void luaKelo_string_setKeloID(LuaString* s, uint32_t id);
LUA_API uint32_t luaKelo_string_getKeloID(const LuaString* s);
LUA_API void luaKelo_top_string_setKeloID(lua_State* L, uint32_t id);
/* Negative length: text is zero-terminated. */
LUA_API LuaString* luaKelo_string_exists(lua_State* L, const char* text, int length);
LUA_API LuaString* luaKelo_string_new(lua_State* L, const char* text, int length);
LUA_API const char* luaKelo_string_cptr(const LuaString* s, size_t* length);

/* ---- fast userdata ---- */

LUA_API LuaFastUserDataHolder* luaKelo_push_userdata_new(lua_State* L, size_t size);
LUA_API void luaKelo_pushuserdata(lua_State* L, LuaFastUserDataHolder* block);
LUA_API void luaV_pushuserdata(lua_State* L, LuaFastUserDataHolder* block);
LUA_API void luaKelo_userdata_setcfuncs(LuaFastUserDataHolder* block,
                                        luaKelo_NewIndexFunction newindex,
                                        luaKelo_IndexFunction index);
LUA_API void luaKelo_userdata_setcgc(LuaFastUserDataHolder* block, luaKelo_GcFunction gc);
LUA_API LuaTable* luaKelo_userdata_getfenv(LuaFastUserDataHolder* block);
/* Raw store of the environment; L is needed only for the collector's write barrier. */
LUA_API void luaKelo_userdata_setfenv(lua_State* L, LuaFastUserDataHolder* block, LuaTable* env);
/* Calls function(userdata, key, value) with no results. Raises what the watcher raises,
** "C stack overflow" past the nesting limit, and "erroring! watcher not a function (%d)" when
** function is not a function. */
LUA_API void luaKelo_call_watcher(lua_State* L, const LuaTValue* function,
                                  LuaFastUserDataHolder* block, LuaString* key,
                                  const LuaTValue* value);

/* ---- direct value and stack access ---- */

LUA_API LuaTValue* luaKelo_top_tvalue(lua_State* L);
LUA_API LuaString* luaKelo_top_string(lua_State* L);
LUA_API LuaFastUserDataHolder* luaKelo_top_userdata(lua_State* L);
LUA_API LuaTable* luaKelo_top_table(lua_State* L);
LUA_API LuaTValue* luaKelo_stack_tvalue(lua_State* L, int idx);
LUA_API LuaString* luaKelo_stack_string(lua_State* L, int idx);
LUA_API LuaFastUserDataHolder* luaKelo_stack_userdata(lua_State* L, int idx);
LUA_API LuaTable* luaKelo_stack_get_fenv(lua_State* L, int idx);
LUA_API void luaKelo_stack_push_tvalue(lua_State* L, const LuaTValue* value);

LUA_API int luaKelo_tvalue_type(const LuaTValue* value); /* raw tag; LUA_TNONE for null */
LUA_API LuaString* luaKelo_tvalue_string(const LuaTValue* value);
LUA_API LuaTable* luaKelo_tvalue_table(const LuaTValue* value);
LUA_API LuaFastUserDataHolder* luaKelo_tvalue_userdata(const LuaTValue* value);
LUA_API const char* luaKelo_tvalue_cptr(const LuaTValue* value, size_t* length);
/* A number cell is converted to a string in place (as lua_tolstring does). */
LUA_API const char* luaKelo_tvalue_to_cptr(lua_State* L, LuaTValue* value, size_t* length);
LUA_API int64_t luaKelo_tvalue_to_integer(const LuaTValue* value);
LUA_API lua_Number luaKelo_tvalue_to_number(const LuaTValue* value); /* 0 unless a number */
LUA_API int luaKelo_tvalue_equal(const LuaTValue* a, const LuaTValue* b);

/* Stores into a value cell. For cells inside tables use the luaKelo_table_set_* writers. */
LUA_API void luaKelo_tvalue_set_nil(LuaTValue* value);
LUA_API void luaKelo_tvalue_set_boolean(LuaTValue* value, int b);
LUA_API void luaKelo_tvalue_set_integer(LuaTValue* value, int32_t n);
LUA_API void luaKelo_tvalue_set_double(LuaTValue* value, lua_Number d); /* tolerant snap */
LUA_API void luaKelo_tvalue_set_table(LuaTValue* value, LuaTable* table);
LUA_API void luaKelo_tvalue_set_userdata(LuaTValue* value, LuaFastUserDataHolder* block);
LUA_API void luaKelo_tvalue_set_string(LuaTValue* value, LuaString* s);
LUA_API void luaKelo_tvalue_set_cclosure1(lua_State* L, LuaTValue* value, lua_CFunction fn,
                                          const LuaTValue* upvalue);

/* ---- tables (raw access) ---- */

LUA_API LuaTable* luaKelo_table_new(lua_State* L, int arraySize);
LUA_API int luaKelo_table_length(LuaTable* table);
/* One step of next: key nil starts; returns 0 at the end. */
LUA_API int luaKelo_table_iterate(lua_State* L, LuaTable* table, LuaTValue* key, LuaTValue* value);
LUA_API void luaKelo_table_get_tvalue(lua_State* L, LuaTable* table, LuaString* key,
                                      LuaTValue* out);
LUA_API void luaKelo_table_get_tvalue_i(lua_State* L, LuaTable* table, int n, LuaTValue* out);
LUA_API const LuaTValue* luaKelo_table_tvalue(lua_State* L, LuaTable* table, LuaString* key);
LUA_API LuaFastUserDataHolder* luaKelo_table_userdata_i(lua_State* L, LuaTable* table, int n);
/* Writers raise the read-only errors of the table. */
LUA_API void luaKelo_table_set_tvalue(lua_State* L, LuaTable* table, LuaString* key,
                                      const LuaTValue* value);
LUA_API void luaKelo_table_set_tvalue_i(lua_State* L, LuaTable* table, int n,
                                        const LuaTValue* value);
LUA_API void luaKelo_table_set_string(lua_State* L, LuaTable* table, LuaString* key,
                                      LuaString* value);
LUA_API void luaKelo_table_set_integer(lua_State* L, LuaTable* table, LuaString* key,
                                       int32_t value);

/* ---- registry references (share the free list of luaL_ref on the registry) ---- */

#define LUAKELO_REFNIL (-2)
LUA_API int luaKelo_register_tvalue(lua_State* L, const LuaTValue* value);
LUA_API void luaKelo_unregister_ref(lua_State* L, int ref);
LUA_API void luaKelo_registry_get_tvalue(lua_State* L, int ref, LuaTValue* out);

/* ---- number conversions ---- */

LUA_API int64_t luaKelo_toint64(lua_State* L, int idx);
LUA_API int64_t luaKelo_optint64(lua_State* L, int idx, int64_t def);
LUA_API void luaKelo_pushint64(lua_State* L, int64_t v);
LUA_API uint32_t luaKelo_touint32(lua_State* L, int idx);
LUA_API void luaKelo_pushuint32(lua_State* L, uint32_t v);
LUA_API void luaKelo_pushdouble(lua_State* L, double d);

/* ---- libraries ---- */

/* base, package, table, io, os (restricted), string, math, debug (restricted). */
LUALIB_API void luaKelo_openlibs_safe(lua_State* L);
LUALIB_API int luaKelo_open_os_safe(lua_State* L);
LUALIB_API int luaKelo_open_debug_safe(lua_State* L);
LUA_API int luaKelo_verifyBuild(void);

#ifdef __cplusplus
}
#endif

#endif
