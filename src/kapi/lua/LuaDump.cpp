// Value, table and stack text for logs. A table dump collects its hash-part entries first
// (nested tables are dumped into their own text while the traversal holds their value on the
// stack), then writes them sorted by key text. The chain of tables being dumped is kept so a
// cycle ends in a plain value instead of endless recursion.
#include "kapi/lua/LuaDump.h"

#include "kapi/StringUtil.h"
#include "kapi/lua/LuaHeaders.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <vector>

namespace Kapi {
namespace Lua {
namespace {

constexpr int kStackNeed = 6;

// Addresses of the tables being dumped, outermost first.
typedef std::vector<const void*> DumpPath;

bool dumpTable(lua_State* L, int index, int level, std::ostream& stream, DumpPath& path);

std::string addressText(lua_State* L, int index)
{
    return StringUtil::newPrintf("%s %p", lua_typename(L, lua_type(L, index)),
                                 lua_topointer(L, index));
}

bool isOnPath(const DumpPath& path, const void* table)
{
    return std::find(path.begin(), path.end(), table) != path.end();
}

// The value at `index` as a dump line would show it; a table on the path as a plain value.
std::string plainValue(lua_State* L, int index, int level, DumpPath& path)
{
    if (lua_type(L, index) == LUA_TTABLE) {
        if (isOnPath(path, lua_topointer(L, index))) {
            return addressText(L, index);
        }
        std::ostringstream nested;
        return dumpTable(L, index, level, nested, path)
                   ? StringUtil::trimTailWhiteSpace(nested.str())
                   : std::string();
    }
    return valueToString(L, index, level);
}

bool dumpTable(lua_State* L, int index, int level, std::ostream& stream, DumpPath& path)
{
    if (!lua_istable(L, index) || !lua_checkstack(L, kStackNeed)) {
        return false;
    }
    index = index < 0 && index > LUA_REGISTRYINDEX ? lua_gettop(L) + index + 1 : index;
    path.push_back(lua_topointer(L, index));
    const int length = static_cast<int>(lua_objlen(L, index));
    bool ok = true;

    for (int i = 1; ok && i <= length; ++i) {
        lua_rawgeti(L, index, i);
        if (lua_isnil(L, -1)) {
            // nothing printed for a hole
        } else if (lua_istable(L, -1) && !isOnPath(path, lua_topointer(L, -1))) {
            printIndent("\t", level, stream);
            stream << '[' << i << "]=\n{\n";
            ok = dumpTable(L, -1, level + 1, stream, path);
            printIndent("\t", level, stream);
            stream << "}\n";
        } else {
            printIndent("\t", level, stream);
            stream << '[' << i << "]=" << plainValue(L, -1, level, path) << '\n';
        }
        lua_pop(L, 1);
    }

    std::vector<Entry> values;
    std::vector<Entry> tables;
    lua_pushnil(L);
    while (ok && lua_next(L, index) != 0) {
        if (!ignoreEntry(L, index, length)) {
            if (lua_istable(L, -1) && !isOnPath(path, lua_topointer(L, -1))) {
                std::ostringstream nested;
                ok = dumpTable(L, -1, level + 1, nested, path);
                tables.push_back(Entry{tableKeyToString(L), nested.str()});
            } else {
                values.push_back(Entry{tableKeyToString(L), plainValue(L, -1, level, path)});
            }
        }
        lua_pop(L, 1);
    }
    if (!ok) {
        lua_pop(L, 1); // the key of the interrupted traversal
    }
    path.pop_back();
    if (!ok) {
        return false;
    }

    std::stable_sort(values.begin(), values.end());
    std::stable_sort(tables.begin(), tables.end());
    for (const Entry& entry : values) {
        printIndent("\t", level, stream);
        stream << entry.key << '=' << entry.value << '\n';
    }
    for (const Entry& entry : tables) {
        printIndent("\t", level, stream);
        stream << entry.key << "={\n" << entry.value;
        printIndent("\t", level, stream);
        stream << "}\n";
    }
    return true;
}

} // namespace

const char* typeToString(int type)
{
    switch (type) {
    case -1:
        return "none";
    case 0:
        return "nil";
    case 1:
        return "boolean";
    case 2:
        return "lightuserdata";
    case 3:
        return "number";
    case 4:
        return "string";
    case 5:
        return "table";
    case 6:
        return "function";
    case 7:
        return "userdata";
    case 8:
        return "thread";
    default:
        return "unknown";
    }
}

std::string valueToString(lua_State* L, int index, int indent)
{
    switch (lua_type(L, index)) {
    case LUA_TNONE:
    case LUA_TNIL:
        return "";
    case LUA_TBOOLEAN:
        return lua_toboolean(L, index) ? "true" : "false";
    case LUA_TNUMBER:
        return StringUtil::newPrintf("%d", static_cast<int>(lua_tointeger(L, index)));
    case LUA_TSTRING:
        return StringUtil::newPrintf("\"%s\"", lua_tostring(L, index));
    case LUA_TTABLE:
        return tableToString(L, index, indent);
    default:
        return addressText(L, index);
    }
}

std::string tableKeyToString(lua_State* L)
{
    switch (lua_type(L, -2)) {
    case LUA_TNUMBER:
        return StringUtil::newPrintf("%d", static_cast<int>(lua_tointeger(L, -2)));
    case LUA_TSTRING:
        return lua_tostring(L, -2);
    case LUA_TBOOLEAN:
        return lua_toboolean(L, -2) ? "true" : "false";
    default:
        return "";
    }
}

bool ignoreEntry(lua_State* L, int /*index*/, int n)
{
    if (lua_type(L, -2) != LUA_TNUMBER) {
        return false;
    }
    const lua_Integer key = lua_tointeger(L, -2);
    return key >= 1 && key <= n;
}

void printIndent(const char* indent, int level, std::ostream& stream)
{
    for (int i = 0; i < level; ++i) {
        stream << indent;
    }
}

bool tableToStream(lua_State* L, int index, int level, std::ostream& stream)
{
    DumpPath path;
    return dumpTable(L, index, level, stream, path);
}

std::string tableToString(lua_State* L, int index, int level)
{
    std::ostringstream stream;
    if (!tableToStream(L, index, level, stream)) {
        return "";
    }
    return StringUtil::trimTailWhiteSpace(stream.str());
}

void printStack(lua_State* L)
{
    const int top = lua_gettop(L);
    printf("Dumping LUA stack.  top=%d\n", top);
    for (int slot = 1; slot <= top; ++slot) {
        const std::string value = valueToString(L, slot, 0);
        printf("%d: %s %s\n", slot, typeToString(lua_type(L, slot)), value.c_str());
    }
}

void dumpStackToLog(lua_State* L, vLogSource source, vLogLevel level)
{
    if (!vLogLevelEnabled(source, level)) {
        return;
    }
    const int top = lua_gettop(L);
    vLogMessage(source, level, "Dumping LUA stack.  top=%d", top);
    for (int slot = 1; slot <= top; ++slot) {
        const std::string value = valueToString(L, slot, 0);
        if (vLogLevelEnabled(source, level))
            vLogMessage(source, level, "%d: %s %s", slot, typeToString(lua_type(L, slot)),
                        value.c_str());
    }
}

} // namespace Lua
} // namespace Kapi
