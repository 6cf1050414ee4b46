// Table records: exact bytes, number widths, the error texts, round trips of generated nested
// tables, and hostile records (truncated, mutated, absurdly nested) that must fail cleanly.
#include "kapi/lua/Serialization.h"

#include "LuaTestState.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace Kapi::Lua;

namespace {

std::string hex(const std::string& bytes)
{
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char c : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        text += kDigits[c >> 4];
        text += kDigits[c & 15];
    }
    return text;
}

std::string bytesOf(const std::shared_ptr<Kapi::Buffer>& buffer)
{
    return std::string(reinterpret_cast<const char*>(buffer->getBeginPtr()), buffer->getLength());
}

std::shared_ptr<Kapi::Buffer> bufferOf(const std::string& bytes)
{
    auto buffer = std::make_shared<Kapi::Buffer>();
    if (!bytes.empty()) {
        EXPECT_TRUE(buffer->assign(bytes.data(), static_cast<unsigned>(bytes.size())));
    }
    return buffer;
}

class SerializationTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_lua.setGlobalFunction("serialize", luaTableSerialize);
        m_lua.setGlobalFunction("deserialize", luaTableDeserialize);
        ASSERT_EQ(m_lua.defineDeepEqual(), "");
    }

    // The record of a Lua expression, as hex; or "error: <text>".
    std::string record(const std::string& expression)
    {
        EXPECT_EQ(m_lua.run("return " + expression, 1), "");
        std::string error;
        std::shared_ptr<Kapi::Buffer> buffer = serializeFromTable(m_lua, -1, error);
        EXPECT_EQ(lua_gettop(m_lua), 1);
        lua_pop(m_lua, 1);
        if (buffer == nullptr) {
            return "error: " + error;
        }
        EXPECT_TRUE(error.empty());
        return hex(bytesOf(buffer));
    }

    // Deserialises `bytes`; on success the table is left in the global "result".
    std::string read(const std::string& bytes)
    {
        std::shared_ptr<Kapi::Buffer> buffer = bufferOf(bytes);
        std::string error;
        lua_pushinteger(m_lua, 99); // a marker the reader must not disturb
        const int top = lua_gettop(m_lua);
        const int pushed = deserializeToTable(m_lua, buffer, error);
        if (pushed == 0) {
            EXPECT_EQ(lua_gettop(m_lua), top);
            EXPECT_FALSE(error.empty());
            lua_pop(m_lua, 1);
            return "error: " + error;
        }
        EXPECT_EQ(pushed, 1);
        EXPECT_EQ(lua_gettop(m_lua), top + 1);
        EXPECT_TRUE(lua_istable(m_lua, -1));
        lua_setglobal(m_lua, "result");
        EXPECT_EQ(lua_tointeger(m_lua, -1), 99);
        lua_pop(m_lua, 1);
        return "";
    }

    LuaTestState m_lua;
};

TEST_F(SerializationTest, ExactRecords)
{
    EXPECT_EQ(record("{}"), "00 00 00 01 00 00 00 00");
    EXPECT_EQ(record("{a = 1}"), "00 00 00 01 00 00 00 01 07 00 00 00 01 61 02 01");
    EXPECT_EQ(record("{[-1] = 300}"), "00 00 00 01 00 00 00 01 02 ff 03 01 2c");
    EXPECT_EQ(record("{[-129] = 70000}"), "00 00 00 01 00 00 00 01 03 ff 7f 04 00 01 11 70");
    EXPECT_EQ(record("{[2^40] = -2^31}"),
              "00 00 00 01 00 00 00 01 05 00 00 01 00 00 00 00 00 04 80 00 00 00");
    EXPECT_EQ(record("{[1.5] = 2.75}"), record("{[1] = 2}"));
    EXPECT_EQ(record("{[-2.75] = ''}"), "00 00 00 01 00 00 00 01 02 fe 07 00 00 00 00");
    EXPECT_EQ(record("{t = {}}"), "00 00 00 01 00 00 00 01 07 00 00 00 01 74 08 00 00 00 00");
    // A string beginning with a zero byte keeps only its length (a known property).
    EXPECT_EQ(record("{'\\0z'}"), "00 00 00 01 00 00 00 01 02 01 07 00 00 00 02");
}

