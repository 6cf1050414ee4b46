// Conversions between Variants and Lua values: the table-shape rules, number handling, and that
// failures leave the stack alone.
#include "kapi/lua/KeyValueToLua.h"

#include "LuaTestState.h"

#include <gtest/gtest.h>

using Kapi::KeyValueMap;
using Kapi::StringVector;
using Kapi::Variant;
using Kapi::VariantVector;
using Kapi::Lua::fromLua;
using Kapi::Lua::toLua;

namespace {

class KeyValueToLua : public ::testing::Test
{
protected:
    LuaTestState lua;
};

// Converts the value of a Lua expression; the stack must come back to its height.
bool variantOf(LuaTestState& lua, const std::string& expression, Variant& out)
{
    EXPECT_EQ(lua.run("return " + expression, 1), "");
    const int top = lua_gettop(lua);
    const bool ok = fromLua(lua, out, -1);
    EXPECT_EQ(lua_gettop(lua), top);
    lua_pop(lua, 1);
    return ok;
}

TEST_F(KeyValueToLua, TableShapesFollowTheLengthRule)
{
    Variant v;

    ASSERT_TRUE(variantOf(lua, "{}", v));
    EXPECT_TRUE(v.isMap());
    EXPECT_TRUE(v.getMapReference().empty());

    ASSERT_TRUE(variantOf(lua, "{1, 2}", v));
    ASSERT_TRUE(v.isArray());
    ASSERT_EQ(v.getArrayReference().size(), 2u);
    EXPECT_TRUE(v.getArrayReference()[0].isInteger32());
    EXPECT_EQ(v.getArrayReference()[1].asInteger32(), 2);

    // The hash part of a sequence is ignored.
    ASSERT_TRUE(variantOf(lua, "{'a', x = 1}", v));
    ASSERT_TRUE(v.isArray());
    ASSERT_EQ(v.getArrayReference().size(), 1u);
    EXPECT_EQ(v.getArrayReference()[0], Variant("a"));

    // Length 0 and a key that is not a string: the map fails, the string vector succeeds.
    ASSERT_TRUE(variantOf(lua, "{[5] = true}", v));
    EXPECT_TRUE(v.isStringVector());
    EXPECT_TRUE(v.asStringVector().empty());

    // A sequence holding a function is neither an array nor a string vector.
    EXPECT_FALSE(variantOf(lua, "{print}", v));
    EXPECT_TRUE(v.isUndefined());

    // A sequence of a table and a string: an array, recursively converted.
    ASSERT_TRUE(variantOf(lua, "{{k = 'v'}, 'x'}", v));
    EXPECT_EQ(v.toString(true), "a:m:k=s:v,s:x");
}

TEST_F(KeyValueToLua, NumbersBecomeIntegersOfTheNarrowestType)
{
    Variant v;
    ASSERT_TRUE(variantOf(lua, "3000000000", v));
    EXPECT_TRUE(v.isInteger64());
    EXPECT_EQ(v.asInteger64(), 3000000000LL);
    ASSERT_TRUE(variantOf(lua, "-2147483648", v));
    EXPECT_TRUE(v.isInteger32());
    EXPECT_EQ(v.asInteger32(), INT32_MIN);
    ASSERT_TRUE(variantOf(lua, "-2.75", v));
    EXPECT_TRUE(v.isInteger32());
    EXPECT_EQ(v.asInteger32(), -2);
    ASSERT_TRUE(variantOf(lua, "true", v));
    EXPECT_EQ(v, Variant(true));
    ASSERT_TRUE(variantOf(lua, "'a\\0b'", v));
    EXPECT_EQ(v.asString(), std::string("a\0b", 3));
    ASSERT_TRUE(variantOf(lua, "nil", v));
    EXPECT_TRUE(v.isUndefined());
    EXPECT_FALSE(variantOf(lua, "print", v));
    EXPECT_FALSE(variantOf(lua, "coroutine.create(function() end)", v));
}

TEST_F(KeyValueToLua, MapKeysMustBeNonEmptyStringsAndStringVectorsTakeText)
{
    KeyValueMap map;
    ASSERT_EQ(lua.run("return {[1] = 'x'}, {[''] = 1}, {a = 1, b = {c = true}}, 7", 4), "");
    EXPECT_FALSE(fromLua(lua, map, -4));
    EXPECT_FALSE(fromLua(lua, map, -3));
    ASSERT_TRUE(fromLua(lua, map, -2));
    EXPECT_EQ(map.toString(true), "a=i32:1;b=m:c%3db:true");
    EXPECT_FALSE(fromLua(lua, map, -1)); // not a table: the map is left alone
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(lua_gettop(lua), 4);

    // String vectors take the text of strings and numbers.
    lua_settop(lua, 0);
    StringVector strings{"old", "old", "old", "old", "old"};
    ASSERT_EQ(lua.run("local t = {'a', 12, nil, 'd'}; t[3] = nil; return t, {'x', true}", 2), "");
    ASSERT_TRUE(fromLua(lua, strings, -2));
    // #t of a table with a hole may be 4 or 2 (any border); both are valid conversions.
    ASSERT_TRUE(strings.size() == 4 || strings.size() == 2);
    EXPECT_EQ(strings[0], "a");
    EXPECT_EQ(strings[1], "12");
    EXPECT_FALSE(fromLua(lua, strings, -1));
    EXPECT_EQ(strings[0], "x"); // filled so far
    // Converting a number to text for the vector must not turn the table's value into a string.
    EXPECT_EQ(lua_gettop(lua), 2);
    lua_rawgeti(lua, -2, 2);
    EXPECT_EQ(lua_type(lua, -1), LUA_TNUMBER);
}

TEST_F(KeyValueToLua, ToLuaBuildsTablesOfTheRightShapeAndSnapsNumbers)
{
    KeyValueMap inner("n", 5, "s", "text");
    VariantVector array{Variant(1),
                        Variant(2.5),
                        Variant(3000000000LL),
                        Variant("x"),
                        Variant(StringVector{"p", "q"}),
                        Variant(inner),
                        Variant(false)};
    KeyValueMap outer("list", array, "empty", Variant());

    ASSERT_TRUE(toLua(lua, outer));
    lua_setglobal(lua, "t");
    EXPECT_EQ(lua.eval("#t.list"), "7");
    EXPECT_EQ(lua.eval("t.list[1]"), "1");
    EXPECT_EQ(lua.eval("t.list[2]"), "2.5");
    EXPECT_EQ(lua.eval("t.list[3]"), "3000000000");
    EXPECT_EQ(lua.eval("t.list[5][2]"), "q");
    EXPECT_EQ(lua.eval("t.list[6].s"), "text");
    EXPECT_EQ(lua.eval("t.list[7]"), "false");
    EXPECT_EQ(lua.eval("t.empty"), "nil");
    EXPECT_EQ(lua_gettop(lua), 0);

    // And back: the same value, except that the double 2.5 becomes the integer 2 and the string
    // vector (a sequence in Lua) an array of strings.
    lua_getglobal(lua, "t");
    Variant back;
    ASSERT_TRUE(fromLua(lua, back, -1));
    array[1] = Variant(2);
    array[4] = Variant(VariantVector{Variant("p"), Variant("q")});
    EXPECT_EQ(back, Variant(KeyValueMap("list", array)));
    lua_pop(lua, 1);

    // Nearly integral doubles snap to integers.
    ASSERT_TRUE(toLua(lua, Variant(5.00001)));
    EXPECT_TRUE(lua_isinteger(lua, -1));
    ASSERT_TRUE(toLua(lua, Variant(2.5)));
    EXPECT_FALSE(lua_isinteger(lua, -1));
    ASSERT_TRUE(toLua(lua, Variant(static_cast<long long>(1) << 40)));
    EXPECT_FALSE(lua_isinteger(lua, -1));
    EXPECT_EQ(lua_tonumber(lua, -1), 1099511627776.0);
}

TEST_F(KeyValueToLua, FailuresLeaveTheStackAsItWasAndCyclesDoNotRecurseForever)
{
    // Fill the Lua stack close to its limit so that a push deep inside the value fails.
    int filled = 0;
    while (lua_checkstack(lua, 100)) {
        for (int i = 0; i < 100; ++i) {
            lua_pushinteger(lua, ++filled);
        }
    }
    VariantVector deep{Variant(1)};
    for (int i = 0; i < 100; ++i) {
        VariantVector wrapper;
        wrapper.emplace_back(std::move(deep));
        deep = std::move(wrapper);
    }
    KeyValueMap map;
    map.addValue("deep", Variant(std::move(deep)));
    EXPECT_FALSE(toLua(lua, map));
    EXPECT_EQ(lua_gettop(lua), filled);
    EXPECT_FALSE(toLua(lua, *map.findValue("deep")));
    EXPECT_EQ(lua_gettop(lua), filled);
    EXPECT_EQ(lua_tointeger(lua, -1), filled);

    // Cyclic tables fail instead of recursing forever.
    lua_settop(lua, 0);
    ASSERT_EQ(lua.run("local t = {}; t.self = t; local s = {}; s[1] = s; return t, s", 2), "");
    Variant v;
    KeyValueMap cyclicMap;
    VariantVector array;
    EXPECT_FALSE(fromLua(lua, v, -2));
    EXPECT_FALSE(fromLua(lua, cyclicMap, -2));
    EXPECT_FALSE(fromLua(lua, array, -1));
    EXPECT_EQ(lua_gettop(lua), 2);
}

} // namespace
