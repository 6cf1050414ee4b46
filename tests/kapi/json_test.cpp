// JsonParser and JsonToKeyValue: the event sequence, the accepted dialect and its quirks,
// failures (with their log line and description), and the JSON writer judged by Python.
#include "kapi/JsonParser.h"
#include "kapi/JsonToKeyValue.h"
#include "kapi/KeyValueMap.h"
#include "kapi/Log.h"
#include "kapi/StringUtil.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <sstream>

using Kapi::JsonParser;
using Kapi::JsonToKeyValue;
using Kapi::KeyValueMap;
using Kapi::StringVector;
using Kapi::Variant;
using Kapi::VariantVector;

namespace {

// Records every callback as one short word.
class Recorder : public JsonParser
{
public:
    explicit Recorder(const char* text) : JsonParser(text) {}
    std::string events;

protected:
    void add(const std::string& e) { events += (events.empty() ? "" : " ") + e; }
    void gotBoolean(bool value) override { add(value ? "true" : "false"); }
    void gotNull() override { add("null"); }
    void gotNumber(double value, bool isFloat) override
    {
        add(Kapi::StringUtil::toString(value) + (isFloat ? "f" : "i"));
    }
    void gotString(const char* value) override { add("'" + std::string(value) + "'"); }
    void arrayBegin() override { add("["); }
    void arrayEnd() override { add("]"); }
    void arrayNewItem(int index) override { add("#" + std::to_string(index)); }
    void objectBegin() override { add("{"); }
    void objectEnd() override { add("}"); }
    void objectNewField() override { add("field"); }
};

// Parses `text` into its top-level value; fails the test when it does not parse.
Variant parseValue(const std::string& text)
{
    JsonToKeyValue parser(text.c_str());
    EXPECT_TRUE(parser.parse()) << text << ": " << parser.getErrorText();
    return parser.getValue();
}

std::string repeat(const std::string& piece, int count)
{
    std::string result;
    while (count-- > 0)
        result += piece;
    return result;
}

} // namespace

TEST(JsonParserEvents, CallbackSequenceAndNumbersAsStrtodReadsThem)
{
    const std::pair<const char*, const char*> rows[] = {
        {"{\"a\":[1,2.5,\"s\",true,false,null,{}],\"b\":{}}",
         "{ 'a' [ 1i #0 2.5f #1 's' #2 true #3 false #4 null #5 { } #6 ] field 'b' { } field }"},
        {"[ ]", "[ ]"},
        {"[-12, 1e3, 1.5e3, 0x10, +5, .5, 5.]",
         "[ -12i #0 1000i #1 1500f #2 16i #3 5i #4 0.5f #5 5f #6 ]"},
    };
    for (const auto& [text, events] : rows) {
        Recorder recorder(text);
        ASSERT_TRUE(recorder.parse()) << text << ": " << recorder.getErrorText();
        EXPECT_EQ(recorder.events, events);
    }
}

TEST(JsonToKeyValueTypes, NumbersPickTheirType)
{
    // Integral values become Integer32 or, beyond it, Integer64; "." or a value beyond int64
    // keeps a Double; strtod rounds 9223372036854775807 to 2^63.
    const Variant numbers = parseValue("[5, 5.0, 3000000000, -2147483648, -2147483649, 1e3, 1e300, "
                                       "-9223372036854775808, 9223372036854775807, 15e-1]");
    EXPECT_EQ(numbers.toString(true), "a:i32:5,d:5,i64:3000000000,i32:-2147483648,i64:-2147483649,"
                                      "i32:1000,d:1e+300,i64:-9223372036854775808,d:9.22337e+18,"
                                      "i32:1");
    EXPECT_EQ(numbers.getArrayReference()[8], Variant(9223372036854775808.0));
}