TEST_F(SerializationTest, EmptyRecordsAndReadingAdvancesTheBuffer)
{
    std::string error;
    ASSERT_EQ(m_lua.run("return {}", 1), "");
    std::shared_ptr<Kapi::Buffer> buffer = serializeFromTable(m_lua, -1, error);
    lua_pop(m_lua, 1);
    ASSERT_NE(buffer, nullptr);
    EXPECT_TRUE(serializedTableIsEmpty(buffer));
    EXPECT_FALSE(serializedTableIsEmpty(bufferOf(std::string("\0\0\0\1\0\0\0\1", 8))));
    EXPECT_FALSE(serializedTableIsEmpty(bufferOf(std::string("\0\0\0\1\0\0\0\0\0", 9))));
    EXPECT_FALSE(serializedTableIsEmpty(nullptr));

    EXPECT_EQ(read(bytesOf(buffer)), "");
    EXPECT_EQ(m_lua.eval("next(result)"), "nil");
    EXPECT_EQ(buffer->getLength(), 8u); // the caller's buffer was a different one
    EXPECT_EQ(read(""), "");
    EXPECT_EQ(read(std::string("\0\0\0\1", 4)), ""); // no body: an empty table
    EXPECT_EQ(m_lua.eval("next(result)"), "nil");

    // Reading advances the buffer past the record.
    buffer = bufferOf(std::string("\0\0\0\1\0\0\0\1\2\1\2\7trailing", 20));

    ASSERT_EQ(deserializeToTable(m_lua, buffer, error), 1);
    EXPECT_EQ(bytesOf(buffer), "trailing");
    lua_setglobal(m_lua, "result");
    EXPECT_EQ(m_lua.eval("result[1]"), "7");
}

TEST_F(SerializationTest, NumbersComeBackAsIntegersWhereTheyFit)
{
    ASSERT_EQ(
        m_lua.run("return serialize({a = 2^40, b = 1.5, c = -2.75, d = -129, e = 'a\\0b'})", 1),
        "");
    size_t length = 0;
    const char* bytes = lua_tolstring(m_lua, -1, &length);
    ASSERT_EQ(read(std::string(bytes, length)), "");
    lua_pop(m_lua, 1);
    lua_getglobal(m_lua, "result");
    lua_getfield(m_lua, -1, "a");
    EXPECT_FALSE(lua_isinteger(m_lua, -1));
    EXPECT_EQ(lua_tonumber(m_lua, -1), 1099511627776.0);
    lua_getfield(m_lua, -2, "b");
    EXPECT_TRUE(lua_isinteger(m_lua, -1));
    EXPECT_EQ(lua_tointeger(m_lua, -1), 1);
    lua_pop(m_lua, 3);
    EXPECT_EQ(m_lua.eval("result.c"), "-2");
    EXPECT_EQ(m_lua.eval("result.d"), "-129");
    EXPECT_EQ(m_lua.eval("result.e"), "a"); // cut at the zero byte
}

TEST_F(SerializationTest, SerializationErrorsIncludingCyclesAndDeepNesting)
{
    EXPECT_EQ(record("{f = print}"), "error: Invalid type 'function' for value");
    EXPECT_EQ(record("{[true] = 1}"), "error: Invalid type 'boolean' for key");
    EXPECT_EQ(record("{[{}] = 1}"), "error: Invalid type 'table' for key");
    EXPECT_EQ(record("{x = {y = {io.stdout}}}"),
              "error: Failed to serialize table value->Failed to serialize table value->Invalid "
              "type 'userdata' for value");
    EXPECT_EQ(record("{string.rep('x', 59985)}").substr(0, 5), "00 00");
    EXPECT_EQ(record("{string.rep('x', 59986)}"), "error: Data size exceeds 60000 byte limit");
    EXPECT_EQ(record("{string.rep('x', 1000000)}"), "error: Data size exceeds 60000 byte limit");
    EXPECT_EQ(record("(function() local t = {} for i = 1, 8000 do t[i] = i * 1000 end "
                     "return {inner = t} end)()"),
              "error: Failed to serialize table value->Data size exceeds 60000 byte limit");
    EXPECT_EQ(record("5"), "error: Value is not a table");

    // Cycles and deep nesting fail with the nesting error.
    const std::string cycle = record("(function() local t = {} t.self = t return t end)()");
    const std::string prefix = "error: Failed to serialize table value->";
    ASSERT_EQ(cycle.compare(0, prefix.size(), prefix), 0) << cycle.substr(0, 200);
    EXPECT_EQ(cycle.substr(cycle.size() - 33), "Table nesting exceeds 1000 levels");

    // 1000 nested tables below the top are allowed, 1001 are not.
    const char* nest = "(function(n) local t = {} for i = 1, n do t = {t} end return t end)(%d)";
    char code[128];
    snprintf(code, sizeof code, nest, 1000);
    EXPECT_EQ(record(code).substr(0, 5), "00 00");
    snprintf(code, sizeof code, nest, 1001);
    std::string expected;
    for (int i = 0; i < 1001; ++i) {
        expected += "Failed to serialize table value->";
    }
    EXPECT_EQ(record(code), "error: " + expected + "Table nesting exceeds 1000 levels");
}

