// Identifiers on interned strings and lookups that do not create strings.
#include "LuaTestState.h"

namespace {

using StringId = KeloTest::LuaStateTest;

TEST_F(StringId, IdentifierBelongsToTheInternedText)
{
    luaKelo_top_string_setKeloID(L, 3); // empty frame: nothing happens
    lua_pushinteger(L, 12);
    luaKelo_top_string_setKeloID(L, 3); // not a string: nothing happens
    EXPECT_TRUE(lua_isinteger(L, -1));
    lua_pushstring(L, "fontSize");
    LuaString* s = luaKelo_top_string(L);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(luaKelo_string_getKeloID(s), 0u);
    luaKelo_string_setKeloID(s, 7);
    // The same text made again, while the first is alive, is the same string.
    ASSERT_EQ(run("return 'font' .. 'Size'", 1), "");
    EXPECT_EQ(luaKelo_top_string(L), s);
    EXPECT_EQ(luaKelo_string_getKeloID(luaKelo_top_string(L)), 7u);
    EXPECT_EQ(luaKelo_string_exists(L, "fontSize", -1), s);
    EXPECT_EQ(luaKelo_string_new(L, "fontSizeX", 8), s);
    luaKelo_top_string_setKeloID(L, 0x80000001u);
    EXPECT_EQ(luaKelo_string_getKeloID(s), 0x80000001u);
    lua_settop(L, 0);
}

TEST_F(StringId, ExistsNeverCreatesAndCollectedStringsLoseTheirIdentifier)
{
    EXPECT_EQ(luaKelo_string_exists(L, "kelo-never-made-text", -1), nullptr);
    EXPECT_EQ(luaKelo_string_exists(L, "kelo-never-made-text", -1), nullptr);
    const char bytes[] = {'a', '\0', 'b'};
    EXPECT_EQ(luaKelo_string_exists(L, bytes, 3), nullptr);
    LuaString* s = luaKelo_string_new(L, bytes, 3);
    lua_pushlstring(L, bytes, 3); // anchors it
    EXPECT_EQ(luaKelo_string_exists(L, bytes, 3), s);
    size_t length = 0;
    const char* text = luaKelo_string_cptr(s, &length);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(std::string(text, length + 1), std::string(bytes, 3) + '\0');
    lua_settop(L, 0);

    const std::string transient = "kelo-transient-text";
    lua_pushstring(L, transient.c_str());
    luaKelo_top_string_setKeloID(L, 99);
    lua_pop(L, 1);
    lua_gc(L, LUA_GCCOLLECT, 0);
    EXPECT_EQ(luaKelo_string_exists(L, transient.c_str(), -1), nullptr);
    EXPECT_EQ(luaKelo_string_getKeloID(luaKelo_string_new(L, transient.c_str(), -1)), 0u);
}

TEST_F(StringId, ManyNewStringsGrowTheTable)
{
    // Interning far more strings than buckets keeps every one findable.
    for (int i = 0; i < 5000; ++i) {
        std::string s = "k" + std::to_string(i);
        luaKelo_string_new(L, s.c_str(), -1);
        lua_pushstring(L, s.c_str());
        lua_rawseti(L, LUA_REGISTRYINDEX, 1000 + i);
    }
    for (int i = 0; i < 5000; i += 499)
        EXPECT_NE(luaKelo_string_exists(L, ("k" + std::to_string(i)).c_str(), -1), nullptr) << i;
}

} // namespace
