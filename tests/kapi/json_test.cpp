// JsonParser and JsonToKeyValue: the event sequence, the accepted dialect and its quirks,
// failures (with their log line and description), and the JSON writer judged by Python.
#include "kapi/JsonParser.h"
#include "kapi/JsonToKeyValue.h"
#include "kapi/KeyValueMap.h"
#include "kapi/Log.h"
#include "support/LogCapture.h"
#include "kapi/StringUtil.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

#include <unistd.h>

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

std::string parseString(const std::string& jsonString)
{
    const Variant v = parseValue(jsonString);
    EXPECT_TRUE(v.isString()) << jsonString;
    return v.asString();
}

} // namespace

TEST(JsonParserEvents, CallbackSequence)
{
    Recorder r(" { \"a\" : [ 1, 2.5, \"s\", true, false, null, { } ], \"b\" : {} } trailing");
    // "{ }" inside is an error; use the plain document below for the full sequence.
    EXPECT_FALSE(r.parse());

    Recorder ok("{\"a\":[1,2.5,\"s\",true,false,null,{}],\"b\":{}}");
    ASSERT_TRUE(ok.parse()) << ok.getErrorText();
    EXPECT_EQ("{ 'a' [ 1i #0 2.5f #1 's' #2 true #3 false #4 null #5 { } #6 ] field 'b' { } "
              "field }",
              ok.events);

    Recorder empty("[ ]");
    ASSERT_TRUE(empty.parse());
    EXPECT_EQ("[ ]", empty.events);
}

TEST(JsonParserEvents, NumbersAsStrtodReadsThem)
{
    Recorder r("[-12, 1e3, 1.5e3, 0x10, +5, .5, 5.]");
    ASSERT_TRUE(r.parse()) << r.getErrorText();
    EXPECT_EQ("[ -12i #0 1000i #1 1500f #2 16i #3 5i #4 0.5f #5 5f #6 ]", r.events);
}

TEST(JsonToKeyValueTypes, IntegersDoublesAndBigNumbers)
{
    KeyValueMap map;
    ASSERT_TRUE(KeyValueMap::parseJsonString(
        "{ \"n\" : 5, \"f\" : 5.0, \"big\" : 3000000000, \"neg\" : -2147483648, "
        "\"neg2\" : -2147483649, \"exp\" : 1e3, \"huge\" : 1e300, \"min\" : "
        "-9223372036854775808, \"over\" : 9223372036854775807, \"frac\" : 15e-1 }",
        map));
    EXPECT_EQ(Variant(5), map.getValue("n"));
    EXPECT_EQ(Variant(5.0), map.getValue("f"));
    EXPECT_EQ(Variant(3000000000LL), map.getValue("big"));
    EXPECT_EQ(Variant(-2147483647 - 1), map.getValue("neg"));
    EXPECT_EQ(Variant(-2147483649LL), map.getValue("neg2"));
    EXPECT_EQ(Variant(1000), map.getValue("exp"));
    EXPECT_EQ(Variant(1e300), map.getValue("huge")); // beyond int64: stays Double
    EXPECT_EQ(Variant(-9223372036854775807LL - 1), map.getValue("min"));
    EXPECT_EQ(Variant(9223372036854775808.0), map.getValue("over")); // strtod rounds to 2^63
    EXPECT_EQ(Variant(1), map.getValue("frac")); // no '.', so converted to an integer
}