TEST_F(SerializationTest, ScriptFunctions)
{
    EXPECT_EQ(m_lua.eval("next(deserialize(''))"), "nil");
    EXPECT_EQ(m_lua.run("serialize(5)"), "Expected a single table argument");
    EXPECT_EQ(m_lua.run("serialize()"), "Expected a single table argument");
    EXPECT_EQ(m_lua.run("deserialize({})"), "Expected a single string argument");
    EXPECT_EQ(m_lua.run("deserialize(12)"), "Expected a single string argument");
    EXPECT_EQ(m_lua.run("serialize({print})"), "Invalid type 'function' for value");
    EXPECT_EQ(m_lua.run("deserialize('\\0\\0\\0\\1\\0\\0\\0\\1\\7')"),
              "Failed to deserialize string key");
    EXPECT_EQ(m_lua.eval("deepEqual(deserialize(serialize({1, {2, x = 'y'}, z = false})), "
                         "{1, {2, x = 'y'}, z = false})"),
              "true");

    LogCapture capture(VLOGSRC_LUA, VLOG_DEBUG);
    EXPECT_EQ(m_lua.run("deserialize('\\0\\0\\0\\2\\0\\0\\0\\0')"), "Unexpected data format 2");
    EXPECT_EQ(capture.summary(),
              std::vector<std::string>{"lua.error: deserializeToTable: Unexpected data format 2"});
}

TEST_F(SerializationTest, MalformedRecordsFailWithTheirErrors)
{
    const std::string head("\0\0\0\1\0\0\0\1", 8);
    EXPECT_EQ(read(std::string("\0\0\1", 3)), "error: Failed to deserialize data format");
    EXPECT_EQ(read(std::string("\0\0\0\1\0\0", 6)), "error: Failed to deserialize table size");
    EXPECT_EQ(read(std::string("\0\0\0\1\xff\xff\xff\xff", 8)),
              "error: Failed to deserialize key type");
    EXPECT_EQ(read(head + "\1\1\1"), "error: Invalid type 1 for key");
    EXPECT_EQ(read(head + "\x08"), "error: Invalid type 8 for key");
    EXPECT_EQ(read(head + "\3\1"), "error: Failed to deserialize number key");
    EXPECT_EQ(read(head + std::string("\7\0\0\0\5ab", 7)),
              "error: Failed to deserialize string key");
    EXPECT_EQ(read(head + "\2\1"), "error: Failed to deserialize value type");
    EXPECT_EQ(read(head + "\2\1\x09"), "error: Invalid type 9 for value");
    EXPECT_EQ(read(head + "\2\1\1"), "error: Failed to deserialize boolean value");
    EXPECT_EQ(read(head + std::string("\2\1\5\0\0", 5)),
              "error: Failed to deserialize number value");
    EXPECT_EQ(read(head + std::string("\2\1\7\xff\xff\xff\xff", 7)),
              "error: Failed to deserialize string value");
    EXPECT_EQ(read(head + std::string("\2\1\x08\0\0\0\1\2\1\x0a", 10)),
              "error: Failed to deserialize table value->Invalid type 10 for value");

    // Nesting beyond the limit. Each level: one entry, key int8 1, value a table; the innermost
    // table is empty.
    const int levels = 5000;
    std::string bytes("\0\0\0\1", 4);
    for (int i = 0; i < levels; ++i) {
        bytes += std::string("\0\0\0\1\2\1\x08", 7);
    }
    bytes += std::string("\0\0\0\0", 4);
    std::string expected = "error: ";
    for (int i = 0; i < 1001; ++i) {
        expected += "Failed to deserialize table value->";
    }
    EXPECT_EQ(read(bytes), expected + "Table nesting exceeds 1000 levels");
}

