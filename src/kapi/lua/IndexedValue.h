#ifndef KAPI_LUA_INDEXEDVALUE_H
#define KAPI_LUA_INDEXEDVALUE_H
// IndexedValue: one row of a userdata class's property table. A class keeps its rows in one
// static array sorted by `name` in strict strcmp order (checked once at start-up with
// isArrayOrdered()); lookups are binary searches by name.
#include "kapi/lua/LuaHeaders.h"

#include <cstddef>

namespace Kapi {
namespace Lua {

struct IndexedValue
{
    enum
    {
        KIND_METHOD = 0 // reading the name pushes `function` as a C function
    };

    const char* name;
    int kind;
    int id; // what a lookup returns, typically an enumerator the class switches on
    lua_CFunction function;
    bool writable;

    // Absent -> `notFound`. Present -> the row's id, after pushing its function (no upvalues)
    // when the row is a method.
    static int index(lua_State* L, const char* name, const IndexedValue* rows, size_t count,
                     int notFound);
    // Absent -> `notFound`; writable -> the row's id; read-only -> pushes
    // "Cannot assign value to <name>" and returns `readOnly`, for the caller to raise.
    static int newindex(lua_State* L, const char* name, const IndexedValue* rows, size_t count,
                        int notFound, int readOnly);
    // True when count < 2 or every name is strictly below the next.
    static bool isArrayOrdered(const IndexedValue* rows, size_t count);
};

// Strict strcmp order of names, for sorting and searching rows.
struct SortIndexedValueByName
{
    bool operator()(const IndexedValue& a, const IndexedValue& b) const;
    bool operator()(const IndexedValue& a, const char* name) const;
};

} // namespace Lua
} // namespace Kapi

#endif
