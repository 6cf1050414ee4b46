// A Lua value to JSON text. Tables are walked twice: once to choose array or object, once to
// write. An array's values are written in ascending key order, which is the traversal order of
// a sequence and keeps sparse keys that live in the hash part ({[1]=1, [5]=5}) in key order too.
// Nesting deeper than the JSON reader accepts (a cyclic table, typically) fails.
#include "kapi/lua/LuaHeaders.h"
#include "kapi/lua/LuaJson.h"
#include "kapi/vLog.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Kapi {
namespace Lua {
namespace {

constexpr int kStackNeed = 4;

void appendTextOf(lua_State* L, int index, std::string& out)
{
    // A copy is converted: lua_tolstring on a number changes the slot it converts, and the slot
    // may be a key that lua_next still needs.
    lua_pushvalue(L, index);
    size_t length = 0;
    const char* text = lua_tolstring(L, -1, &length);
    out.append(text, length);
    lua_pop(L, 1);
}

bool allKeysAreNumbers(lua_State* L, int index)
{
    lua_pushnil(L);
    while (lua_next(L, index) != 0) {
        if (!lua_isnumber(L, -2)) {
            lua_pop(L, 2);
            return false;
        }
        lua_pop(L, 1);
    }
    return true;
}

} // namespace

bool JsonWriter::write()
{
    return writeAt_i(lua_gettop(m_L), 0);
}

bool JsonWriter::writeAt_i(int index, int depth)
{
    const int type = lua_type(m_L, index);
    switch (type) {
    case LUA_TNIL:
    case LUA_TNONE:
    case LUA_TFUNCTION:
        m_text += "null";
        return true;
    case LUA_TBOOLEAN:
        m_text += lua_toboolean(m_L, index) ? "true" : "false";
        return true;
    case LUA_TNUMBER:
        appendTextOf(m_L, index, m_text);
        return true;
    case LUA_TSTRING:
        m_text += '"';
        appendTextOf(m_L, index, m_text);
        m_text += '"';
        return true;
    case LUA_TTABLE:
        return writeTable_i(index, depth);
    default:
        if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_WARNING))
            vLogMessage(VLOGSRC_LUA, VLOG_WARNING,
                        "JsonWriter decode error: unhandled lua type %d.", type);
        return false;
    }
}

bool JsonWriter::writeTable_i(int index, int depth)
{
    if (depth >= JsonParser::MAX_DEPTH || !lua_checkstack(m_L, kStackNeed)) {
        if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_WARNING))
            vLogMessage(VLOGSRC_LUA, VLOG_WARNING,
                        "JsonWriter decode error: tables nested deeper than %d.",
                        JsonParser::MAX_DEPTH);
        return false;
    }
    if (allKeysAreNumbers(m_L, index)) {
        return writeArray_i(index, depth);
    }
    m_text += '{';
    bool first = true;
    lua_pushnil(m_L);
    while (lua_next(m_L, index) != 0) {
        if (!first) {
            m_text += ',';
        }
        first = false;
        if (lua_type(m_L, -2) != LUA_TSTRING && lua_type(m_L, -2) != LUA_TNUMBER) {
            if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_WARNING))
                vLogMessage(VLOGSRC_LUA, VLOG_WARNING,
                            "JsonWriter decode error: failed to write table key.");
            lua_pop(m_L, 2);
            return false;
        }
        m_text += '"';
        appendTextOf(m_L, -2, m_text);
        m_text += "\":";
        if (!writeAt_i(lua_gettop(m_L), depth + 1)) {
            if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_WARNING))
                vLogMessage(VLOGSRC_LUA, VLOG_WARNING,
                            "JsonWriter decode error: failed to write table value.");
            lua_pop(m_L, 2);
            return false;
        }
        lua_pop(m_L, 1);
    }
    m_text += '}';
    return true;
}

bool JsonWriter::writeArray_i(int index, int depth)
{
    // The keys are kept in a scratch table (numeric string keys must be looked up as they are)
    // and visited in order of their numeric values.
    lua_newtable(m_L);
    const int keys = lua_gettop(m_L);
    std::vector<std::pair<lua_Number, int>> order;
    lua_pushnil(m_L);
    while (lua_next(m_L, index) != 0) {
        lua_pop(m_L, 1);
        order.emplace_back(lua_tonumber(m_L, -1), static_cast<int>(order.size()) + 1);
        lua_pushvalue(m_L, -1);
        lua_rawseti(m_L, keys, order.back().second);
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    m_text += '[';
    int position = 0;
    for (const auto& entry : order) {
        if (position++ > 0) {
            m_text += ',';
        }
        lua_rawgeti(m_L, keys, entry.second);
        lua_rawget(m_L, index);
        const bool ok = writeAt_i(lua_gettop(m_L), depth + 1);
        lua_pop(m_L, 1);
        if (!ok) {
            if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_WARNING))
                vLogMessage(VLOGSRC_LUA, VLOG_WARNING,
                            "JsonWriter decode error: failed to write array value %d.", position);
            lua_pop(m_L, 1);
            return false;
        }
    }
    lua_pop(m_L, 1);
    m_text += ']';
    return true;
}

} // namespace Lua
} // namespace Kapi
