// Read-only tables: the errors of every raw setter, reads, the flags byte and the table library.
#include "LuaTestState.h"

namespace {

using KeloTest::LuaStateTest;

class ReadOnlyTable : public LuaStateTest
{
protected:
    void SetUp() override
    {
        LuaStateTest::SetUp();
        ASSERT_EQ(run("t = table.setreadonly({a = 1, 10, 20})"), "");
    }
};

TEST_F(ReadOnlyTable, AssignmentsRaiseAndLeaveTheTableUnchanged)
{
    EXPECT_EQ(run("t.b = 2"), "test:1: read-only table, no new entries");
    EXPECT_EQ(run("t[3] = 30"), "test:1: read-only table, no new entries");
    EXPECT_EQ(run("t.a = 5"), "test:1: read-only table, unmodifiable entries");
    EXPECT_EQ(run("t[1] = 5"), "test:1: read-only table, unmodifiable entries");
    EXPECT_EQ(run("t.a = nil"), "test:1: read-only table, unmodifiable entries");
    EXPECT_EQ(eval("t.a .. t[1] .. t[2] .. tostring(t.b) .. tostring(t[3])"), "11020nilnil");
    int n = 0;
    ASSERT_EQ(run("local n = 0 for k in pairs(t) do n = n + 1 end return n", 1), "");
    n = static_cast<int>(lua_tointeger(L, -1));
    EXPECT_EQ(n, 3);
}

TEST_F(ReadOnlyTable, RawSettersAndTheTableLibraryAreChecked)
{
    EXPECT_EQ(run("rawset(t, 'z', 1)"), "read-only table, no new entries");
    EXPECT_EQ(run("rawset(t, 'a', 2)"), "read-only table, unmodifiable entries");
    EXPECT_EQ(run("table.insert(t, 5)"), "read-only table, no new entries");
    EXPECT_EQ(run("table.remove(t)"), "read-only table, unmodifiable entries");
    EXPECT_EQ(run("table.sort(t, function(a, b) return a > b end)"),
              "read-only table, unmodifiable entries");
    EXPECT_EQ(eval("rawget(t, 'a')"), "1");
}

TEST_F(ReadOnlyTable, NewIndexMetamethodDoesNotBypassTheFlags)
{
    // The raw set runs before the metamethod is consulted, so the flags win.
    EXPECT_EQ(run("setmetatable(t, {__newindex = function() end}) t.q = 1"),
              "test:1: read-only table, no new entries");
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
    EXPECT_EQ(eval("table.isreadonly(t)"), "false");
    EXPECT_EQ(eval("table.isreadonly(table.setreadonly(t))"), "true");

    lua_pushinteger(L, 4); // not a table: no flags
    EXPECT_EQ(lua_getreadonly(L, -1), 0);
    lua_setreadonly(L, -1, 1);
    lua_pop(L, 1);
}

TEST_F(ReadOnlyTable, NewTablesAreWritable)
{
    lua_newtable(L);
    EXPECT_EQ(lua_getreadonly(L, -1), 0);
    lua_pop(L, 1);
    EXPECT_EQ(eval("table.isreadonly({})"), "false");
}

TEST_F(ReadOnlyTable, SetReadOnlyWantsATable)
{
    EXPECT_EQ(run("table.setreadonly(5)"),
              "test:1: bad argument #1 to 'setreadonly' (table expected, got number)");
    EXPECT_EQ(run("table.isreadonly()"),
              "test:1: bad argument #1 to 'isreadonly' (table expected, got no value)");
}

int checkGlobalT(lua_State* L)
{
    lua_getglobal(L, "t");
    luaL_checknotreadonly(L, -1);
    return 0;
}

TEST_F(ReadOnlyTable, CheckNotReadOnlyNamesTheCaller)
{
    lua_register(L, "check", checkGlobalT);
    EXPECT_EQ(run("\n check()"), "test:2: read-only table");
    EXPECT_EQ(run("t = {} check()"), "");
}

int writeThroughDirectApi(lua_State* L)
{
    lua_getglobal(L, "t");
    LuaTable* t = luaKelo_top_table(L);
    LuaString* key = luaKelo_string_new(L, "fresh", -1);
    luaKelo_table_set_integer(L, t, key, 1);
    return 0;
}

TEST_F(ReadOnlyTable, DirectWritersAreChecked)
{
    EXPECT_EQ(protect(writeThroughDirectApi), "read-only table, no new entries");
    EXPECT_EQ(eval("t.fresh"), "nil");
}

TEST_F(ReadOnlyTable, GrowingAfterClearingKeepsEntries)
{
    EXPECT_EQ(run("table.setreadonly(t) local u = t"), "");
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
