// Table accessors and setters, the per-application data path rule, and the text dumps.
#include "kapi/FileUtil.h"
#include "kapi/lua/LuaDump.h"
#include "kapi/lua/LuaUtil.h"

#include "LuaTestState.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

using namespace Kapi::Lua;

namespace {

TEST(LuaUtil, AccessorsReadFieldsAndRestoreTheStack)
{
    LuaTestState lua;
    ASSERT_EQ(lua.run("return {s = 'text', n = 42, f = false, t = {}}, 'not a table'", 2), "");
    const int top = lua_gettop(lua);

    EXPECT_TRUE(tableContainsField(lua, "s", -2));
    EXPECT_TRUE(tableContainsField(lua, "n", -2, LUA_TNUMBER));
    EXPECT_FALSE(tableContainsField(lua, "n", -2, LUA_TSTRING));
    EXPECT_TRUE(tableContainsField(lua, "f", -2, LUA_TBOOLEAN));
    EXPECT_FALSE(tableContainsField(lua, "missing", -2));
    EXPECT_FALSE(tableContainsField(lua, "", -2));
    EXPECT_FALSE(tableContainsField(lua, nullptr, -2));
    EXPECT_FALSE(tableContainsField(lua, "s", -1));

    // The table is at -2; the accessors convert "the value at index after the push", so the
    // system calls them with -1 for a table on top. Put the table on top for that form.
    lua_pushvalue(lua, -2);
    EXPECT_EQ(tableGetString(lua, "s", -1), "text");
    EXPECT_EQ(tableGetString(lua, "n", -1), "42");
    EXPECT_EQ(tableGetString(lua, "t", -1), "");
    EXPECT_EQ(tableGetString(lua, "missing", -1), "");
    EXPECT_EQ(tableGetString(lua, nullptr, -1), "");
    // Reading the number as text did not turn the field into a string.
    lua_getfield(lua, -1, "n");
    EXPECT_EQ(lua_type(lua, -1), LUA_TNUMBER);
    lua_pop(lua, 1);

    EXPECT_TRUE(tableGetBoolean(lua, "n", -1));
    EXPECT_FALSE(tableGetBoolean(lua, "f", -1));
    EXPECT_FALSE(tableGetBoolean(lua, "missing", -1));
    EXPECT_TRUE(tableGetBoolean(lua, "", -1));  // the deliberate default
    EXPECT_TRUE(tableGetBoolean(lua, "s", -2)); // not a table
    lua_pop(lua, 1);
    EXPECT_EQ(lua_gettop(lua), top);
    EXPECT_EQ(indexFromTheBottom(lua, -1), 2);
    EXPECT_EQ(indexFromTheBottom(lua, -2), 1);
    EXPECT_EQ(indexFromTheBottom(lua, 2), 2);
}

TEST(LuaUtil, SettersAssignThroughMetamethodsAndSkipDefaults)
{
    LuaTestState lua;
    ASSERT_EQ(lua.run("seen = {}; return setmetatable({}, {__newindex = function(t, k, v) "
                      "seen[#seen + 1] = k; rawset(t, k, v) end})",
                      1),
              "");
    setTableField(lua, "a", std::string("x\0y", 3));
    setTableFieldString(lua, "b", "bee");
    setTableFieldInt(lua, "c", -7);
    setTableFieldReal(lua, "d", 0.25);
    setTableFieldBool(lua, "e", false);
    setTableFieldIfNN(lua, "skip1", "");
    setTableFieldIfNZ(lua, "skip2", 0);
    setTableFieldBoolIfNF(lua, "skip3", false);
    setTableFieldIfNN(lua, "f", "ef");
    setTableFieldIfNZ(lua, "g", 3);
    setTableFieldBoolIfNF(lua, "h", true);
    lua_setglobal(lua, "t");
    EXPECT_EQ(lua_gettop(lua), 0);
    EXPECT_EQ(lua.eval("table.concat(seen, ',')"), "a,b,c,d,e,f,g,h");
    EXPECT_EQ(lua.eval("#t.a"), "3");
    EXPECT_EQ(lua.eval("t.b .. t.c .. t.d .. tostring(t.e) .. t.f .. t.g .. tostring(t.h)"),
              "bee-70.25falseef3true");
}

class LuaAppDataPath : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_root = Kapi::FileUtil::makeUniqueTempFilename("luapath");
        ASSERT_TRUE(Kapi::FileUtil::makeDirectory(m_root));
    }
    void TearDown() override { Kapi::FileUtil::removeDir(m_root); }

    std::string m_root;
};