TEST(JsonToKeyValueTypes, ContainersAndTopLevelValues)
{
    KeyValueMap map;
    ASSERT_TRUE(KeyValueMap::parseJsonString(
        "{\"s\":\"x\",\"t\":true,\"u\":false,\"z\":null,\"a\":[1,[2,{\"k\":[]}]],\"m\":{}}", map));
    KeyValueMap expected("s", "x", "t", true, "u", false, "z", Variant());
    expected.addValue("a", VariantVector{1, VariantVector{2, KeyValueMap("k", VariantVector{})}});
    expected.addValue("m", KeyValueMap());
    EXPECT_EQ(0, map.compareTo(expected)) << map.toString(true);

    // Later duplicates replace earlier ones.
    ASSERT_TRUE(KeyValueMap::parseJsonString("{\"k\":1,\"k\":\"two\"}", map));
    EXPECT_EQ(map.toString(true), "k=s:two");

    // Only an object is a map; the parser itself accepts any value.
    for (const char* text : {"[1]", "5", "\"x\"", "true", "null"}) {
        KeyValueMap out("stale", 1);
        EXPECT_FALSE(KeyValueMap::parseJsonString(text, out)) << text;
        EXPECT_TRUE(out.empty()) << text;
        JsonToKeyValue parser(text);
        EXPECT_TRUE(parser.parse()) << text;
        EXPECT_FALSE(parser.finish(out)) << text;
    }
    EXPECT_EQ(Variant(VariantVector{1}), parseValue("[1]"));
    EXPECT_TRUE(parseValue("null").isUndefined());

    std::string error;
    EXPECT_FALSE(KeyValueMap::parseJsonString("[1]", map, &error));
    EXPECT_EQ("top-level value is not an object", error);
    EXPECT_FALSE(KeyValueMap::parseJsonString("{\"a\" 1}", map, &error));
    EXPECT_EQ("unexpected character '1' at offset 5", error);
    EXPECT_TRUE(KeyValueMap::parseJsonString("{\"a\":1}", map, nullptr));
}

TEST(JsonParserStrings, EscapesTheBackslashUQuirkAndTheLengthLimit)
{
    // \u: digits 3 and 4 read in C automatic base ("41" decimal, "3C" as 3, "07" octal, "c1" as
    // 1, '"' ending "12") give a byte; all four follow as text. The first character's code plus
    // 3 must be a hex digit ('7'+3 is ':', 'd'+3 is 'g'), and three hex digits are needed; else
    // the escape is a plain 'u'. A decoded 0 ends the text.
    const std::pair<const char*, const char*> rows[] = {
        {R"("a\b\f\n\r\tz")", "a\b\f\n\r\tz"},
        {R"("\"\\\/\q\'")", "\"\\/q'"},
        {"\"\x01 raw\xc3\xa9\"", "\x01 raw\xc3\xa9"},
        {R"("\u0041")", ")0041"},
        {R"("\u003C")", "\003003C"},
        {R"("\u0010")", "\n0010"},
        {R"("\u6007")", "\0076007"},
        {R"("\uc101x")", "\001c101x"},
        {R"("\u123")", "\003123"},
        {R"("\u7041")", "u7041"},
        {R"("\ud041")", "ud041"},
        {R"("\uD041")", "uD041"},
        {R"("\u12")", "u12"},
        {R"("\uzzzz")", "uzzzz"},
        {R"("\u")", "u"},
        {R"("a\u00e9b")", "a"}};
    for (const auto& [json, expected] : rows)
        EXPECT_EQ(parseValue(json), Variant(expected)) << json;

    // Strings keep their first 10240 bytes; escapes count once each and what follows the limit
    // is still read (the closing quote).
    EXPECT_EQ(10240, JsonParser::MAX_STRING_LENGTH);
    for (const size_t length : {10240u, 10241u, 20000u})
        EXPECT_EQ(parseValue("\"" + std::string(length, 'y') + "\""),
                  Variant(std::string(10240, 'y')));
    EXPECT_EQ(parseValue("\"" + repeat("\\n", 10300) + "\", trailing"),
              Variant(std::string(10240, '\n')));
}

