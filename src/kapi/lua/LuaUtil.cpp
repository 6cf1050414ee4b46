// Table accessors and setters, and the per-application data directory rule. The accessors
// take the table by stack index; the setters store into the table on top of the stack
// (index -1) through lua_setfield, so __newindex metamethods and read-only flags apply.
#include "kapi/lua/LuaUtil.h"

#include "kapi/FileUtil.h"
#include "kapi/lua/LuaHeaders.h"
#include "kapi/vLog.h"

namespace Kapi {
namespace Lua {
namespace {

bool isUsableName(const char* name)
{
    return name != nullptr && name[0] != '\0';
}

// The application data store's rule for application and record names.
bool appFilenameIsValid(const std::string& name)
{
    return FileUtil::filenameIsValid(name) && name[0] != '.';
}

bool ensureDir(const std::string& path)
{
    if (FileUtil::isDirectory(path) || FileUtil::makeDirectory(path)) {
        return true;
    }
    if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_ERROR))
        vLogMessage(VLOGSRC_LUA, VLOG_ERROR, "getLuaAppDataPath: cannot create dir '%s'",
                    path.c_str());
    return false;
}

} // namespace

int indexFromTheBottom(lua_State* L, int index)
{
    return index < 0 ? lua_gettop(L) + index + 1 : index;
}

bool tableContainsField(lua_State* L, const char* name, int index, int type)
{
    if (!lua_istable(L, index) || !isUsableName(name)) {
        return false;
    }
    lua_getfield(L, index, name);
    const int fieldType = lua_type(L, -1);
    lua_pop(L, 1);
    return fieldType != LUA_TNIL && (type == -1 || fieldType == type);
}

std::string tableGetString(lua_State* L, const char* name, int index)
{
    if (!lua_istable(L, index) || !isUsableName(name)) {
        return "";
    }
    lua_getfield(L, index, name);
    std::string text;
    const int type = lua_type(L, index);
    if (type == LUA_TSTRING || type == LUA_TNUMBER) {
        // Convert a copy: converting a number in place would change the slot's type.
        lua_pushvalue(L, index);
        size_t length = 0;
        const char* chars = lua_tolstring(L, -1, &length);
        text.assign(chars, length);
        lua_pop(L, 1);
    }
    lua_pop(L, 1);
    return text;
}

bool tableGetBoolean(lua_State* L, const char* name, int index)
{
    if (!lua_istable(L, index) || !isUsableName(name)) {
        return true;
    }
    lua_getfield(L, index, name);
    const bool value = lua_toboolean(L, index) != 0;
    lua_pop(L, 1);
    return value;
}

void setTableField(lua_State* L, const char* name, const std::string& value)
{
    lua_pushlstring(L, value.data(), value.size());
    lua_setfield(L, -2, name);
}

void setTableFieldString(lua_State* L, const char* name, const char* value)
{
    lua_pushstring(L, value);
    lua_setfield(L, -2, name);
}

void setTableFieldInt(lua_State* L, const char* name, int value)
{
    lua_pushinteger(L, value);
    lua_setfield(L, -2, name);
}

void setTableFieldReal(lua_State* L, const char* name, double value)
{
    lua_pushnumber(L, value);
    lua_setfield(L, -2, name);
}

void setTableFieldBool(lua_State* L, const char* name, bool value)
{
    lua_pushboolean(L, value ? 1 : 0);
    lua_setfield(L, -2, name);
}

void setTableFieldIfNN(lua_State* L, const char* name, const std::string& value)
{
    if (!value.empty()) {
        setTableField(L, name, value);
    }
}

void setTableFieldIfNZ(lua_State* L, const char* name, int value)
{
    if (value != 0) {
        setTableFieldInt(L, name, value);
    }
}

void setTableFieldBoolIfNF(lua_State* L, const char* name, bool value)
{
    if (value) {
        setTableFieldBool(L, name, true);
    }
}

std::string getLuaAppDataPath(const std::string& root, const std::string& appName,
                              const std::string& fileName)
{
    if (!appName.empty() && !appFilenameIsValid(appName)) {
        if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_ERROR))
            vLogMessage(VLOGSRC_LUA, VLOG_ERROR, "getLuaAppDataPath: invalid appName '%s'",
                        appName.c_str());
        return "";
    }
    if (!FileUtil::isDirectory(root)) {
        if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_ERROR))
            vLogMessage(VLOGSRC_LUA, VLOG_ERROR, "getLuaAppDataPath: not a directory '%s'",
                        root.c_str());
        return "";
    }
    const std::string base = FileUtil::makePath(root, "lua-apps");
    if (!ensureDir(base)) {
        return "";
    }
    if (appName.empty()) {
        return base;
    }
    if (!fileName.empty() && !appFilenameIsValid(fileName)) {
        if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_ERROR))
            vLogMessage(VLOGSRC_LUA, VLOG_ERROR, "getLuaAppDataPath: invalid filename '%s'",
                        fileName.c_str());
        return "";
    }
    const std::string appDir = FileUtil::makePath(base, appName);
    const std::string dataDir = FileUtil::makePath(appDir, "data");
    if (!ensureDir(appDir) || !ensureDir(dataDir)) {
        return "";
    }
    return fileName.empty() ? dataDir : FileUtil::makePath(dataDir, fileName);
}

} // namespace Lua
} // namespace Kapi
