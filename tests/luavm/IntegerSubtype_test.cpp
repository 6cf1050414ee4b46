// The 32-bit integer subtype: overflow helpers, which results stay integers, tags seen by the
// API, table keys and the version text.
#include <climits>
#include <cmath>
#include <string>

#include "LuaTestState.h"

namespace {

TEST(IntegerHelpers, ExactResultsAndRefusals)
{
    using Helper = int (*)(int32_t*, int32_t, int32_t);
    auto unm = [](int32_t* r, int32_t a, int32_t) { return try_unmint(r, a); };
    const struct
    {
        const char* name;
        Helper helper;
        int32_t a, b;
        bool exact;
        int32_t result;
    } cases[] = {
        {"add", try_addint, INT32_MAX - 1, 1, true, INT32_MAX},
        {"add", try_addint, INT32_MAX, 1, false, 0},
        {"sub", try_subint, INT32_MIN, 1, false, 0},
        {"sub", try_subint, -5, 7, true, -12},
        {"mul", try_mulint, 46340, 46340, true, 2147395600},
        {"mul", try_mulint, 46341, 46341, false, 0},
        {"mul", try_mulint, 0, -1, false, 0}, // would be -0
        {"mul", try_mulint, 0, 5, true, 0},
        {"div", try_divint, 6, 3, true, 2},
        {"div", try_divint, 7, 2, false, 0},
        {"div", try_divint, 1, 0, false, 0},
        {"div", try_divint, 0, -3, false, 0}, // -0
        {"div", try_divint, INT32_MIN, -1, false, 0},
        {"mod", try_modint, -7, 3, true, 2},
        {"mod", try_modint, 7, -3, true, -2},
        {"mod", try_modint, INT32_MIN, -1, true, 0},
        {"mod", try_modint, 5, 0, false, 0},
        {"pow", try_powint, 2, 30, true, 1 << 30},
        {"pow", try_powint, 2, 31, false, 0},
        {"pow", try_powint, -2, 31, true, INT32_MIN},
        {"pow", try_powint, 2, -1, false, 0},
        {"pow", try_powint, 0, 0, true, 1},
        {"pow", try_powint, 65536, 3, false, 0},
        {"unm", unm, 5, 0, true, -5},
        {"unm", unm, 0, 0, false, 0},
        {"unm", unm, INT32_MIN, 0, false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.a) + " " + std::to_string(c.b));
        int32_t r = 12345;
        EXPECT_EQ(c.helper(&r, c.a, c.b) != 0, c.exact);
        if (c.exact)
            EXPECT_EQ(r, c.result);
    }
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

class IntegerSubtype : public KeloTest::LuaStateTest
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
    for (const char* e : {"1 + 2", "10 - 30", "6 * 7", "6 / 3", "-7 % 3", "2 ^ 10", "-5", "#'abc'",
                          "#{1,2}", "'12' + 1", "2147483646 + 1", "-2147483647 - 1",
                          "(function() local s = 0 for i = 1, 10 do s = s + i end return s end)()"})
        EXPECT_EQ(tagOf(e), LUA_TINT) << e;
    for (const char* e : {"7 / 2", "2147483647 + 1", "-2147483648 - 1", "0 * -1", "-(0)", "1 / 0",
                          "0 / 0", "2 ^ 31", "2 ^ -1", "(function(h) return h + h end)(1.5)",
                          "65536 * 65536", "-(-2147483648)", "0 / -4"})
        EXPECT_EQ(tagOf(e), LUA_TNUMBER) << e;
}

TEST_F(IntegerSubtype, TheApiSeesNumbersAndPushesChooseTheSubtype)
{
    ASSERT_EQ(run("return 5, 5.5", 2), "");
    EXPECT_EQ(lua_type(L, -2), LUA_TNUMBER);
    EXPECT_EQ(lua_type(L, -1), LUA_TNUMBER);
    EXPECT_TRUE(lua_isinteger(L, -2));
    EXPECT_FALSE(lua_isinteger(L, -1));
    EXPECT_STREQ(luaL_typename(L, -2), "number");
    lua_pop(L, 2);
    EXPECT_EQ(eval("type(1) .. type(1.5)"), "numbernumber");

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

TEST_F(IntegerSubtype, IntegersAndEqualDoublesAreOneKeyAndLoopsCrossTheLimit)
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
    // Loops past the 32-bit limits continue as doubles.
    EXPECT_EQ(eval("(function() local a, b, c = 0, nil, 0 "
                   "for i = 2147483645, 2147483647 do a = a + 1 end "
                   "for i = 2147483640, 2147483650, 5 do b = i end "
                   "for i = -2147483648, -2147483647 do c = c + 1 end "
                   "return a .. ' ' .. b .. ' ' .. c end)()"),
              "3 2147483650 2");
}

TEST_F(IntegerSubtype, VersionTextAndDumpedChunks)
{
    EXPECT_EQ(eval("_VERSION"), "Lua 5.1 double int32");
    const std::string release = LUA_RELEASE;
    EXPECT_EQ(release.substr(release.size() - 12), "double int32");
    EXPECT_EQ(luaKelo_verifyBuild(), 0);
    EXPECT_EQ(eval("table.concat({loadstring(string.dump(function() "
                   "return 1, 2.5, 2147483647, 2^31, -7 end))()}, ' ')"),
              "1 2.5 2147483647 2147483648 -7");
    ASSERT_EQ(run("return loadstring(string.dump(function() return 42 end))()", 1), "");
    EXPECT_TRUE(lua_isinteger(L, -1));
    lua_pop(L, 1);
}

} // namespace