TEST(JsonParserDialect, CommentsEmptyContainersAndTrailingText)
{
    EXPECT_EQ(Variant(VariantVector{"a", "b"}), parseValue("[\"a\", // first\n \"b\"]"));
    EXPECT_EQ(Variant(VariantVector{"a", "b"}), parseValue("[\"a\" // cr ends it too\r,\"b\"]"));
    EXPECT_EQ(Variant(VariantVector{1, 2}),
              parseValue("/* lead */ [ /* a */ 1 /**/ , /* * / */ 2 ] /* never closed"));
    EXPECT_EQ(parseValue("// settings\n{\"a\" /*k*/ : /*v*/ 1 // end\n}"),
              Variant(KeyValueMap("a", 1)));
    for (const char* text :
         {"{}", "[]", "[ \n ]", "{} and then anything ]]]", "truex", "  \t\v\f\r\n 7 ,"})
        EXPECT_TRUE(JsonParser(text).parse()) << text;
    // An unterminated comment is an unexpected end.
    for (const char* text :
         {"[\"a\" /* unterminated", "[1, // to the end", "/* only", "/*/ 1", "// nothing\n"}) {
        JsonParser parser(text);
        EXPECT_FALSE(parser.parse()) << text;
        EXPECT_NE(std::string::npos, parser.getErrorText().find("unexpected end of text"))
            << text << ": " << parser.getErrorText();
    }
    // An object is empty only when '}' follows '{' at once, so our own empty map does not read.
    KeyValueMap map;
    EXPECT_FALSE(KeyValueMap::parseJsonString(KeyValueMap().toJsonString(), map));
}

TEST(JsonParserErrors, MalformedDocumentsFailWithADescription)
{
    const std::vector<std::vector<std::string>> bad = {
        {"", "   ", "[", "[1", "[1,", "[1,]", "[,1]", "[1 2]", "[true false]", "]", "}", ":"},
        {"{", "{\"a\"", "{\"a\":", "{\"a\":1", "{\"a\":1,}", "{\"a\" 1}", "{1:2}", "{a:1}", "{ }"},
        {"{[\"a\"]:1}", "{{\"a\":1}:2}", "{\"a\":1 \"b\":2}"},
        {"\"abc", "\"abc\\", "-", "tru", "nul", "fals", "nulx", "'single'", "\x80", "\\u0041"}};
    for (const auto& group : bad) {
        for (const std::string& text : group) {
            JsonToKeyValue parser(text.c_str());
            EXPECT_FALSE(parser.parse()) << "accepted: " << text;
            EXPECT_FALSE(parser.getErrorText().empty()) << text;
            EXPECT_LE(parser.getErrorOffset(), text.size()) << text;
        }
    }
    EXPECT_FALSE(JsonParser(nullptr).parse());

    // The description names the offset that getErrorOffset() gives.
    const std::pair<const char*, const char*> rows[] = {
        {"[1, x]", "unexpected character 'x' at offset 4"},
        {"[1,", "unexpected end of text at offset 3"},
        {"{\"a\":1,\n 2:3}", "object key is not a string at offset 9"},
        {"[1\x01]", "unexpected byte 0x01 at offset 2"},
        {"\"abc", "unexpected end of text at offset 4"},
        {"nul", "unexpected end of text at offset 3"},
        {"nulL", "unexpected character 'L' at offset 3"},
        {"{ }", "unexpected character '}' at offset 2"}};
    for (const auto& [text, error] : rows) {
        JsonParser parser(text);
        EXPECT_FALSE(parser.parse());
        EXPECT_EQ(parser.getErrorText() + "@" + std::to_string(parser.getErrorOffset()),
                  error + ("@" + std::string(error).substr(std::string(error).rfind(' ') + 1)));
    }
    JsonParser good("[1]");
    EXPECT_TRUE(good.parse());
    EXPECT_EQ("", good.getErrorText());
    EXPECT_EQ(0u, good.getErrorOffset());
}

TEST(JsonParserErrors, UnexpectedEndIsLoggedWithItsPlace)
{
    const std::pair<const char*, int> rows[] = {
        {"", 1},       {"[", 2},  {"[1", 3},      {"{\"a\"", 4},    {"{\"a\":1", 5}, {"\"ab", 6},
        {"\"ab\\", 7}, {"tr", 8}, {"{\"a\":", 1}, {"[ /* open", 2}, {"[1 2]", 0}};
    for (const auto& [text, place] : rows) {
        LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
        EXPECT_FALSE(JsonParser(text).parse()) << text;
        // Other syntax errors are silent.
        EXPECT_EQ(capture.summary(),
                  place == 0
                      ? std::vector<std::string>{}
                      : std::vector<std::string>{"misc_system.error: Unexpected end of json (" +
                                                 std::to_string(place) + ")"})
            << text;
    }
}

