#ifndef KAPI_LUA_KEYVALUETOLUA_H
#define KAPI_LUA_KEYVALUETOLUA_H
// Conversions between the shared value types (Variant, VariantVector, KeyValueMap,
// StringVector) and Lua values. All run on the thread that owns the Lua state and never raise
// Lua errors.
//
// toLua: pushes exactly one value and returns true, or pushes nothing and returns false (the
// stack has no room for 20 more slots, or a value of a kind Lua cannot hold is met anywhere
// inside).
//
// fromLua: reads the value at `index` (relative or absolute) and leaves the stack as it was.
// Numbers always become integers (32-bit when they fit, else 64-bit; fractions truncate toward
// zero). A table becomes a map when its length #t is 0, else an array; when that fails, a
// string vector; otherwise the call fails. On failure the output holds what was converted
// before the failing element.
#include "kapi/Variant.h"

struct lua_State;

namespace Kapi {
namespace Lua {

bool toLua(lua_State* L, const StringVector& value);
bool toLua(lua_State* L, const Variant& value);
bool toLua(lua_State* L, const VariantVector& value);
bool toLua(lua_State* L, const KeyValueMap& value);

bool fromLua(lua_State* L, StringVector& out, int index);
bool fromLua(lua_State* L, VariantVector& out, int index);
// Every key must be a non-empty Lua string (a number key fails: the type is tested).
bool fromLua(lua_State* L, KeyValueMap& out, int index);
bool fromLua(lua_State* L, Variant& out, int index);

} // namespace Lua
} // namespace Kapi

#endif
