// Binary search over a strcmp-sorted row array. A null name never matches.
#include "kapi/lua/IndexedValue.h"

#include <algorithm>
#include <cstring>

namespace Kapi {
namespace Lua {
namespace {

const IndexedValue* find(const char* name, const IndexedValue* rows, size_t count)
{
    if (name == nullptr || rows == nullptr) {
        return nullptr;
    }
    const IndexedValue* end = rows + count;
    const IndexedValue* row = std::lower_bound(rows, end, name, SortIndexedValueByName());
    return row != end && strcmp(row->name, name) == 0 ? row : nullptr;
}

} // namespace

bool SortIndexedValueByName::operator()(const IndexedValue& a, const IndexedValue& b) const
{
    return strcmp(a.name, b.name) < 0;
}

bool SortIndexedValueByName::operator()(const IndexedValue& a, const char* name) const
{
    return strcmp(a.name, name) < 0;
}

int IndexedValue::index(lua_State* L, const char* name, const IndexedValue* rows, size_t count,
                        int notFound)
{
    const IndexedValue* row = find(name, rows, count);
    if (row == nullptr) {
        return notFound;
    }
    if (row->kind == KIND_METHOD) {
        lua_pushcfunction(L, row->function);
    }
    return row->id;
}

int IndexedValue::newindex(lua_State* L, const char* name, const IndexedValue* rows, size_t count,
                           int notFound, int readOnly)
{
    const IndexedValue* row = find(name, rows, count);
    if (row == nullptr) {
        return notFound;
    }
    if (row->writable) {
        return row->id;
    }
    lua_pushfstring(L, "Cannot assign value to %s", name);
    return readOnly;
}

bool IndexedValue::isArrayOrdered(const IndexedValue* rows, size_t count)
{
    for (size_t i = 1; i < count; ++i) {
        if (strcmp(rows[i - 1].name, rows[i].name) >= 0) {
            return false;
        }
    }
    return true;
}

} // namespace Lua
} // namespace Kapi
