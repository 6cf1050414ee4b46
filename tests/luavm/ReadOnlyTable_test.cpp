// Read-only tables: the errors of every raw setter, reads, the flags byte and the table library.
#include "LuaTestState.h"

namespace {

class ReadOnlyTable : public KeloTest::LuaStateTest
{
protected:
    void SetUp() override
    {
        LuaStateTest::SetUp();
        ASSERT_EQ(run("t = table.setreadonly({a = 1, 10, 20})"), "");
    }
};

TEST_F(ReadOnlyTable, EveryWriteIsRefusedAndLeavesTheTableUnchanged)
{
    const std::string noNew = "read-only table, no new entries";
    const std::string fixed = "read-only table, unmodifiable entries";
    const std::pair<const char*, std::string> cases[] = {
        {"t.b = 2", "test:1: " + noNew},
        {"t[3] = 30", "test:1: " + noNew},
        {"t.a = 5", "test:1: " + fixed},
        {"t[1] = 5", "test:1: " + fixed},
        {"t.a = nil", "test:1: " + fixed},
        {"rawset(t, 'z', 1)", noNew},
        {"rawset(t, 'a', 2)", fixed},
        {"table.insert(t, 5)", noNew},
        {"table.remove(t)", fixed},
        {"table.sort(t, function(a, b) return a > b end)", fixed},
        // The raw set runs before the metamethod is consulted, so the flags win.
        {"setmetatable(t, {__newindex = function() end}) t.q = 1", "test:1: " + noNew},
        {"table.setreadonly(5)",
         "test:1: bad argument #1 to 'setreadonly' (table expected, got number)"},
        {"table.isreadonly()",
         "test:1: bad argument #1 to 'isreadonly' (table expected, got no value)"}};
    for (const auto& [code, error] : cases)
        EXPECT_EQ(run(code), error) << code;
    EXPECT_EQ(eval("t.a .. t[1] .. t[2] .. tostring(t.b) .. tostring(t[3]) .. rawget(t, 'a')"),
              "11020nilnil1");
    EXPECT_EQ(eval("(function() local n = 0 for k in pairs(t) do n = n + 1 end return n end)()"),
              "3");
}

TEST_F(ReadOnlyTable, FlagsThroughTheApi)
{
    lua_getglobal(L, "t");
    EXPECT_EQ(lua_getreadonly(L, -1), LUAKELO_RO_ALL);
    EXPECT_EQ(lua_getreadonly(L, -1) & LUAKELO_RO_UNMODIFIABLE, 0x03);
    EXPECT_EQ(lua_getreadonly(L, -1) & LUAKELO_RO_NONEW, 0x18);
    lua_setreadonly(L, -1, 0);
    EXPECT_EQ(lua_getreadonly(L, -1), 0);
    lua_pop(L, 1);
    EXPECT_EQ(run("t.b = 2 t.a = 3"), "");
    EXPECT_EQ(eval("tostring(table.isreadonly(t)) .. ' ' .. tostring(table.isreadonly({}))"),
              "false false");
    EXPECT_EQ(eval("table.isreadonly(table.setreadonly(t))"), "true");

    lua_newtable(L);
    EXPECT_EQ(lua_getreadonly(L, -1), 0);
    lua_pushinteger(L, 4); // not a table: no flags
    EXPECT_EQ(lua_getreadonly(L, -1), 0);
    lua_setreadonly(L, -1, 1);
    lua_pop(L, 2);
}

int checkGlobalT(lua_State* L)
{
    lua_getglobal(L, "t");
    luaL_checknotreadonly(L, -1);
    return 0;
}

int writeThroughDirectApi(lua_State* L)
{
    lua_getglobal(L, "t");
    LuaTable* t = luaKelo_top_table(L);
    luaKelo_table_set_integer(L, t, luaKelo_string_new(L, "fresh", -1), 1);
    return 0;
}

TEST_F(ReadOnlyTable, NativeCheckersAndWritersAreChecked)
{
    EXPECT_EQ(protect(writeThroughDirectApi), "read-only table, no new entries");
    EXPECT_EQ(eval("t.fresh"), "nil");
    lua_register(L, "check", checkGlobalT);
    EXPECT_EQ(run("\n check()"), "test:2: read-only table");
    EXPECT_EQ(run("t = {} check()"), "");
}

TEST_F(ReadOnlyTable, GrowingAfterClearingKeepsEntries)
{
    lua_getglobal(L, "t");
    lua_setreadonly(L, -1, 0);
    lua_pop(L, 1);
    EXPECT_EQ(run("for i = 3, 200 do t[i] = i end for i = 1, 50 do t['k' .. i] = i end "
                  "table.setreadonly(t)"),
              "");
    EXPECT_EQ(eval("#t .. ' ' .. t.k50 .. ' ' .. t[200] .. ' ' .. t.a"), "200 50 200 1");
    EXPECT_EQ(run("t.k51 = 1"), "test:1: read-only table, no new entries");
}

} // namespace