TEST(JsonToKeyValueTypes, ContainersAndTopLevelValues)
{
    KeyValueMap map;
    ASSERT_TRUE(KeyValueMap::parseJsonString(
        "{\"s\":\"x\",\"t\":true,\"u\":false,\"z\":null,\"a\":[1,[2,{\"k\":[]}]],\"m\":{}}", map));
    EXPECT_EQ(Variant("x"), map.getValue("s"));
    EXPECT_EQ(Variant(true), map.getValue("t"));
    EXPECT_EQ(Variant(false), map.getValue("u"));
    EXPECT_TRUE(map.hasValue("z", Variant::Undefined));
    EXPECT_EQ(Variant(VariantVector{1, VariantVector{2, KeyValueMap("k", VariantVector{})}}),
              map.getValue("a"));
    EXPECT_EQ(Variant(KeyValueMap()), map.getValue("m"));

    // Later duplicates replace earlier ones.
    ASSERT_TRUE(KeyValueMap::parseJsonString("{\"k\":1,\"k\":\"two\"}", map));
    EXPECT_EQ(1u, map.size());
    EXPECT_EQ(Variant("two"), map.getValue("k"));

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

TEST(JsonParserStrings, EscapesAndLengthLimit)
{
    EXPECT_EQ("a\b\f\n\r\tz", parseString("\"a\\b\\f\\n\\r\\tz\""));
    EXPECT_EQ("\"\\/q'", parseString("\"\\\"\\\\\\/\\q\\'\""));
    EXPECT_EQ("\x01 raw\xc3\xa9", parseString("\"\x01 raw\xc3\xa9\""));

    const std::string longText(20000, 'x');
    const std::string kept = parseString("\"" + longText + "\"");
    EXPECT_EQ(std::string(10240, 'x'), kept);
    EXPECT_EQ(std::string(10240, 'y'), parseString("\"" + std::string(10240, 'y') + "\""));
    EXPECT_EQ(std::string(10240, 'y'), parseString("\"" + std::string(10241, 'y') + "\""));
    // Escapes count once each; what follows the limit is still read (the closing quote).
    EXPECT_EQ(std::string(10240, '\n'), parseString("\"" + [] {
                  std::string s;
                  for (int i = 0; i < 10300; ++i)
                      s += "\\n";
                  return s;
              }() + "\", trailing"));
    EXPECT_EQ(10240, JsonParser::MAX_STRING_LENGTH);
}

TEST(JsonParserStrings, BackslashUQuirk)
{
    // Digits 3 and 4 read in C automatic base give the byte; all four then follow as text.
    EXPECT_EQ(std::string("\x29") + "0041", parseString("\"\\u0041\"")); // "41" decimal
    EXPECT_EQ(std::string("\x03") + "003C", parseString("\"\\u003C\"")); // "3C" reads 3
    EXPECT_EQ(std::string("\x0a") + "0010", parseString("\"\\u0010\""));
    EXPECT_EQ(std::string("\x07") + "6007", parseString("\"\\u6007\""));   // "07" octal
    EXPECT_EQ(std::string("\x01") + "c101x", parseString("\"\\uc101x\"")); // c+3 = f
    EXPECT_EQ(std::string("\x03") + "123", parseString("\"\\u123\""));     // 4th is the quote
    // The first character's code plus 3 must be a hex digit: '7'+3 is ':', 'd'+3 is 'g'.
    EXPECT_EQ("u7041", parseString("\"\\u7041\""));
    EXPECT_EQ("ud041", parseString("\"\\ud041\""));
    EXPECT_EQ("uD041", parseString("\"\\uD041\""));
    // Fewer than three hex digits: the escape is a plain 'u'.
    EXPECT_EQ("u12", parseString("\"\\u12\""));
    EXPECT_EQ("uzzzz", parseString("\"\\uzzzz\""));
    EXPECT_EQ("u", parseString("\"\\u\""));
    // A decoded zero byte ends the delivered text.
    EXPECT_EQ("a", parseString("\"a\\u00e9b\""));
}

TEST(JsonParserComments, LineAndBlockComments)
{
    EXPECT_EQ(Variant(VariantVector{"a", "b"}), parseValue("[\"a\", // first\n \"b\"]"));
    EXPECT_EQ(Variant(VariantVector{"a", "b"}), parseValue("[\"a\" // cr ends it too\r,\"b\"]"));
    EXPECT_EQ(Variant(VariantVector{1, 2}),
              parseValue("/* lead */ [ /* a */ 1 /**/ , /* * / */ 2 ] /* never closed"));
    KeyValueMap map;
    EXPECT_TRUE(KeyValueMap::parseJsonString("// settings\n{\"a\" /*k*/ : /*v*/ 1 // end\n}", map));
    EXPECT_EQ(1, map.getValueAsInteger32("a"));

    for (const char* text :
         {"[\"a\" /* unterminated", "[1, // to the end", "/* only", "/*/ 1", "// nothing\n"}) {
        JsonParser parser(text);
        EXPECT_FALSE(parser.parse()) << text;
        EXPECT_NE(std::string::npos, parser.getErrorText().find("unexpected end of text"))
            << text << ": " << parser.getErrorText();
    }
}

TEST(JsonParserDialect, EmptyContainersAndTrailingText)
{
    EXPECT_TRUE(JsonParser("{}").parse());
    EXPECT_TRUE(JsonParser("[]").parse());
    EXPECT_TRUE(JsonParser("[ \n ]").parse());
    EXPECT_TRUE(JsonParser("{} and then anything ]]]").parse());
    EXPECT_TRUE(JsonParser("truex").parse());
    EXPECT_TRUE(JsonParser("  \t\v\f\r\n 7 ,").parse());
    // An object is empty only when '}' follows '{' at once.
    JsonParser spaced("{ }");
    EXPECT_FALSE(spaced.parse());
    EXPECT_EQ("unexpected character '}' at offset 2", spaced.getErrorText());
    KeyValueMap map;
    EXPECT_FALSE(KeyValueMap::parseJsonString(KeyValueMap().toJsonString(), map));
}

TEST(JsonParserErrors, MalformedDocumentsFailWithADescription)
{
    const char* bad[] = {"",
                         "   ",
                         "[",
                         "[1",
                         "[1,",
                         "[1,]",
                         "[,1]",
                         "[1 2]",
                         "{",
                         "{\"a\"",
                         "{\"a\":",
                         "{\"a\":1",
                         "{\"a\":1,}",
                         "{\"a\" 1}",
                         "{1:2}",
                         "{a:1}",
                         "{[\"a\"]:1}",
                         "{{\"a\":1}:2}",
                         "\"abc",
                         "\"abc\\",
                         "-",
                         "tru",
                         "nul",
                         "fals",
                         "nulx",
                         "]",
                         "}",
                         ":",
                         "'single'",
                         "[true false]",
                         "{\"a\":1 \"b\":2}",
                         "\x80",
                         "\\u0041"};
    for (const char* text : bad) {
        JsonToKeyValue parser(text);
        EXPECT_FALSE(parser.parse()) << "accepted: " << text;
        EXPECT_FALSE(parser.getErrorText().empty()) << text;
        EXPECT_LE(parser.getErrorOffset(), std::string(text).size()) << text;
    }
    EXPECT_FALSE(JsonParser(nullptr).parse());
}

TEST(JsonParserErrors, DescriptionsNameThePlace)
{
    const struct
    {
        const char* text;
        const char* error;
        size_t offset;
    } rows[] = {
        {"[1, x]", "unexpected character 'x' at offset 4", 4},
        {"[1,", "unexpected end of text at offset 3", 3},
        {"{\"a\":1,\n 2:3}", "object key is not a string at offset 9", 9},
        {"[1\x01]", "unexpected byte 0x01 at offset 2", 2},
        {"\"abc", "unexpected end of text at offset 4", 4},
        {"nul", "unexpected end of text at offset 3", 3},
        {"nulL", "unexpected character 'L' at offset 3", 3},
    };
    for (const auto& row : rows) {
        JsonParser parser(row.text);
        EXPECT_FALSE(parser.parse());
        EXPECT_EQ(row.error, parser.getErrorText()) << row.text;
        EXPECT_EQ(row.offset, parser.getErrorOffset()) << row.text;
    }
    JsonParser good("[1]");
    EXPECT_TRUE(good.parse());
    EXPECT_EQ("", good.getErrorText());
    EXPECT_EQ(0u, good.getErrorOffset());
}

TEST(JsonParserErrors, UnexpectedEndIsLoggedWithItsPlace)
{
    const struct
    {
        const char* text;
        int place;
    } rows[] = {{"", 1},     {"[", 2},      {"[1", 3}, {"{\"a\"", 4},  {"{\"a\":1", 5},
                {"\"ab", 6}, {"\"ab\\", 7}, {"tr", 8}, {"{\"a\":", 1}, {"[ /* open", 2}};
    for (const auto& row : rows) {
        LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
        EXPECT_FALSE(JsonParser(row.text).parse()) << row.text;
        const std::vector<LogCapture::Line> lines = capture.lines();
        ASSERT_EQ(1u, lines.size()) << row.text;
        EXPECT_EQ(Kapi::Log::PRIO_ERROR, lines[0].priority);
        EXPECT_EQ("Unexpected end of json (" + std::to_string(row.place) + ")", lines[0].text)
            << row.text;
    }
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
    EXPECT_FALSE(JsonParser("[1 2]").parse());
    EXPECT_TRUE(capture.lines().empty()); // other syntax errors are silent
}

TEST(JsonParserErrors, EveryPrefixOfADocumentFails)
{
    const std::string document =
        "{ \"a\" : [ 1, -2.5e3, \"s\\\"q\\u0041\", true, false, null, {\"x\":{}} ], "
        "/* c */ \"b\" : { \"c\" : [ [ ] ] } // tail\n }";
    KeyValueMap full;
    ASSERT_TRUE(KeyValueMap::parseJsonString(document, full));
    for (size_t length = 0; length < document.size(); ++length) {
        KeyValueMap map;
        EXPECT_FALSE(KeyValueMap::parseJsonString(document.substr(0, length), map)) << length;
    }
}

TEST(JsonParserLimits, NestingDepthIsCapped)
{
    const int max = JsonParser::MAX_DEPTH;
    const std::string deepest = std::string(max, '[') + std::string(max, ']');
    EXPECT_TRUE(JsonParser(deepest.c_str()).parse());
    const std::string tooDeep = std::string(max + 1, '[') + std::string(max + 1, ']');
    JsonToKeyValue parser(tooDeep.c_str());
    EXPECT_FALSE(parser.parse());
    EXPECT_EQ("nesting deeper than 512 at offset 512", parser.getErrorText());

    std::string objects;
    for (int i = 0; i < 100000; ++i)
        objects += "{\"k\":";
    KeyValueMap map;
    EXPECT_FALSE(KeyValueMap::parseJsonString(objects, map));
    const std::string arrays(1000000, '[');
    EXPECT_FALSE(JsonToKeyValue(arrays.c_str()).parse());
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
                                       "\f", "\x7f", "\xc3\xa9", "\xe2\x82\xac", "%", ";", "=", "{",
                                       "]", ":", ",",
                                       // the pieces a plain generator leaves out:
                                       "</", "<", ">", "\x01", "\x1f"};
        const size_t choices = std::size(pieces) - (mPlain ? 5 : 0);
        std::string result;
        const size_t count = mRandom() % 8;
        for (size_t i = 0; i < count; ++i)
            result += pieces[mRandom() % choices];
        return result;
    }

    KeyValueMap map(int depth = 0)
    {
        KeyValueMap result;
        const size_t count = mRandom() % 5 + 1;
        for (size_t i = 0; i < count; ++i)
            result.addValue(text(), value(depth + 1));
        return result;
    }

    Variant value(int depth)
    {
        switch (mRandom() % (depth < 4 ? 9 : 6)) {
        case 0:
            return Variant();
        case 1:
            return Variant(mRandom() % 2 == 0);
        case 2:
            return Variant(static_cast<int>(mRandom() % 2000000) - 1000000);
        case 3:
            return Variant(static_cast<long long>(mRandom() % 1000000 + 3000000000LL) *
                           (mRandom() % 2 == 0 ? 1 : -1));
        case 4:
            return Variant(static_cast<double>(static_cast<int>(mRandom() % 2000) - 1000) +
                           static_cast<double>(mRandom() % 7 + 1) / 8.0);
        case 5:
            return Variant(text());
        case 6: {
            VariantVector array;
            const size_t count = mRandom() % 4;
            for (size_t i = 0; i < count; ++i)
                array.push_back(value(depth + 1));
            return Variant(std::move(array));
        }
        case 7: {
            StringVector strings;
            const size_t count = mRandom() % 3;
            for (size_t i = 0; i < count; ++i)
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
    std::string out = "\"";
    for (const char ch : text) {
        const unsigned char c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        default:
            if (c < 0x20)
                out += Kapi::StringUtil::newPrintf("\\u%04x", c);
            else
                out += ch;
        }
    }
    return out + "\"";
}

std::string pythonCanonical(const Variant& v)
{
    switch (v.getType()) {
    case Variant::Undefined:
        return "null";
    case Variant::String:
        return pythonString(v.asString());
    case Variant::StringVector: {
        std::string out = "[";
        const StringVector strings = v.asStringVector();
        for (size_t i = 0; i < strings.size(); ++i)
            out += (i ? "," : "") + pythonString(strings[i]);
        return out + "]";
    }
    case Variant::Array: {
        std::string out = "[";
        const VariantVector& items = v.getArrayReference();
        for (size_t i = 0; i < items.size(); ++i)
            out += (i ? "," : "") + pythonCanonical(items[i]);
        return out + "]";
    }
    case Variant::Map: {
        std::string out = "{";
        bool first = true;
        for (const auto& entry : v.getMapReference()) {
            out += (first ? "" : ",") + pythonString(entry.first) + ":" +
                   pythonCanonical(entry.second);
            first = false;
        }
        return out + "}";
    }
    default:
        return v.valueToString();
    }
}

// A file name of this process alone (test programs of several builds may run at once).
std::string tempPath(const std::string& suffix)
{
    return testing::TempDir() + "kapi_json_test_" + std::to_string(getpid()) + "." + suffix;
}

// Runs /usr/bin/python3 with `script` on `input`; returns the exit status and its output.
int runPython(const std::string& script, const std::string& input, std::string& output)
{
    const std::string scriptPath = tempPath("py");
    const std::string inputPath = tempPath("json");
    std::ofstream(scriptPath, std::ios::binary) << script;
    std::ofstream(inputPath, std::ios::binary) << input;
    const std::string command =
        "PYTHONIOENCODING=utf-8 /usr/bin/python3 " + scriptPath + " " + inputPath + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return -1;
    output.clear();
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        output.append(buffer, n);
    const int status = pclose(pipe);
    std::remove(scriptPath.c_str());
    std::remove(inputPath.c_str());
    return status;
}

} // namespace