TEST(JsonParserErrors, EveryPrefixOfADocumentFailsAndNestingIsCapped)
{
    const std::string document =
        "{ \"a\" : [ 1, -2.5e3, \"s\\\"q\\u0041\", true, false, null, {\"x\":{}} ], "
        "/* c */ \"b\" : { \"c\" : [ [ ] ] } // tail\n }";
    KeyValueMap map;
    ASSERT_TRUE(KeyValueMap::parseJsonString(document, map));
    for (size_t length = 0; length < document.size(); ++length)
        EXPECT_FALSE(KeyValueMap::parseJsonString(document.substr(0, length), map)) << length;

    const int max = JsonParser::MAX_DEPTH;
    EXPECT_TRUE(JsonParser((std::string(max, '[') + std::string(max, ']')).c_str()).parse());
    const std::string tooDeep = std::string(max + 1, '[') + std::string(max + 1, ']');
    JsonToKeyValue parser(tooDeep.c_str());
    EXPECT_FALSE(parser.parse());
    EXPECT_EQ("nesting deeper than 512 at offset 512", parser.getErrorText());
    std::string objects;
    for (int i = 0; i < 100000; ++i)
        objects += "{\"k\":";
    EXPECT_FALSE(KeyValueMap::parseJsonString(objects, map));
    EXPECT_FALSE(JsonToKeyValue(std::string(1000000, '[').c_str()).parse());
}

// ---- The writer, judged by an independent reader -------------------------------------------

namespace {

// Random values of every kind the writer and reader agree on exactly: doubles with short
// binary fractions, integers of both widths, strings with escapes and UTF-8. Unless `plain`,
// strings also hold '<', '>', "</" and control bytes (written as \u escapes, which our own
// reader decodes with its compatibility quirk, so only an independent reader can judge them).
class Generator
{
public:
    Generator(unsigned seed, bool plain) : mRandom(seed), mPlain(plain) {}

    std::string text()
    {
        static const char* pieces[] = {"a", "Z", "7", " ", "\"", "\\", "/", "\n", "\t", "\r", "\b",
                                       "\f", "\x7f", "%", ";", "=", "{", "]", ":", ",", "\xc3\xa9",
                                       "\xe2\x82\xac",
                                       // the pieces a plain generator leaves out:
                                       "</", "<", ">", "\x01", "\x1f"};
        const size_t choices = std::size(pieces) - (mPlain ? 5 : 0);
        std::string result;
        for (size_t count = mRandom() % 8; count > 0; --count)
            result += pieces[mRandom() % choices];
        return result;
    }

    KeyValueMap map(int depth = 0)
    {
        KeyValueMap result;
        for (size_t count = mRandom() % 5 + 1; count > 0; --count)
            result.addValue(text(), value(depth + 1));
        return result;
    }

