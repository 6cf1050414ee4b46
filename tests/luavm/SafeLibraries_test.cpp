// The restricted library set for untrusted scripts.
#include <gtest/gtest.h>

#include "luaKelo.h"

namespace {

class SafeLibraries : public ::testing::Test
{
protected:
    void SetUp() override
    {
        L = luaL_newstate();
        luaKelo_openlibs_safe(L);
    }
    void TearDown() override { lua_close(L); }

    std::string eval(const char* expression)
    {
        std::string code = std::string("return tostring(") + expression + ")";
        if (luaL_dostring(L, code.c_str()) != 0) {
            std::string e = lua_tostring(L, -1);
            lua_pop(L, 1);
            return "error: " + e;
        }
        std::string r = lua_tostring(L, -1);
        lua_pop(L, 1);
        return r;
    }

    lua_State* L = nullptr;
};

TEST_F(SafeLibraries, OsAndDebugAreRestricted)
{
    EXPECT_EQ(eval("os.execute"), "nil");
    EXPECT_EQ(eval("debug.getinfo"), "nil");
    EXPECT_EQ(eval("type(os.time)"), "function");
    EXPECT_EQ(eval("type(debug.traceback)"), "function");
    EXPECT_EQ(eval("(function() local k = {} for n in pairs(os) do k[#k + 1] = n end "
                   "table.sort(k) return table.concat(k, ',') end)()"),
              "clock,date,difftime,getenv,time");
    EXPECT_EQ(eval("(function() local k = {} for n in pairs(debug) do k[#k + 1] = n end "
                   "return table.concat(k, ',') end)()"),
              "traceback");
    for (const char* gone : {"os.exit", "os.remove", "os.rename", "os.setlocale", "os.tmpname",
                             "debug.sethook", "debug.setmetatable", "debug.getregistry"})
        EXPECT_EQ(eval(gone), "nil") << gone;
}

TEST_F(SafeLibraries, PackageLoadedHoldsTheRestrictedTables)
{
    EXPECT_EQ(eval("package.loaded.os == os and package.loaded.debug == debug"), "true");
    EXPECT_EQ(eval("require('os') == os"), "true");
    EXPECT_EQ(eval("require('debug').getinfo"), "nil");
}

TEST_F(SafeLibraries, OtherLibrariesAreComplete)
{
    EXPECT_EQ(eval("type(string.format) .. type(math.floor) .. type(table.sort) .. "
                   "type(io.write) .. type(coroutine.wrap) .. type(table.setreadonly)"),
              "functionfunctionfunctionfunctionfunctionfunction");
    EXPECT_EQ(eval("debug.traceback('m'):match('^m\\nstack traceback:') ~= nil"), "true");
    EXPECT_EQ(eval("os.date('!%Y', 0)"), "1970");
}

TEST(SafeLibraryOpeners, RestrictAnAlreadyOpenLibrary)
{
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    lua_pushcfunction(L, luaKelo_open_os_safe);
    lua_call(L, 0, 1);
    lua_getfield(L, -1, "execute");
    EXPECT_TRUE(lua_isnil(L, -1));
    lua_pop(L, 2);
    lua_pushcfunction(L, luaKelo_open_debug_safe);
    lua_call(L, 0, 0);
    ASSERT_EQ(luaL_dostring(L, "return debug.getinfo == nil and os.execute == nil"), 0);
    EXPECT_TRUE(lua_toboolean(L, -1));
    lua_close(L);
}

} // namespace
