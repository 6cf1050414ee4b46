// JSON text to a Lua value. The stack mirrors the reader's nesting: each open container is a
// table on the stack; an object member's key sits above its table until the value arrives.
#include "kapi/lua/LuaHeaders.h"
#include "kapi/lua/LuaJson.h"

namespace Kapi {
namespace Lua {

JsonReader::JsonReader(lua_State* L, const char* text) : JsonParser(text), m_L(L) {}

bool JsonReader::read()
{
    const int top = lua_gettop(m_L);
    if (parse() && !m_failed && lua_gettop(m_L) == top + 1) {
        return true;
    }
    lua_settop(m_L, top);
    return false;
}

bool JsonReader::room_i()
{
    if (!m_failed && !lua_checkstack(m_L, 2)) {
        m_failed = true;
    }
    return !m_failed;
}

void JsonReader::gotBoolean(bool value)
{
    if (room_i()) {
        lua_pushboolean(m_L, value ? 1 : 0);
    }
}

void JsonReader::gotNull()
{
    if (room_i()) {
        lua_pushnil(m_L);
    }
}

void JsonReader::gotNumber(double value, bool /*isFloat*/)
{
    if (room_i()) {
        luaKelo_pushdouble(m_L, value);
    }
}

void JsonReader::gotString(const char* value)
{
    if (!room_i()) {
        return;
    }
    if (value != nullptr) {
        lua_pushstring(m_L, value);
    } else {
        lua_pushnil(m_L);
    }
}

void JsonReader::arrayBegin()
{
    if (room_i()) {
        lua_newtable(m_L);
    }
}

void JsonReader::arrayNewItem(int index)
{
    if (!m_failed) {
        lua_rawseti(m_L, -2, index + 1);
    }
}

void JsonReader::objectBegin()
{
    if (room_i()) {
        lua_newtable(m_L);
    }
}

void JsonReader::objectNewField()
{
    if (!m_failed) {
        lua_settable(m_L, -3);
    }
}

} // namespace Lua
} // namespace Kapi