TEST_F(LuaAppDataPath, BuildsAndCreatesTheDirectoriesAndRefusesBadNames)
{
    EXPECT_EQ(getLuaAppDataPath(m_root, "", ""), m_root + "/lua-apps");
    EXPECT_TRUE(Kapi::FileUtil::isDirectory(m_root + "/lua-apps"));
    EXPECT_EQ(getLuaAppDataPath(m_root, "", "ignored"), m_root + "/lua-apps");
    EXPECT_EQ(getLuaAppDataPath(m_root, "movies", ""), m_root + "/lua-apps/movies/data");
    EXPECT_TRUE(Kapi::FileUtil::isDirectory(m_root + "/lua-apps/movies/data"));
    EXPECT_EQ(getLuaAppDataPath(m_root, "movies", "prefs"), m_root + "/lua-apps/movies/data/prefs");
    EXPECT_FALSE(Kapi::FileUtil::exists(m_root + "/lua-apps/movies/data/prefs"));

    // Bad names are refused with an error.
    LogCapture capture(VLOGSRC_LUA, VLOG_DEBUG);
    EXPECT_EQ(getLuaAppDataPath(m_root, ".hidden", "x"), "");
    EXPECT_EQ(getLuaAppDataPath(m_root, "a/b", ""), "");
    EXPECT_EQ(getLuaAppDataPath(m_root, "app", ".x"), "");
    EXPECT_EQ(getLuaAppDataPath(m_root, "app", ".."), "");
    EXPECT_EQ(getLuaAppDataPath(m_root + "/nothing", "app", ""), "");
    Kapi::FileUtil::write(m_root + "/lua-apps/blocker", "");
    EXPECT_EQ(getLuaAppDataPath(m_root, "blocker", ""), "");
    const std::vector<std::string> expected = {
        "lua.error: getLuaAppDataPath: invalid appName '.hidden'",
        "lua.error: getLuaAppDataPath: invalid appName 'a/b'",
        "lua.error: getLuaAppDataPath: invalid filename '.x'",
        "lua.error: getLuaAppDataPath: invalid filename '..'",
        "lua.error: getLuaAppDataPath: not a directory '" + m_root + "/nothing'",
        "lua.error: getLuaAppDataPath: cannot create dir '" + m_root + "/lua-apps/blocker'",
    };
    EXPECT_EQ(capture.summary(), expected);
}

TEST(LuaDump, TypeNamesAndValueTexts)
{
    EXPECT_STREQ(typeToString(-1), "none");
    EXPECT_STREQ(typeToString(LUA_TNIL), "nil");
    EXPECT_STREQ(typeToString(LUA_TLIGHTUSERDATA), "lightuserdata");
    EXPECT_STREQ(typeToString(LUA_TTHREAD), "thread");
    EXPECT_STREQ(typeToString(9), "unknown");

    LuaTestState lua;
    ASSERT_EQ(lua.run("return nil, true, 7.9, 'txt', print", 5), "");
    EXPECT_EQ(valueToString(lua, 1, 0), "");
    EXPECT_EQ(valueToString(lua, 2, 0), "true");
    EXPECT_EQ(valueToString(lua, 3, 0), "7");
    EXPECT_EQ(valueToString(lua, 4, 0), "\"txt\"");
    char expected[64];
    snprintf(expected, sizeof expected, "function %p", lua_topointer(lua, 5));
    EXPECT_EQ(valueToString(lua, 5, 0), expected);
    EXPECT_EQ(valueToString(lua, 6, 0), ""); // none
}

TEST(LuaDump, TableTextListsArrayThenSortedValuesThenTablesAndCyclesAsValues)
{
    LuaTestState lua;
    ASSERT_EQ(lua.run("return {'one', {x = 1}, zeta = false, alpha = 'a', [10] = 3, "
                      "sub = {deep = {k = 'v'}}, list = {5}}",
                      1),
              "");
    const std::string expected = "[1]=\"one\"\n"
                                 "[2]=\n"
                                 "{\n"
                                 "\tx=1\n"
                                 "}\n"
                                 "10=3\n"
                                 "alpha=\"a\"\n"
                                 "zeta=false\n"
                                 "list={\n"
                                 "\t[1]=5\n"
                                 "}\n"
                                 "sub={\n"
                                 "\tdeep={\n"
                                 "\t\tk=\"v\"\n"
                                 "\t}\n"
                                 "}";
    EXPECT_EQ(tableToString(lua, -1, 0), expected);
    EXPECT_EQ(lua_gettop(lua), 1);
    EXPECT_EQ(tableToString(lua, -1, 0), valueToString(lua, -1, 0));
    lua_pushinteger(lua, 3);
    EXPECT_EQ(tableToString(lua, -1, 0), ""); // not a table

    // A cycle is written as a plain value.
    ASSERT_EQ(lua.run("local t = {name = 'n'}; t.self = t; return t", 1), "");
    char cycle[96];
    snprintf(cycle, sizeof cycle, "name=\"n\"\nself=table %p", lua_topointer(lua, -1));
    EXPECT_EQ(tableToString(lua, -1, 0), cycle);
}

TEST(LuaDump, StackDumpsToStandardOutputAndTheLog)
{
    LuaTestState lua;
    lua_pushinteger(lua, 5);
    lua_pushstring(lua, "s");
    lua_pushboolean(lua, 0);

    testing::internal::CaptureStdout();
    printStack(lua);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Dumping LUA stack.  top=3\n1: number 5\n2: string \"s\"\n3: boolean false\n");

    LogCapture capture(VLOGSRC_APP, VLOG_DEBUG);
    dumpStackToLog(lua, VLOGSRC_APP, VLOG_INFO);
    const std::vector<std::string> expected = {"app.info: Dumping LUA stack.  top=3",
                                               "app.info: 1: number 5", "app.info: 2: string \"s\"",
                                               "app.info: 3: boolean false"};
    EXPECT_EQ(capture.summary(), expected);
    EXPECT_EQ(lua_gettop(lua), 3);
}

} // namespace