// Builds a random table on the Lua stack: integers of every width, strings without zero
// bytes, booleans and nested tables under integer and string keys.
class TableGenerator
{
public:
    TableGenerator(lua_State* L, unsigned seed) : m_L(L), m_random(seed) {}

    void pushTable(int depth)
    {
        lua_newtable(m_L);
        const int entries = pick(0, depth == 0 ? 12 : 6);
        for (int i = 0; i < entries; ++i) {
            if (pick(0, 1) == 0) {
                pushInteger();
            } else {
                pushString();
            }
            pushValue(depth);
            lua_settable(m_L, -3);
        }
    }

private:
    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }

    void pushInteger()
    {
        static const int64_t kLimits[] = {127, 32767, 2147483647, (int64_t{1} << 53)};
        const int64_t limit = kLimits[pick(0, 3)];
        luaKelo_pushint64(m_L, std::uniform_int_distribution<int64_t>(-limit, limit)(m_random));
    }

    void pushString()
    {
        std::string text(static_cast<size_t>(pick(0, 24)), ' ');
        for (char& c : text) {
            c = static_cast<char>(pick(1, 255));
        }
        lua_pushlstring(m_L, text.data(), text.size());
    }

    // Integers twice as often as strings, booleans or (above depth 4) tables.
    void pushValue(int depth)
    {
        const int kind = pick(0, depth < 4 ? 4 : 3);
        if (kind == 0 || kind == 3)
            pushInteger();
        else if (kind == 1)
            pushString();
        else if (kind == 2)
            lua_pushboolean(m_L, pick(0, 1));
        else
            pushTable(depth + 1);
    }

    lua_State* m_L;
    std::mt19937 m_random;
};

TEST_F(SerializationTest, GeneratedTablesSurviveTheRoundTrip)
{
    for (unsigned seed = 1; seed <= 300; ++seed) {
        TableGenerator generator(m_lua, seed);
        generator.pushTable(0);
        lua_setglobal(m_lua, "original");
        ASSERT_EQ(m_lua.run("copy = deserialize(serialize(original))"), "") << "seed " << seed;
        ASSERT_EQ(m_lua.eval("deepEqual(original, copy)"), "true") << "seed " << seed;
        // The copy serialises to a record of the same length (entry order may differ).
        ASSERT_EQ(m_lua.eval("#serialize(copy) == #serialize(original)"), "true");
    }
    EXPECT_EQ(lua_gettop(m_lua), 0);
}

TEST_F(SerializationTest, DamagedRecordsNeverCrashOrLeaveDebris)
{
    // A generated record with some substance.
    std::string good;
    for (unsigned seed = 7; good.size() < 200; ++seed) {
        TableGenerator generator(m_lua, seed);
        generator.pushTable(0);
        std::string error;
        std::shared_ptr<Kapi::Buffer> buffer = serializeFromTable(m_lua, -1, error);
        ASSERT_NE(buffer, nullptr);
        lua_pop(m_lua, 1);
        good = bytesOf(buffer);
    }

    // Every truncation either reads as a table (a cut right after the format number, or inside
    // the last nested table) or fails; read() checks the stack either way.
    for (size_t length = 0; length < good.size(); ++length) {
        read(good.substr(0, length));
    }
    std::mt19937 random(11);
    for (int round = 0; round < 3000; ++round) {
        std::string damaged = good;
        const int changes = 1 + static_cast<int>(random() % 4);
        for (int i = 0; i < changes; ++i) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        read(damaged); // checks the stack either way
    }
    EXPECT_EQ(lua_gettop(m_lua), 0);
}

} // namespace
