#ifndef KELO_TESTS_LUA_LUATESTSTATE_H
#define KELO_TESTS_LUA_LUATESTSTATE_H
// Test helper: a Lua state with the standard libraries, closed at the end of the test, and a
// way to run a chunk of script text.
//
//     LuaTestState lua;
//     ASSERT_EQ(lua.run("return {1, 2}", 1), "");   // "" or the error text
//     ... the table is now on top of the stack ...
#include "kapi/lua/LuaHeaders.h"

#include <string>

class LuaTestState
{
public:
    LuaTestState() : m_L(luaL_newstate()) { luaL_openlibs(m_L); }
    ~LuaTestState() { lua_close(m_L); }
    LuaTestState(const LuaTestState&) = delete;
    LuaTestState& operator=(const LuaTestState&) = delete;

    lua_State* get() const { return m_L; }
    operator lua_State*() const { return m_L; }

    // Runs `code` leaving `results` values on the stack; "" on success, else the error text
    // (and nothing left on the stack).
    std::string run(const std::string& code, int results = 0)
    {
        if (luaL_loadbuffer(m_L, code.data(), code.size(), "test") != 0 ||
            lua_pcall(m_L, 0, results, 0) != 0) {
            std::string error = lua_isstring(m_L, -1) ? lua_tostring(m_L, -1) : "(no message)";
            lua_pop(m_L, 1);
            return error.empty() ? "(empty error)" : error;
        }
        return "";
    }

    // The value of a Lua expression as tostring() writes it ("<error: ...>" when it fails).
    std::string eval(const std::string& expression)
    {
        const std::string error = run("return tostring(" + expression + ")", 1);
        if (!error.empty()) {
            return "<error: " + error + ">";
        }
        std::string text = lua_tostring(m_L, -1);
        lua_pop(m_L, 1);
        return text;
    }

    // Defines deepEqual(a, b) in the state: tables compared entry by entry, recursively.
    std::string defineDeepEqual()
    {
        return run(R"(
            function deepEqual(a, b)
                if type(a) ~= type(b) then return false end
                if type(a) ~= 'table' then return a == b end
                for k, v in pairs(a) do
                    if not deepEqual(v, b[k]) then return false end
                end
                for k in pairs(b) do
                    if a[k] == nil then return false end
                end
                return true
            end)");
    }

    void setGlobalFunction(const char* name, lua_CFunction function)
    {
        lua_pushcfunction(m_L, function);
        lua_setglobal(m_L, name);
    }

private:
    lua_State* m_L;
};

#endif
