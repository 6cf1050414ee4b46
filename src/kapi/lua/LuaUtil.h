#ifndef KAPI_LUA_LUAUTIL_H
#define KAPI_LUA_LUAUTIL_H
// Small table accessors and setters over the Lua stack, and the path rule for per-application
// data directories. Everything here runs on the thread that owns the Lua state and leaves the
// stack as it found it unless stated otherwise.
#include <string>

struct lua_State;

namespace Kapi {
namespace Lua {

// A negative index as the equivalent positive one (top + index + 1); others unchanged.
int indexFromTheBottom(lua_State* L, int index);

// False when the value at `index` is not a table or `name` is null or empty; otherwise true
// when the field is not nil and, unless `type` is -1, has Lua type `type`.
bool tableContainsField(lua_State* L, const char* name, int index, int type = -1);
// "" when not a table or `name` is null or empty. Otherwise pushes the field and converts the
// value at `index` counted after that push (so with -1 the field itself): its text when it is
// a string or number, else "".
std::string tableGetString(lua_State* L, const char* name, int index);
// True (deliberately) when not a table or `name` is null or empty. Otherwise pushes the field
// and returns the truth of the value at `index` counted after that push.
bool tableGetBoolean(lua_State* L, const char* name, int index);

// Store into the table at -1 with normal (metamethod-respecting) assignment.
void setTableField(lua_State* L, const char* name, const std::string& value);
void setTableFieldString(lua_State* L, const char* name, const char* value);
void setTableFieldInt(lua_State* L, const char* name, int value);
void setTableFieldReal(lua_State* L, const char* name, double value);
void setTableFieldBool(lua_State* L, const char* name, bool value);
// As above, doing nothing for an empty string, a zero, or false.
void setTableFieldIfNN(lua_State* L, const char* name, const std::string& value);
void setTableFieldIfNZ(lua_State* L, const char* name, int value);
void setTableFieldBoolIfNF(lua_State* L, const char* name, bool value);

// The data directory of one application under `root`:
//   appName empty            -> root/lua-apps
//   fileName empty           -> root/lua-apps/<appName>/data
//   otherwise                -> root/lua-apps/<appName>/data/<fileName>
// Missing directories are created. "" (with an error on the "lua" log) when a name is not a
// valid file name (or the application name begins with "."), `root` is not a directory, or a
// directory cannot be created.
std::string getLuaAppDataPath(const std::string& root, const std::string& appName,
                              const std::string& fileName);

} // namespace Lua
} // namespace Kapi

#endif
