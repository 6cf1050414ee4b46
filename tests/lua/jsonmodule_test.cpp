// The "json" script module: exact encodings, decoding rules, failures, and agreement with
// Python's json module (python3 judges what we write and writes what we read).
#include "kapi/lua/Modules.h"

#include "LuaTestState.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <random>

using KeloTest::runProcess;

namespace {

const char* const kPython = "/usr/bin/python3";

class JsonModuleTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Kapi::Lua::openModules(m_lua);
        ASSERT_EQ(m_lua.defineDeepEqual(), "");
        ASSERT_EQ(m_lua.run("function count(...) return select('#', ...) end"), "");
    }

    // What json.encode returns for a Lua expression; "<nothing>" when it returns no value.
    std::string encode(const std::string& expression)
    {
        const std::string error =
            m_lua.run("local n = count(json.encode(" + expression +
                          ")) "
                          "if n == 0 then return '<nothing>' end return json.encode(" +
                          expression + ")",
                      1);
        EXPECT_EQ(error, "");
        std::string text = lua_tostring(m_lua, -1);
        lua_pop(m_lua, 1);
        return text;
    }

    LuaTestState m_lua;
};

TEST_F(JsonModuleTest, ExactEncodingsAndUnencodableValuesReturnNothingAndWarn)
{
    EXPECT_EQ(encode("{a = 1}"), "{\"a\":1}");
    EXPECT_EQ(encode("{1, 2, 3}"), "[1,2,3]");
    EXPECT_EQ(encode("{}"), "[]");
    EXPECT_EQ(encode("{[1] = 1, [5] = 5}"), "[1,5]");
    EXPECT_EQ(encode("{s = 'a\"b'}"), "{\"s\":\"a\"b\"}"); // written as it stands
    EXPECT_EQ(encode("{2.5, -7, 1e20, true, false, 'x'}"), "[2.5,-7,1e+20,true,false,\"x\"]");
    EXPECT_EQ(encode("{['10'] = 'numeric string key'}"), "[\"numeric string key\"]");
    const std::string mixed = encode("{[1] = 'a', b = {c = {}}}");
    EXPECT_TRUE(mixed == "{\"1\":\"a\",\"b\":{\"c\":[]}}" ||
                mixed == "{\"b\":{\"c\":[]},\"1\":\"a\"}")
        << mixed;
    EXPECT_EQ(encode("{f = print}"), "{\"f\":null}");
    EXPECT_EQ(encode("nil"), "null");
    EXPECT_EQ(encode("'top'"), "\"top\"");
    EXPECT_EQ(encode("{[1.5] = 'x', y = 1}").find("\"1.5\":\"x\"") != std::string::npos, true);

    // Unencodable values return nothing and warn.
    LogCapture capture(VLOGSRC_LUA, VLOG_DEBUG);
    EXPECT_EQ(encode("io.stdout"), "<nothing>");
    EXPECT_EQ(encode("{1, {io.stdout}}"), "<nothing>");
    EXPECT_EQ(encode("{k = {[true] = 1}}"), "<nothing>");
    const std::vector<std::string> expected = {
        "lua.warning: JsonWriter decode error: unhandled lua type 7.",
        "lua.warning: JsonWriter decode error: unhandled lua type 7.",
        "lua.warning: JsonWriter decode error: failed to write array value 1.",
        "lua.warning: JsonWriter decode error: failed to write array value 2.",
        "lua.warning: JsonWriter decode error: failed to write table key.",
        "lua.warning: JsonWriter decode error: failed to write table value.",
    };
    EXPECT_EQ(capture.summary(), expected);
    EXPECT_EQ(encode("(function() local t = {} t[1] = t return t end)()"), "<nothing>");
    EXPECT_EQ(lua_gettop(m_lua), 0);
}

TEST_F(JsonModuleTest, DecodingBuildsTablesAndSnapsNumbers)
{
    ASSERT_EQ(m_lua.run("t = json.decode('[10, 2.5, null, \"x\"]')"), "");
    EXPECT_EQ(m_lua.eval("t[1]"), "10");
    EXPECT_EQ(m_lua.eval("t[2]"), "2.5");
    EXPECT_EQ(m_lua.eval("t[3]"), "nil");
    EXPECT_EQ(m_lua.eval("t[4]"), "x");
    lua_getglobal(m_lua, "t");
    lua_rawgeti(m_lua, -1, 1);
    EXPECT_TRUE(lua_isinteger(m_lua, -1));
    lua_pop(m_lua, 2);

    EXPECT_EQ(m_lua.eval("next(json.decode('{\"only\": null}'))"), "nil");
    EXPECT_EQ(m_lua.eval("count(json.decode(''))"), "0");
    EXPECT_EQ(m_lua.eval("count(json.decode('[1, 2'))"), "0");
    EXPECT_EQ(m_lua.eval("count(json.decode('{\"a\": [1, {\"b\": }]}'))"), "0");
    EXPECT_EQ(m_lua.eval("json.decode('{\"a\": {\"b\": [true, false]}}').a.b[2]"), "false");
    EXPECT_EQ(m_lua.eval("json.decode('3.00005')"), "3");
    EXPECT_EQ(m_lua.eval("json.decode('\"tab\\\\there\"')"), "tab\there");
    EXPECT_NE(m_lua.run("json.decode({})").find("bad argument #1"), std::string::npos);
    EXPECT_EQ(lua_gettop(m_lua), 0);
}

