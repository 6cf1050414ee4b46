// Conversions between Lua numbers and 64-bit or unsigned native integers, and the tolerant
// double push.
#include <cmath>
#include <limits>

#include "LuaTestState.h"

namespace {

using KeloTest::LuaStateTest;

class NumberConversion : public LuaStateTest
{
protected:
    // Pushes d with luaKelo_pushdouble; returns whether it became an integer, and its value.
    bool pushedAsInteger(double d, double& value)
    {
        luaKelo_pushdouble(L, d);
        bool integer = lua_isinteger(L, -1) != 0;
        value = lua_tonumber(L, -1);
        lua_pop(L, 1);
        return integer;
    }
};

TEST_F(NumberConversion, PushDoubleSnapsNearIntegers)
{
    double v = 0;
    EXPECT_FALSE(pushedAsInteger(1e10, v));
    EXPECT_EQ(v, 1e10);
    EXPECT_TRUE(pushedAsInteger(5.00001, v));
    EXPECT_EQ(v, 5);
    EXPECT_TRUE(pushedAsInteger(-0.00005, v));
    EXPECT_EQ(v, 0);
    EXPECT_FALSE(std::signbit(v));
    // The comparison is with the truncation toward zero, so just below an integer stays a double.
    EXPECT_TRUE(pushedAsInteger(3.00005, v));
    EXPECT_EQ(v, 3);
    EXPECT_FALSE(pushedAsInteger(2.99996, v));
    EXPECT_EQ(v, 2.99996);
    EXPECT_TRUE(pushedAsInteger(-4.00009, v));
    EXPECT_EQ(v, -4);
    EXPECT_FALSE(pushedAsInteger(0.5, v));
    // Near the 32-bit limits the 64-bit path decides.
    EXPECT_TRUE(pushedAsInteger(2147483647.00001, v));
    EXPECT_EQ(v, 2147483647);
    EXPECT_TRUE(pushedAsInteger(-2147483648.0, v));
    EXPECT_EQ(v, -2147483648.0);
    EXPECT_FALSE(pushedAsInteger(2147483648.0, v));
    EXPECT_EQ(v, 2147483648.0);
    EXPECT_FALSE(pushedAsInteger(1e300, v));
    EXPECT_FALSE(pushedAsInteger(std::numeric_limits<double>::infinity(), v));
    EXPECT_FALSE(pushedAsInteger(std::nan(""), v));
    EXPECT_TRUE(std::isnan(v));
}

TEST_F(NumberConversion, ToInt64TruncatesTowardZero)
{
    ASSERT_EQ(run("return 7, -2.7, 2.7, 2^40, -2^40 - 0.5, '12.9', 'x', nil, {}, 1e30", 10), "");
    EXPECT_EQ(luaKelo_toint64(L, 1), 7);
    EXPECT_EQ(luaKelo_toint64(L, 2), -2);
    EXPECT_EQ(luaKelo_toint64(L, 3), 2);
    EXPECT_EQ(luaKelo_toint64(L, 4), 1099511627776LL);
    EXPECT_EQ(luaKelo_toint64(L, 5), -1099511627776LL);
    EXPECT_EQ(luaKelo_toint64(L, 6), 12);
    EXPECT_EQ(luaKelo_toint64(L, 7), 0);
    EXPECT_EQ(luaKelo_toint64(L, 8), 0);
    EXPECT_EQ(luaKelo_toint64(L, 9), 0);
    EXPECT_EQ(luaKelo_toint64(L, 10), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(luaKelo_toint64(L, 20), 0); // none
    EXPECT_EQ(luaKelo_optint64(L, 8, -9), -9);
    EXPECT_EQ(luaKelo_optint64(L, 20, 44), 44);
    EXPECT_EQ(luaKelo_optint64(L, 1, 44), 7);
    lua_settop(L, 0);
}

TEST_F(NumberConversion, PushInt64AndUint32ChooseTheSubtype)
{
    luaKelo_pushint64(L, 2147483647);
    EXPECT_TRUE(lua_isinteger(L, -1));
    luaKelo_pushint64(L, -2147483648LL);
    EXPECT_TRUE(lua_isinteger(L, -1));
    luaKelo_pushint64(L, 2147483648LL);
    EXPECT_FALSE(lua_isinteger(L, -1));
    EXPECT_EQ(lua_tonumber(L, -1), 2147483648.0);
    luaKelo_pushint64(L, -(1LL << 50));
    EXPECT_EQ(lua_tonumber(L, -1), -1125899906842624.0);
    luaKelo_pushuint32(L, 5);
    EXPECT_TRUE(lua_isinteger(L, -1));
    luaKelo_pushuint32(L, 0x80000000u);
    EXPECT_FALSE(lua_isinteger(L, -1));
    EXPECT_EQ(lua_tonumber(L, -1), 2147483648.0);
    luaKelo_pushuint32(L, 0xFFFFFFFFu);
    EXPECT_EQ(lua_tonumber(L, -1), 4294967295.0);
    lua_settop(L, 0);
}

TEST_F(NumberConversion, ToUint32)
{
    ASSERT_EQ(run("return -1, 3e9, 'x', 7.9, '42', true", 6), "");
    EXPECT_EQ(luaKelo_touint32(L, 1), 0xFFFFFFFFu);
    EXPECT_EQ(luaKelo_touint32(L, 2), 3000000000u);
    EXPECT_EQ(luaKelo_touint32(L, 3), 0u);
    EXPECT_EQ(luaKelo_touint32(L, 4), 7u);
    EXPECT_EQ(luaKelo_touint32(L, 5), 42u);
    EXPECT_EQ(luaKelo_touint32(L, 6), 0u);
    lua_settop(L, 0);
}

TEST_F(NumberConversion, RoundTripThroughScripts)
{
    luaKelo_pushint64(L, 5000000000LL);
    lua_setglobal(L, "big");
    EXPECT_EQ(eval("big + 1"), "5000000001");
    EXPECT_EQ(eval("string.format('%.0f', big * 2)"), "10000000000");
}

} // namespace