    Variant value(int depth)
    {
        const bool sign = mRandom() % 2 == 0;
        switch (mRandom() % (depth < 4 ? 9 : 6)) {
        case 0:
            return Variant();
        case 1:
            return Variant(sign);
        case 2:
            return Variant(static_cast<int>(mRandom() % 2000000) - 1000000);
        case 3:
            return Variant(static_cast<long long>(mRandom() % 1000000 + 3000000000LL) *
                           (sign ? 1 : -1));
        case 4:
            return Variant(static_cast<double>(static_cast<int>(mRandom() % 2000) - 1000) +
                           static_cast<double>(mRandom() % 7 + 1) / 8.0);
        case 5:
            return Variant(text());
        case 6: {
            VariantVector array;
            for (size_t count = mRandom() % 4; count > 0; --count)
                array.push_back(value(depth + 1));
            return Variant(std::move(array));
        }
        case 7: {
            StringVector strings;
            for (size_t count = mRandom() % 3; count > 0; --count)
                strings.push_back(text());
            return Variant(strings);
        }
        default:
            return Variant(map(depth));
        }
    }

private:
    std::mt19937 mRandom;
    bool mPlain;
};

// The canonical form Python prints with json.dumps(sort_keys=True, ensure_ascii=False,
// separators=(',', ':')), written from our own value.
std::string pythonString(const std::string& text)
{
    static const std::map<char, std::string> named = {{'"', "\\\""}, {'\\', "\\\\"}, {'\n', "\\n"},
                                                      {'\r', "\\r"}, {'\t', "\\t"},  {'\b', "\\b"},
                                                      {'\f', "\\f"}};
    std::string out = "\"";
    for (const char c : text) {
        if (named.count(c) != 0)
            out += named.at(c);
        else if (static_cast<unsigned char>(c) < 0x20)
            out += Kapi::StringUtil::newPrintf("\\u%04x", c);
        else
            out += c;
    }
    return out + "\"";
}

std::string pythonCanonical(const Variant& v)
{
    std::string out;
    switch (v.getType()) {
    case Variant::Undefined:
        return "null";
    case Variant::String:
        return pythonString(v.asString());
    case Variant::StringVector:
    case Variant::Array:
        for (const Variant& item : v.asArray())
            out += (out.empty() ? "" : ",") + pythonCanonical(item);
        return "[" + out + "]";
    case Variant::Map:
        for (const auto& [key, value] : v.getMapReference())
            out += (out.empty() ? "" : ",") + pythonString(key) + ":" + pythonCanonical(value);
        return "{" + out + "}";
    default:
        return v.valueToString();
    }
}

} // namespace

TEST(JsonWriter, PythonReadsWhatWeWrite)
{
    // Python sorts keys by code point; for UTF-8 text that is byte order, as our maps keep.
    const std::string script = "import json, sys\n"
                               "for line in sys.stdin:\n"
                               "    print(json.dumps(json.loads(line), sort_keys=True,"
                               " ensure_ascii=False, separators=(',', ':')))\n";
    Generator generator(2024, false);
    std::string input, expected;
    for (int i = 0; i < 300; ++i) {
        const KeyValueMap map = generator.map();
        const std::string json = map.toJsonString();
        ASSERT_EQ(std::string::npos, json.find('\n'));
        input += json + "\n";
        expected += pythonCanonical(Variant(map)) + "\n";
    }
    const KeloTest::ProcessResult python =
        KeloTest::runProcess("/usr/bin/python3", {"-c", script}, input, {"PYTHONIOENCODING=utf-8"});
    ASSERT_EQ(0, python.exitStatus) << python.err;
    std::istringstream got(python.out), want(expected), sent(input);
    std::string gotLine, wantLine, sentLine;
    while (std::getline(want, wantLine)) {
        ASSERT_TRUE(std::getline(got, gotLine));
        std::getline(sent, sentLine);
        EXPECT_EQ(wantLine, gotLine) << "written: " << sentLine;
    }
}

TEST(JsonWriter, OurReaderRoundTripsWhatWeWrite)
{
    // Plain maps avoid the writer/reader asymmetries: no '<', '>' or control bytes (written
    // as \u escapes), no empty maps ("{  }"), no integral doubles (written as integers).
    Generator generator(99, true);
    for (int i = 0; i < 400; ++i) {
        const std::string json = generator.map().toJsonString();
        ASSERT_EQ(std::string::npos, json.find("\\u"));
        KeyValueMap back;
        ASSERT_TRUE(KeyValueMap::parseJsonString(json, back)) << json;
        // String vectors come back as arrays of strings: compare through the JSON text.
        EXPECT_EQ(json, back.toJsonString());
    }
    // Without string vectors the maps themselves are equal.
    KeyValueMap plain("a", VariantVector{1, -2.5, "x\"y", true, Variant(), 3000000000LL}, "m",
                      KeyValueMap("k", "v/w", "n", 0.125));
    KeyValueMap back;
    ASSERT_TRUE(KeyValueMap::parseJsonString(plain.toJsonString(), back));
    EXPECT_EQ(0, plain.compareTo(back));
}