// Random JSON-safe Lua values: letter-only keys, printable strings without quotes or
// backslashes, integers and short binary fractions, booleans; arrays are never empty objects.
std::string luaValue(std::mt19937& random, int depth)
{
    auto pick = [&random](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    auto letters = [&pick](int low, int high) {
        std::string text;
        for (int i = pick(low, high); i > 0; --i)
            text += static_cast<char>(pick('a', 'z'));
        return text;
    };
    const int kind = pick(0, depth < 4 ? 5 : 3);
    if (kind == 0)
        return std::to_string(pick(-2000000000, 2000000000));
    if (kind == 1)
        return std::to_string(pick(-1000, 1000)) + "." + std::to_string(pick(0, 7) * 125);
    if (kind == 2)
        return "'" + letters(0, 12) + " !'";
    if (kind == 3)
        return pick(0, 1) ? "true" : "false";
    std::string table = "{";
    for (int i = pick(kind == 4 ? 0 : 1, 5); i > 0; --i) {
        table += kind == 4 ? "" : letters(1, 6) + "=";
        table += luaValue(random, depth + 1) + ",";
    }
    return table + "}";
}

TEST_F(JsonModuleTest, PythonAcceptsWhatWeWriteAndWeReadItBackUnchanged)
{
    std::mt19937 random(17);
    std::string lines;
    for (int round = 0; round < 60; ++round) {
        const std::string value = "{" + luaValue(random, 1) + ", " + luaValue(random, 1) + "}";
        ASSERT_EQ(m_lua.run("original = " + value + "; text = json.encode(original)"), "");
        const std::string text = m_lua.eval("text");
        ASSERT_EQ(text.find('\n'), std::string::npos);
        lines += text + "\n";
        EXPECT_EQ(m_lua.eval("deepEqual(original, json.decode(text))"), "true") << text;
    }
    const auto tool = runProcess(kPython, {"-m", "json.tool", "--json-lines"}, lines);
    EXPECT_EQ(tool.exitStatus, 0) << tool.err;
}

TEST_F(JsonModuleTest, WhatPythonWritesSurvivesOurRoundTrip)
{
    // Python makes random documents (no nulls, no empty objects, letter keys, plain strings),
    // one a line; we decode and re-encode each; Python compares every pair.
    const char* generate = R"(
import json, random
random.seed(23)
def value(depth):
    kind = random.randint(0, 5 if depth < 4 else 3)
    if kind == 0: return random.randint(-10**12, 10**12)
    if kind == 1: return round(random.uniform(-1000, 1000), 3)
    if kind == 2: return ''.join(random.choice('abc XYZ019') for _ in range(random.randint(0, 9)))
    if kind == 3: return random.choice([True, False])
    if kind == 4: return [value(depth + 1) for _ in range(random.randint(0, 4))]
    return {''.join(random.choice('klmn') for _ in range(random.randint(1, 4))): value(depth + 1)
            for _ in range(random.randint(1, 4))}
for _ in range(40):
    print(json.dumps({'doc': value(0), 'list': [value(1) for _ in range(3)]}))
)";
    const char* compare = R"(
import json, sys
lines = sys.stdin.read().splitlines()
half = len(lines) // 2
bad = [i for i in range(half) if json.loads(lines[i]) != json.loads(lines[half + i])]
print(bad)
sys.exit(1 if bad or half == 0 else 0)
)";
    const auto made = runProcess(kPython, {"-c", generate});
    ASSERT_EQ(made.exitStatus, 0) << made.err;
    std::string ours;
    size_t start = 0;
    for (size_t end; (end = made.out.find('\n', start)) != std::string::npos; start = end + 1) {
        const std::string document = made.out.substr(start, end - start);
        lua_pushlstring(m_lua, document.data(), document.size());
        lua_setglobal(m_lua, "document");
        ours += m_lua.eval("json.encode(json.decode(document))") + "\n";
    }
    const auto judged = runProcess(kPython, {"-c", compare}, made.out + ours);
    EXPECT_EQ(judged.exitStatus, 0) << judged.out << judged.err;
}

} // namespace