TEST(JsonWriter, PythonReadsWhatWeWrite)
{
    // Python sorts keys by code point; for UTF-8 text that is byte order, as our maps keep.
    const std::string script = "import json, sys\n"
                               "for line in open(sys.argv[1], encoding='utf-8'):\n"
                               "    value = json.loads(line)\n"
                               "    print(json.dumps(value, sort_keys=True, ensure_ascii=False,"
                               " separators=(',', ':')))\n";
    Generator generator(2024, false);
    std::string input;
    std::string expected;
    for (int i = 0; i < 300; ++i) {
        const KeyValueMap map = generator.map();
        const std::string json = map.toJsonString();
        ASSERT_EQ(std::string::npos, json.find('\n'));
        input += json + "\n";
        expected += pythonCanonical(Variant(map)) + "\n";
    }
    std::string output;
    ASSERT_EQ(0, runPython(script, input, output)) << output;
    std::istringstream got(output);
    std::istringstream want(expected);
    std::istringstream sent(input);
    std::string gotLine, wantLine, sentLine;
    while (std::getline(want, wantLine)) {
        ASSERT_TRUE(std::getline(got, gotLine));
        std::getline(sent, sentLine);
        EXPECT_EQ(wantLine, gotLine) << "written: " << sentLine;
    }
}

