// The restricted library set for untrusted scripts.
#include "LuaTestState.h"

namespace {

class SafeLibraries : public KeloTest::LuaStateTest
{
protected:
    void SetUp() override
    {
        L = luaL_newstate();
        luaKelo_openlibs_safe(L);
    }
};

TEST_F(SafeLibraries, OsAndDebugAreRestrictedAndTheRestIsComplete)
{
    const char* const cases[][2] = {
        {"(function() local k = {} for n in pairs(os) do k[#k + 1] = n end "
         "table.sort(k) return table.concat(k, ',') end)()",
         "clock,date,difftime,getenv,time"},
        {"(function() local k = {} for n in pairs(debug) do k[#k + 1] = n end "
         "return table.concat(k, ',') end)()",
         "traceback"},
        {"type(os.time) .. type(debug.traceback)", "functionfunction"},
        {"package.loaded.os == os and package.loaded.debug == debug", "true"},
        {"require('os') == os and require('debug').getinfo == nil", "true"},
        {"type(string.format) .. type(math.floor) .. type(table.sort) .. "
         "type(io.write) .. type(coroutine.wrap) .. type(table.setreadonly)",
         "functionfunctionfunctionfunctionfunctionfunction"},
        {"debug.traceback('m'):match('^m\\nstack traceback:') ~= nil", "true"},
        {"os.date('!%Y', 0)", "1970"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(eval(c[0]), c[1]) << c[0];
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
    // A chunk named by its long source text is shortened in the traceback.
    ASSERT_EQ(luaL_dostring(L, "return debug.traceback('m') -- long enough to be shortened"), 0);
    const std::string traceback = lua_tostring(L, -1);
    EXPECT_NE(traceback.find("[string \"return debug.traceback('m') -- "), std::string::npos);
    EXPECT_NE(traceback.find("...\"]:1: in main chunk"), std::string::npos) << traceback;
    lua_close(L);
}

} // namespace
