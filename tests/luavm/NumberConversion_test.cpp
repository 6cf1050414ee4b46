// Conversions between Lua numbers and 64-bit or unsigned native integers, and the tolerant
// double push.
#include <cmath>
#include <limits>

#include "LuaTestState.h"

namespace {

using NumberConversion = KeloTest::LuaStateTest;

TEST_F(NumberConversion, PushDoubleSnapsNearIntegers)
{
    const double kInf = std::numeric_limits<double>::infinity();
    const struct
    {
        double in;
        bool integer;
        double out;
    } cases[] = {{1e10, false, 1e10},
                 {5.00001, true, 5},
                 {-0.00005, true, 0},
                 // Compared with the truncation: just below an integer stays a double.
                 {3.00005, true, 3},
                 {2.99996, false, 2.99996},
                 {-4.00009, true, -4},
                 {0.5, false, 0.5},
                 // Near the 32-bit limits the 64-bit path decides.
                 {2147483647.00001, true, 2147483647},
                 {-2147483648.0, true, -2147483648.0},
                 {2147483648.0, false, 2147483648.0},
                 {1e300, false, 1e300},
                 {kInf, false, kInf}};
    for (const auto& c : cases) {
        luaKelo_pushdouble(L, c.in);
        EXPECT_EQ(lua_isinteger(L, -1) != 0, c.integer) << c.in;
        EXPECT_EQ(lua_tonumber(L, -1), c.out) << c.in;
        EXPECT_FALSE(std::signbit(lua_tonumber(L, -1)) && c.out == 0) << c.in;
        lua_pop(L, 1);
    }
    luaKelo_pushdouble(L, std::nan(""));
    EXPECT_FALSE(lua_isinteger(L, -1));
    EXPECT_TRUE(std::isnan(lua_tonumber(L, -1)));
    lua_pop(L, 1);
}

TEST_F(NumberConversion, ToInt64AndToUint32TruncateTowardZero)
{
    ASSERT_EQ(run("return 7, -2.7, 2.7, 2^40, -2^40 - 0.5, '12.9', 'x', nil, {}, 1e30", 10), "");
    const int64_t expected[] = {7,
                                -2,
                                2,
                                1099511627776LL,
                                -1099511627776LL,
                                12,
                                0,
                                0,
                                0,
                                std::numeric_limits<int64_t>::max()};
    for (int i = 1; i <= 10; ++i)
        EXPECT_EQ(luaKelo_toint64(L, i), expected[i - 1]) << i;
    EXPECT_EQ(luaKelo_toint64(L, 20), 0); // none
    EXPECT_EQ(luaKelo_optint64(L, 8, -9), -9);
    EXPECT_EQ(luaKelo_optint64(L, 20, 44), 44);
    EXPECT_EQ(luaKelo_optint64(L, 1, 44), 7);
    lua_settop(L, 0);

    ASSERT_EQ(run("return -1, 3e9, 'x', 7.9, '42', true", 6), "");
    const uint32_t unsignedExpected[] = {0xFFFFFFFFu, 3000000000u, 0, 7, 42, 0};
    for (int i = 1; i <= 6; ++i)
        EXPECT_EQ(luaKelo_touint32(L, i), unsignedExpected[i - 1]) << i;
    lua_settop(L, 0);
}

TEST_F(NumberConversion, PushInt64AndUint32ChooseTheSubtype)
{
    const struct
    {
        int64_t value;
        bool integer;
    } signedCases[] = {
        {2147483647, true}, {-2147483648LL, true}, {2147483648LL, false}, {-(1LL << 50), false}};
    for (const auto& c : signedCases) {
        luaKelo_pushint64(L, c.value);
        EXPECT_EQ(lua_isinteger(L, -1) != 0, c.integer) << c.value;
        EXPECT_EQ(lua_tonumber(L, -1), static_cast<double>(c.value));
    }
    for (uint32_t value : {5u, 0x80000000u, 0xFFFFFFFFu}) {
        luaKelo_pushuint32(L, value);
        EXPECT_EQ(lua_isinteger(L, -1) != 0, value < 0x80000000u) << value;
        EXPECT_EQ(lua_tonumber(L, -1), static_cast<double>(value));
    }
    lua_settop(L, 0);

    luaKelo_pushint64(L, 5000000000LL);
    lua_setglobal(L, "big");
    EXPECT_EQ(eval("big + 1"), "5000000001");
    EXPECT_EQ(eval("string.format('%.0f', big * 2)"), "10000000000");
}

} // namespace
