#ifndef KELO_TESTS_LUAVM_LUATESTSTATE_H
#define KELO_TESTS_LUAVM_LUATESTSTATE_H
// A Lua state for one test: the full standard libraries, closed at the end of the test, and
// helpers that run script text and report its error message (empty when it succeeded).
#include <string>

#include <gtest/gtest.h>

#include "luaKelo.h"

namespace KeloTest {

class LuaStateTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        L = luaL_newstate();
        ASSERT_NE(L, nullptr);
        luaL_openlibs(L);
    }
    void TearDown() override
    {
        if (L != nullptr)
            lua_close(L);
    }

    // Runs code, leaving its results on the stack; returns the error message or "".
    std::string run(const std::string& code, int results = LUA_MULTRET)
    {
        if (luaL_loadbuffer(L, code.data(), code.size(), "=test") != 0 ||
            lua_pcall(L, 0, results, 0) != 0) {
            std::string message = lua_tostring(L, -1) != nullptr ? lua_tostring(L, -1) : "?";
            lua_pop(L, 1);
            return message;
        }
        return std::string();
    }

    // Evaluates one expression and returns tostring() of it.
    std::string eval(const std::string& expression)
    {
        std::string error = run("return tostring(" + expression + ")", 1);
        if (!error.empty())
            return "error: " + error;
        std::string text = lua_tostring(L, -1);
        lua_pop(L, 1);
        return text;
    }

    // Calls a C function in protected mode; returns its error message or "".
    std::string protect(lua_CFunction fn, void* data = nullptr)
    {
        int status = lua_cpcall(L, fn, data);
        if (status == 0)
            return std::string();
        std::string message = lua_tostring(L, -1) != nullptr ? lua_tostring(L, -1) : "?";
        lua_pop(L, 1);
        return message;
    }

    lua_State* L = nullptr;
};

} // namespace KeloTest

#endif
