// The 32-bit integer subtype: overflow helpers, which results stay integers, tags seen by the
// API, table keys and the version text.
#include <climits>
#include <cmath>
#include <cstring>

#include "LuaTestState.h"

namespace {

using KeloTest::LuaStateTest;

TEST(IntegerHelpers, ExactResultsAndRefusals)
{
    int32_t r = 0;
    EXPECT_TRUE(try_addint(&r, INT32_MAX - 1, 1));
    EXPECT_EQ(r, INT32_MAX);
    EXPECT_FALSE(try_addint(&r, INT32_MAX, 1));
    EXPECT_FALSE(try_subint(&r, INT32_MIN, 1));
    EXPECT_TRUE(try_subint(&r, -5, 7));
    EXPECT_EQ(r, -12);
    EXPECT_TRUE(try_mulint(&r, 46340, 46340));
    EXPECT_EQ(r, 2147395600);
    EXPECT_FALSE(try_mulint(&r, 46341, 46341));
    EXPECT_FALSE(try_mulint(&r, 0, -1)); // would be -0
    EXPECT_TRUE(try_mulint(&r, 0, 5));
    EXPECT_EQ(r, 0);
    EXPECT_TRUE(try_divint(&r, 6, 3));
    EXPECT_EQ(r, 2);
    EXPECT_FALSE(try_divint(&r, 7, 2));
    EXPECT_FALSE(try_divint(&r, 1, 0));
    EXPECT_FALSE(try_divint(&r, 0, -3)); // -0
    EXPECT_FALSE(try_divint(&r, INT32_MIN, -1));
    EXPECT_TRUE(try_modint(&r, -7, 3));
    EXPECT_EQ(r, 2);
    EXPECT_TRUE(try_modint(&r, 7, -3));
    EXPECT_EQ(r, -2);
    EXPECT_TRUE(try_modint(&r, INT32_MIN, -1));
    EXPECT_EQ(r, 0);
    EXPECT_FALSE(try_modint(&r, 5, 0));
    EXPECT_TRUE(try_powint(&r, 2, 30));
    EXPECT_EQ(r, 1 << 30);
    EXPECT_FALSE(try_powint(&r, 2, 31));
    EXPECT_TRUE(try_powint(&r, -2, 31));
    EXPECT_EQ(r, INT32_MIN);
    EXPECT_FALSE(try_powint(&r, 2, -1));
    EXPECT_TRUE(try_powint(&r, 0, 0));
    EXPECT_EQ(r, 1);
    EXPECT_FALSE(try_powint(&r, 65536, 3));
    EXPECT_TRUE(try_unmint(&r, 5));
    EXPECT_EQ(r, -5);
    EXPECT_FALSE(try_unmint(&r, 0));
    EXPECT_FALSE(try_unmint(&r, INT32_MIN));
}

TEST(IntegerHelpers, PowerMatchesTheLibraryForSmallValues)
{
    for (int32_t base = -12; base <= 12; ++base) {
        for (int32_t e = 0; e <= 40; ++e) {
            int32_t r = 0;
            double expected = std::pow(static_cast<double>(base), e);
            bool fits = expected >= INT32_MIN && expected <= INT32_MAX;
            ASSERT_EQ(try_powint(&r, base, e) != 0, fits) << base << "^" << e;
            if (fits) {
                ASSERT_EQ(r, static_cast<int32_t>(expected)) << base << "^" << e;
            }
        }
    }
}

class IntegerSubtype : public LuaStateTest
{
protected:
    // Evaluates an expression and returns its raw tag.
    int tagOf(const std::string& expression)
    {
        EXPECT_EQ(run("return " + expression, 1), "");
        int tag = luaKelo_tvalue_type(luaKelo_top_tvalue(L));
        lua_pop(L, 1);
        return tag;
    }
};

TEST_F(IntegerSubtype, ArithmeticKeepsIntegersWhereExact)
{
    const char* integers[] = {
        "1 + 2",
        "10 - 30",
        "6 * 7",
        "6 / 3",
        "-7 % 3",
        "2 ^ 10",
        "-5",
        "#'abc'",
        "#{1,2}",
        "'12' + 1",
        "2147483646 + 1",
        "-2147483647 - 1",
        "(function() local s = 0 for i = 1, 10 do s = s + i end return s end)()"};
    for (const char* e : integers)
        EXPECT_EQ(tagOf(e), LUA_TINT) << e;
    const char* doubles[] = {"7 / 2",
                             "2147483647 + 1",
                             "-2147483648 - 1",
                             "0 * -1",
                             "-(0)",
                             "1 / 0",
                             "0 / 0",
                             "2 ^ 31",
                             "2 ^ -1",
                             "(function(h) return h + h end)(1.5)",
                             "65536 * 65536",
                             "-(-2147483648)",
                             "0 / -4"};
    for (const char* e : doubles)
        EXPECT_EQ(tagOf(e), LUA_TNUMBER) << e;
}

TEST_F(IntegerSubtype, LuaTypeReportsNumbersForBoth)
{
    ASSERT_EQ(run("return 5, 5.5", 2), "");
    EXPECT_EQ(lua_type(L, -2), LUA_TNUMBER);
    EXPECT_EQ(lua_type(L, -1), LUA_TNUMBER);
    EXPECT_TRUE(lua_isinteger(L, -2));
    EXPECT_FALSE(lua_isinteger(L, -1));
    EXPECT_STREQ(luaL_typename(L, -2), "number");
    lua_pop(L, 2);
    EXPECT_EQ(eval("type(1) .. type(1.5)"), "numbernumber");
}

TEST_F(IntegerSubtype, PushFunctionsChooseTheSubtype)
{
    lua_pushnumber(L, 3.0);
    EXPECT_TRUE(lua_isinteger(L, -1));
    lua_pushnumber(L, -0.0);
    EXPECT_FALSE(lua_isinteger(L, -1));
    EXPECT_TRUE(std::signbit(lua_tonumber(L, -1)));
    lua_pushnumber(L, 2147483648.0);
    EXPECT_FALSE(lua_isinteger(L, -1));
    lua_pushinteger(L, static_cast<lua_Integer>(1) << 40);
    EXPECT_FALSE(lua_isinteger(L, -1));
    EXPECT_EQ(lua_tonumber(L, -1), 1099511627776.0);
    lua_pushinteger(L, -7);
    EXPECT_TRUE(lua_isinteger(L, -1));
    EXPECT_EQ(lua_tointeger(L, -1), -7);
    lua_settop(L, 0);
}

TEST_F(IntegerSubtype, IntegersAndEqualDoublesAreOneKey)
{
    EXPECT_EQ(eval("(function() local t = {} t[1] = 'a' t[1.0] = 'b' t[2^31] = 'c' "
                   "local n = 0 for _ in pairs(t) do n = n + 1 end "
                   "return n .. t[1] .. t[2147483648] end)()"),
              "2bc");
    EXPECT_EQ(eval("1 == 1.0 and rawequal(2, 4 / 2) and 2147483648 == 2^31"), "true");
    lua_pushinteger(L, 3);
    ASSERT_EQ(run("local h = 1.5 return h * 2, h", 2), ""); // a double 3 and a fraction
    ASSERT_FALSE(lua_isinteger(L, 2));
    EXPECT_TRUE(lua_rawequal(L, 1, 2));
    EXPECT_TRUE(lua_equal(L, 1, 2));
    EXPECT_FALSE(lua_rawequal(L, 1, 3));
    EXPECT_TRUE(lua_lessthan(L, 3, 1));
    lua_settop(L, 0);
}

TEST_F(IntegerSubtype, LoopsPastTheLimitContinueAsDoubles)
{
    EXPECT_EQ(eval("(function() local n = 0 for i = 2147483645, 2147483647 do n = n + 1 end "
                   "return n end)()"),
              "3");
    EXPECT_EQ(eval("(function() local last for i = 2147483640, 2147483650, 5 do last = i end "
                   "return last end)()"),
              "2147483650");
    EXPECT_EQ(eval("(function() local n = 0 for i = -2147483648, -2147483647 do n = n + 1 end "
                   "return n end)()"),
              "2");
}

TEST_F(IntegerSubtype, VersionTextNamesTheNumberKinds)
{
    EXPECT_EQ(eval("_VERSION"), "Lua 5.1 double int32");
    const char release[] = LUA_RELEASE;
    const char suffix[] = "double int32";
    ASSERT_GT(sizeof(release), sizeof(suffix));
    EXPECT_STREQ(release + sizeof(release) - sizeof(suffix), suffix);
    EXPECT_EQ(luaKelo_verifyBuild(), 0);
}

TEST_F(IntegerSubtype, DumpedChunksKeepTheirConstants)
{
    EXPECT_EQ(eval("table.concat({loadstring(string.dump(function() "
                   "return 1, 2.5, 2147483647, 2^31, -7 end))()}, ' ')"),
              "1 2.5 2147483647 2147483648 -7");
    ASSERT_EQ(run("return loadstring(string.dump(function() return 42 end))()", 1), "");
    EXPECT_TRUE(lua_isinteger(L, -1));
    lua_pop(L, 1);
}

} // namespace
