// Direct access to raw values, tables and registry references.
#include <set>
#include <string>

#include "LuaTestState.h"

namespace {

using DirectAccess = KeloTest::LuaStateTest;

TEST_F(DirectAccess, StackAccessReturnsNullOnMismatch)
{
    EXPECT_EQ(luaKelo_top_tvalue(L), nullptr);
    EXPECT_EQ(luaKelo_top_string(L), nullptr);
    lua_pushnil(L);
    EXPECT_NE(luaKelo_top_tvalue(L), nullptr);
    EXPECT_EQ(luaKelo_stack_tvalue(L, -1), nullptr); // nil
    EXPECT_EQ(luaKelo_stack_tvalue(L, 5), nullptr);  // none
    lua_pushliteral(L, "s");
    lua_newtable(L);
    EXPECT_EQ(luaKelo_top_string(L), nullptr);
    EXPECT_NE(luaKelo_top_table(L), nullptr);
    EXPECT_EQ(luaKelo_top_userdata(L), nullptr);
    EXPECT_NE(luaKelo_stack_string(L, 2), nullptr);
    EXPECT_EQ(luaKelo_stack_userdata(L, 2), nullptr);
    EXPECT_EQ(luaKelo_tvalue_table(luaKelo_stack_tvalue(L, 2)), nullptr);
    EXPECT_EQ(luaKelo_tvalue_type(nullptr), LUA_TNONE);

    luaKelo_stack_push_tvalue(L, luaKelo_stack_tvalue(L, 2));
    EXPECT_TRUE(lua_rawequal(L, -1, 2));
    luaKelo_stack_push_tvalue(L, nullptr);
    EXPECT_TRUE(lua_isnil(L, -1));
    lua_settop(L, 0);
}

TEST_F(DirectAccess, TextAndIntegerOfValues)
{
    ASSERT_EQ(run("return 'abc', 42, 2.5, true, {}", 5), "");
    size_t length = 99;
    EXPECT_STREQ(luaKelo_tvalue_to_cptr(L, luaKelo_stack_tvalue(L, 1), &length), "abc");
    EXPECT_EQ(length, 3u);
    EXPECT_STREQ(luaKelo_tvalue_to_cptr(L, luaKelo_stack_tvalue(L, 2), &length), "42");
    EXPECT_EQ(lua_type(L, 2),
              LUA_TSTRING); // converted in place, as lua_tolstring does
    EXPECT_STREQ(luaKelo_tvalue_to_cptr(L, luaKelo_stack_tvalue(L, 3), &length), "2.5");
    EXPECT_STREQ(luaKelo_tvalue_to_cptr(L, luaKelo_stack_tvalue(L, 4), &length), "");
    EXPECT_EQ(length, 0u);
    EXPECT_STREQ(luaKelo_tvalue_to_cptr(L, luaKelo_stack_tvalue(L, 5), &length), "");
    EXPECT_STREQ(luaKelo_tvalue_to_cptr(L, nullptr, &length), "");
    EXPECT_EQ(luaKelo_tvalue_cptr(luaKelo_stack_tvalue(L, 5), &length), nullptr);
    lua_settop(L, 0);

    // The integer of values.
    ASSERT_EQ(run("return nil, 12, -3.99, 1e12, ' 17 ', 'x', true, -2^31", 8), "");
    lua_pushnil(L);
    EXPECT_EQ(luaKelo_tvalue_to_integer(luaKelo_top_tvalue(L)), 0);
    lua_pop(L, 1);
    EXPECT_EQ(luaKelo_tvalue_to_integer(nullptr), 0);
    const int64_t expected[] = {0, 12, -3, 1000000000000LL, 17, 0, 0, -2147483648LL};
    for (int i = 2; i <= 8; ++i)
        EXPECT_EQ(luaKelo_tvalue_to_integer(luaKelo_stack_tvalue(L, i)), expected[i - 1]) << i;
    lua_settop(L, 0);
}

TEST_F(DirectAccess, RawEquality)
{
    ASSERT_EQ(
        run("local t, h, z = {}, 1.5, 0 return 1, 1, h * 2, 3, z / z, 'a', 'a', t, t, {}, false",
            11),
        "");
    auto v = [this](int i) { return luaKelo_stack_tvalue(L, i); };
    EXPECT_TRUE(luaKelo_tvalue_equal(v(1), v(1)));
    EXPECT_TRUE(luaKelo_tvalue_equal(v(1), v(2)));
    EXPECT_FALSE(luaKelo_tvalue_equal(v(3), v(4))); // a double 3 and an integer 3 differ in type
    EXPECT_TRUE(luaKelo_tvalue_equal(v(5), v(5)));  // the same cell
    LuaTValue nanCopy = *v(5);
    EXPECT_FALSE(luaKelo_tvalue_equal(v(5), &nanCopy)); // doubles compare numerically
    EXPECT_TRUE(luaKelo_tvalue_equal(v(6), v(7)));
    EXPECT_TRUE(luaKelo_tvalue_equal(v(8), v(9)));
    EXPECT_FALSE(luaKelo_tvalue_equal(v(8), v(10)));
    LuaTValue nil1, nil2;
    luaKelo_tvalue_set_nil(&nil1);
    luaKelo_tvalue_set_nil(&nil2);
    EXPECT_TRUE(luaKelo_tvalue_equal(&nil1, &nil2));
    EXPECT_FALSE(luaKelo_tvalue_equal(v(11), &nil1));
    EXPECT_FALSE(luaKelo_tvalue_equal(v(1), nullptr));
    EXPECT_FALSE(luaKelo_tvalue_equal(nullptr, v(1)));
    EXPECT_TRUE(luaKelo_tvalue_equal(nullptr, nullptr));
    lua_settop(L, 0);
}

TEST_F(DirectAccess, TablesByStringAndIntegerKeys)
{
    LuaTable* t = luaKelo_table_new(L, 4);
    LuaTValue cell;
    luaKelo_tvalue_set_table(&cell, t);
    luaKelo_stack_push_tvalue(L, &cell); // anchored on the stack from here on
    lua_setglobal(L, "t");
    LuaString* name = luaKelo_string_new(L, "name", -1);
    LuaString* label = luaKelo_string_new(L, "label", -1);
    luaKelo_table_set_string(L, t, name, label);
    luaKelo_table_set_integer(L, t, luaKelo_string_new(L, "count", -1), 3);
    for (int i = 1; i <= 3; ++i) {
        LuaTValue v;
        luaKelo_tvalue_set_integer(&v, i * 10);
        luaKelo_table_set_tvalue_i(L, t, i, &v);
    }
    EXPECT_EQ(luaKelo_table_length(t), 3);
    EXPECT_EQ(eval("t.name .. t.count .. t[1] .. t[3] .. #t"), "label310303");

    LuaTValue out;
    luaKelo_table_get_tvalue(L, t, name, &out);
    EXPECT_EQ(luaKelo_tvalue_string(&out), label);
    luaKelo_table_get_tvalue_i(L, t, 2, &out);
    EXPECT_EQ(luaKelo_tvalue_to_integer(&out), 20);
    luaKelo_table_get_tvalue_i(L, t, 9, &out);
    EXPECT_EQ(luaKelo_tvalue_type(&out), LUA_TNIL);
    EXPECT_NE(luaKelo_table_tvalue(L, t, name), nullptr);
    EXPECT_EQ(luaKelo_table_tvalue(L, t, luaKelo_string_new(L, "absent", -1)), nullptr);
    EXPECT_EQ(luaKelo_table_userdata_i(L, t, 1), nullptr);

    void* block = lua_newuserdata(L, 8);
    LuaTValue ud;
    luaKelo_tvalue_set_userdata(&ud, block);
    luaKelo_table_set_tvalue_i(L, t, 4, &ud);
    lua_pop(L, 1);
    EXPECT_EQ(luaKelo_table_userdata_i(L, t, 4), block);
    EXPECT_EQ(eval("type(t[4])"), "userdata");
}

TEST_F(DirectAccess, IterationVisitsEveryPairOnce)
{
    ASSERT_EQ(run("t = {10, 20, 30, x = 'a', y = 'b', [2.5] = 'c'} return t", 1), "");
    LuaTable* t = luaKelo_top_table(L);
    LuaTValue key, value;
    luaKelo_tvalue_set_nil(&key);
    std::set<std::string> seen;
    while (luaKelo_table_iterate(L, t, &key, &value)) {
        LuaTValue k = key;
        std::string text = luaKelo_tvalue_to_cptr(L, &k, nullptr);
        LuaTValue v = value;
        seen.insert(text + "=" + luaKelo_tvalue_to_cptr(L, &v, nullptr));
    }
    EXPECT_EQ(seen, (std::set<std::string>{"1=10", "2=20", "3=30", "x=a", "y=b", "2.5=c"}));
    lua_pop(L, 1);
}

int callUpvalue(lua_State* L)
{
    lua_pushvalue(L, lua_upvalueindex(1));
    return 1;
}

TEST_F(DirectAccess, ClosuresWithOneUpvalue)
{
    lua_pushnil(L);
    LuaTValue* slot = luaKelo_top_tvalue(L);
    LuaTValue up;
    luaKelo_tvalue_set_integer(&up, 5);
    luaKelo_tvalue_set_cclosure1(L, slot, callUpvalue, &up);
    lua_setglobal(L, "f");
    EXPECT_EQ(eval("f()"), "5");
    lua_pushnil(L);
    luaKelo_tvalue_set_cclosure1(L, luaKelo_top_tvalue(L), callUpvalue, nullptr);
    lua_setglobal(L, "g");
    EXPECT_EQ(eval("select('#', debug.getupvalue(g, 1))"), "0");
}

TEST_F(DirectAccess, RegistryReferencesShareTheFreeList)
{
    lua_pushnil(L);
    EXPECT_EQ(luaKelo_register_tvalue(L, luaKelo_top_tvalue(L)), LUAKELO_REFNIL);
    EXPECT_EQ(luaKelo_register_tvalue(L, nullptr), -2);
    lua_pop(L, 1);

    lua_pushliteral(L, "first");
    int a = luaKelo_register_tvalue(L, luaKelo_top_tvalue(L));
    lua_pushliteral(L, "second");
    int b = luaKelo_register_tvalue(L, luaKelo_top_tvalue(L));
    lua_pop(L, 2);
    EXPECT_GT(a, 0);
    EXPECT_EQ(b, a + 1);
    LuaTValue out;
    luaKelo_registry_get_tvalue(L, a, &out);
    EXPECT_STREQ(luaKelo_tvalue_cptr(&out, nullptr), "first");

    // Releasing a reference makes it the next one returned.
    luaKelo_unregister_ref(L, a);
    lua_pushliteral(L, "third");
    EXPECT_EQ(luaKelo_register_tvalue(L, luaKelo_top_tvalue(L)), a);
    lua_pop(L, 1);

    // The standard reference functions use the same list in both directions.
    luaKelo_unregister_ref(L, b);
    lua_pushliteral(L, "via luaL_ref");
    EXPECT_EQ(luaL_ref(L, LUA_REGISTRYINDEX), b);
    luaL_unref(L, LUA_REGISTRYINDEX, a);
    lua_pushliteral(L, "back");
    EXPECT_EQ(luaKelo_register_tvalue(L, luaKelo_top_tvalue(L)), a);
    lua_pop(L, 1);

    luaKelo_unregister_ref(L, 0);  // ignored
    luaKelo_unregister_ref(L, -2); // ignored
    lua_rawgeti(L, LUA_REGISTRYINDEX, 0);
    EXPECT_TRUE(lua_isnumber(L, -1));
    EXPECT_EQ(lua_tointeger(L, -1), 0);
    lua_pop(L, 1);

    // With a foreign value in slot 0 a release only clears the slot.
    lua_pushliteral(L, "x");
    int ref = luaKelo_register_tvalue(L, luaKelo_top_tvalue(L));
    lua_pop(L, 1);
    lua_pushliteral(L, "not a list");
    lua_rawseti(L, LUA_REGISTRYINDEX, 0);
    luaKelo_unregister_ref(L, ref);
    lua_rawgeti(L, LUA_REGISTRYINDEX, ref);
    EXPECT_TRUE(lua_isnil(L, -1));
    lua_rawgeti(L, LUA_REGISTRYINDEX, 0);
    EXPECT_STREQ(lua_tostring(L, -1), "not a list");
    lua_pop(L, 2);
}

} // namespace
