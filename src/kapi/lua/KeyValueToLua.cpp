// Variant <-> Lua conversions. Native-to-Lua builds the value depth first and, on any failing
// element, resets the stack to the height it had on entry, so a false return never leaves a
// partial table behind. Lua-to-native visits tables with lua_rawgeti / lua_next and pops what
// it pushed before returning; a table nested deeper than kMaxNesting (a cycle, typically) fails
// the whole conversion, without the string-vector fallback, instead of exhausting the native
// stack.
#include "kapi/lua/KeyValueToLua.h"

#include "kapi/lua/LuaHeaders.h"
#include "kapi/lua/LuaUtil.h"

#include <cstdint>

namespace Kapi {
namespace Lua {
namespace {

constexpr int kStackNeed = 20;
constexpr int kMaxNesting = 200;

// One Lua-to-native conversion: how deep it is, and whether it went too deep somewhere (which
// no fallback may then hide).
struct Walk
{
    int depth = 0;
    bool tooDeep = false;
};

bool fromLuaAt(lua_State* L, Variant& out, int index, Walk& walk);

bool stringVectorAt(lua_State* L, StringVector& out, int index)
{
    if (!lua_istable(L, index)) {
        return false;
    }
    const size_t length = lua_objlen(L, index);
    out.resize(length);
    for (size_t i = 1; i <= length; ++i) {
        lua_rawgeti(L, index, static_cast<int>(i));
        const int type = lua_type(L, -1);
        if (type == LUA_TNIL) {
            out[i - 1].clear();
        } else if (type == LUA_TSTRING || type == LUA_TNUMBER) {
            size_t size = 0;
            const char* text = lua_tolstring(L, -1, &size);
            out[i - 1].assign(text, size);
        } else {
            lua_pop(L, 1);
            return false;
        }
        lua_pop(L, 1);
    }
    return true;
}

bool variantVectorAt(lua_State* L, VariantVector& out, int index, Walk& walk)
{
    if (!lua_istable(L, index)) {
        return false;
    }
    const size_t length = lua_objlen(L, index);
    out.resize(length);
    for (size_t i = 1; i <= length; ++i) {
        lua_rawgeti(L, index, static_cast<int>(i));
        const bool ok = fromLuaAt(L, out[i - 1], lua_gettop(L), walk);
        lua_pop(L, 1);
        if (!ok) {
            return false;
        }
    }
    return true;
}

bool mapAt(lua_State* L, KeyValueMap& out, int index, Walk& walk)
{
    out.clear();
    if (!lua_istable(L, index)) {
        return false;
    }
    lua_pushnil(L);
    while (lua_next(L, index) != 0) {
        size_t keyLength = 0;
        const char* key =
            lua_type(L, -2) == LUA_TSTRING ? lua_tolstring(L, -2, &keyLength) : nullptr;
        Variant value;
        if (key == nullptr || keyLength == 0 || !fromLuaAt(L, value, lua_gettop(L), walk)) {
            lua_pop(L, 2);
            return false;
        }
        out.addValue(std::string(key, keyLength), std::move(value));
        lua_pop(L, 1);
    }
    return true;
}

bool tableAt(lua_State* L, Variant& out, int index, Walk& walk)
{
    if (walk.depth >= kMaxNesting || !lua_checkstack(L, kStackNeed)) {
        walk.tooDeep = true;
        return false;
    }
    ++walk.depth;
    bool ok = false;
    if (lua_objlen(L, index) == 0) {
        KeyValueMap map;
        if (mapAt(L, map, index, walk)) {
            out.setMapBySwapping(map);
            ok = true;
        }
    } else {
        VariantVector array;
        if (variantVectorAt(L, array, index, walk)) {
            out.setArrayBySwapping(array);
            ok = true;
        }
    }
    --walk.depth;
    if (ok || walk.tooDeep) {
        return ok;
    }
    StringVector strings;
    if (stringVectorAt(L, strings, index)) {
        out = std::move(strings);
        return true;
    }
    return false;
}

// `index` is absolute.
bool fromLuaAt(lua_State* L, Variant& out, int index, Walk& walk)
{
    switch (lua_type(L, index)) {
    case LUA_TNIL:
        out.clear();
        return true;
    case LUA_TBOOLEAN:
        out = lua_toboolean(L, index) != 0;
        return true;
    case LUA_TNUMBER: {
        const int64_t value = luaKelo_toint64(L, index);
        if (value >= INT32_MIN && value <= INT32_MAX) {
            out = static_cast<int>(value);
        } else {
            out = static_cast<long long>(value);
        }
        return true;
    }
    case LUA_TSTRING: {
        size_t length = 0;
        const char* text = lua_tolstring(L, index, &length);
        out = std::string(text, length);
        return true;
    }
    case LUA_TTABLE:
        if (tableAt(L, out, index, walk)) {
            return true;
        }
        out.clear();
        return false;
    default:
        out.clear();
        return false;
    }
}

// An absolute index for a relative one; pseudo-indices are kept.
int absolute(lua_State* L, int index)
{
    return index < 0 && index > LUA_REGISTRYINDEX ? lua_gettop(L) + index + 1 : index;
}

} // namespace

bool toLua(lua_State* L, const StringVector& value)
{
    if (!lua_checkstack(L, kStackNeed)) {
        return false;
    }
    lua_createtable(L, static_cast<int>(value.size()), 0);
    int key = 1;
    for (const std::string& text : value) {
        lua_pushlstring(L, text.data(), text.size());
        lua_rawseti(L, -2, key++);
    }
    return true;
}

bool toLua(lua_State* L, const Variant& value)
{
    if (!lua_checkstack(L, kStackNeed)) {
        return false;
    }
    switch (value.getType()) {
    case Variant::Undefined:
        lua_pushnil(L);
        return true;
    case Variant::Array:
        return toLua(L, value.getArrayReference());
    case Variant::Boolean:
        lua_pushboolean(L, value.asBoolean() ? 1 : 0);
        return true;
    case Variant::Double:
        luaKelo_pushdouble(L, value.asDouble());
        return true;
    case Variant::Integer32:
        lua_pushinteger(L, value.asInteger32());
        return true;
    case Variant::Integer64:
        luaKelo_pushint64(L, value.asInteger64());
        return true;
    case Variant::Map:
        return toLua(L, value.getMapReference());
    case Variant::String: {
        const std::string text = value.asString();
        lua_pushlstring(L, text.data(), text.size());
        return true;
    }
    case Variant::StringVector:
        return toLua(L, value.asStringVector());
    }
    return false;
}

bool toLua(lua_State* L, const VariantVector& value)
{
    if (!lua_checkstack(L, kStackNeed)) {
        return false;
    }
    const int top = lua_gettop(L);
    lua_createtable(L, static_cast<int>(value.size()), 0);
    int key = 1;
    for (const Variant& element : value) {
        if (!toLua(L, element)) {
            lua_settop(L, top);
            return false;
        }
        lua_rawseti(L, -2, key++);
    }
    return true;
}

bool toLua(lua_State* L, const KeyValueMap& value)
{
    if (!lua_checkstack(L, kStackNeed)) {
        return false;
    }
    const int top = lua_gettop(L);
    lua_createtable(L, 0, static_cast<int>(value.size()));
    for (const auto& entry : value) {
        if (!toLua(L, entry.second)) {
            lua_settop(L, top);
            return false;
        }
        lua_setfield(L, -2, entry.first.c_str());
    }
    return true;
}

bool fromLua(lua_State* L, StringVector& out, int index)
{
    return stringVectorAt(L, out, absolute(L, index));
}

bool fromLua(lua_State* L, VariantVector& out, int index)
{
    index = absolute(L, index);
    Walk walk;
    return lua_checkstack(L, kStackNeed) && variantVectorAt(L, out, index, walk);
}

bool fromLua(lua_State* L, KeyValueMap& out, int index)
{
    if (!lua_istable(L, index)) {
        return false;
    }
    index = indexFromTheBottom(L, index);
    if (!lua_checkstack(L, kStackNeed)) {
        out.clear();
        return false;
    }
    Walk walk;
    return mapAt(L, out, index, walk);
}

bool fromLua(lua_State* L, Variant& out, int index)
{
    Walk walk;
    return fromLuaAt(L, out, absolute(L, index), walk);
}

} // namespace Lua
} // namespace Kapi