TEST(JsonWriter, JsonToolAcceptsADocument)
{
    Generator generator(7, false);
    KeyValueMap map;
    for (int i = 0; i < 50; ++i)
        map.addValue("key" + std::to_string(i), generator.value(0));
    map.addValue("html", "<script>alert(1)</script>");
    const std::string path = tempPath("tool.json");
    std::ofstream(path, std::ios::binary) << map.toJsonString();
    const std::string command = "/usr/bin/python3 -m json.tool " + path + " > /dev/null";
    EXPECT_EQ(0, std::system(command.c_str()));
    // And the tool rejects what is not JSON, so the check above means something.
    std::ofstream(path, std::ios::binary) << "{ \"a\" : 1, }";
    EXPECT_NE(0, std::system((command + " 2>&1").c_str()));
    std::remove(path.c_str());
}

TEST(JsonWriter, OurReaderRoundTripsWhatWeWrite)
{
    // Plain maps avoid the writer/reader asymmetries: no '<', '>' or control bytes (written
    // as \u escapes), no empty maps ("{  }"), no integral doubles (written as integers).
    Generator generator(99, true);
    for (int i = 0; i < 400; ++i) {
        const KeyValueMap map = generator.map();
        const std::string json = map.toJsonString();
        ASSERT_EQ(std::string::npos, json.find("\\u"));
        KeyValueMap back;
        ASSERT_TRUE(KeyValueMap::parseJsonString(json, back)) << json;
        // String vectors come back as arrays of strings: compare through the JSON text.
        EXPECT_EQ(json, back.toJsonString());
    }
    // Without string vectors the maps themselves are equal.
    KeyValueMap plain;
    plain.addValue("a", VariantVector{1, -2.5, "x\"y", true, Variant(), 3000000000LL});
    plain.addValue("m", KeyValueMap("k", "v/w", "n", 0.125));
    KeyValueMap back;
    ASSERT_TRUE(KeyValueMap::parseJsonString(plain.toJsonString(), back));
    EXPECT_EQ(0, plain.compareTo(back));
}
