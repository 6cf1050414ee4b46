// StringUtil and StringVector: the exact edge behaviour other components depend on (number
// conversions at every width boundary, booleans, scale suffixes, the JSON quoting judged by
// Python's json module, UTC time texts checked against the C library) and the plain helpers.
#include "kapi/StringUtil.h"
#include "kapi/StringVector.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

using Kapi::StringUtil;
using Kapi::StringVector;

namespace {

// Runs one conversion and returns its result, with `out` starting from a sentinel so that
// "unchanged on failure" is visible.
template <typename T, typename F>
bool convert(F function, const std::string& text, T& out, int base = 10, T sentinel = T(77))
{
    out = sentinel;
    return function(text, out, base);
}

} // namespace

TEST(StringUtilInteger, EmptyTextIsZeroWithSuccess)
{
    int32 i32 = 5;
    EXPECT_TRUE(StringUtil::asInteger32("", i32));
    EXPECT_EQ(i32, 0);
    uint64 u64 = 5;
    EXPECT_TRUE(StringUtil::asUInteger64("", u64));
    EXPECT_EQ(u64, 0u);
    int8 i8 = 5;
    EXPECT_TRUE(StringUtil::asInteger8("", i8, 0));
    EXPECT_EQ(i8, 0);
}

TEST(StringUtilInteger, WholeTextMustConvert)
{
    int32 out = 0;
    EXPECT_FALSE(convert(StringUtil::asInteger32, "12a", out));
    EXPECT_EQ(out, 77);
    EXPECT_FALSE(convert(StringUtil::asInteger32, "12 ", out));
    EXPECT_FALSE(convert(StringUtil::asInteger32, " ", out));
    EXPECT_FALSE(convert(StringUtil::asInteger32, "-", out));
    EXPECT_FALSE(convert(StringUtil::asInteger32, "0x", out, 0));
    const std::string embeddedNul("1\0002", 3);
    EXPECT_FALSE(convert(StringUtil::asInteger32, embeddedNul, out));
    EXPECT_EQ(out, 77);
    // strtoll skips leading white space and takes a sign.
    EXPECT_TRUE(convert(StringUtil::asInteger32, " 12", out));
    EXPECT_EQ(out, 12);
    EXPECT_TRUE(convert(StringUtil::asInteger32, "+12", out));
    EXPECT_EQ(out, 12);
}

TEST(StringUtilInteger, Bases)
{
    int32 out = 0;
    EXPECT_TRUE(convert(StringUtil::asInteger32, "0x7fffffff", out, 0));
    EXPECT_EQ(out, 2147483647);
    EXPECT_TRUE(convert(StringUtil::asInteger32, "010", out, 0));
    EXPECT_EQ(out, 8);
    EXPECT_TRUE(convert(StringUtil::asInteger32, "010", out, 10));
    EXPECT_EQ(out, 10);
    EXPECT_FALSE(convert(StringUtil::asInteger32, "0x10", out, 10));
    EXPECT_TRUE(convert(StringUtil::asInteger32, "ff", out, 16));
    EXPECT_EQ(out, 255);
    EXPECT_FALSE(convert(StringUtil::asInteger32, "08", out, 0));
    uint32 u = 0;
    EXPECT_TRUE(convert(StringUtil::asUInteger32, "0xFFFFFFFF", u, 0));
    EXPECT_EQ(u, 0xFFFFFFFFu);
}

TEST(StringUtilInteger, SignedBoundariesOfEveryWidth)
{
    int8 i8 = 0;
    EXPECT_TRUE(convert(StringUtil::asInteger8, "-128", i8));
    EXPECT_EQ(i8, INT8_MIN);
    EXPECT_TRUE(convert(StringUtil::asInteger8, "127", i8));
    EXPECT_EQ(i8, INT8_MAX);
    EXPECT_FALSE(convert(StringUtil::asInteger8, "-129", i8));
    EXPECT_FALSE(convert(StringUtil::asInteger8, "128", i8));
    EXPECT_EQ(i8, 77);

    int16 i16 = 0;
    EXPECT_TRUE(convert(StringUtil::asInteger16, "-32768", i16));
    EXPECT_EQ(i16, INT16_MIN);
    EXPECT_TRUE(convert(StringUtil::asInteger16, "32767", i16));
    EXPECT_EQ(i16, INT16_MAX);
    EXPECT_FALSE(convert(StringUtil::asInteger16, "-32769", i16));
    EXPECT_FALSE(convert(StringUtil::asInteger16, "32768", i16));

    int32 i32 = 0;
    EXPECT_TRUE(convert(StringUtil::asInteger32, "-2147483648", i32));
    EXPECT_EQ(i32, INT32_MIN);
    EXPECT_TRUE(convert(StringUtil::asInteger32, "2147483647", i32));
    EXPECT_EQ(i32, INT32_MAX);
    EXPECT_FALSE(convert(StringUtil::asInteger32, "-2147483649", i32));
    EXPECT_FALSE(convert(StringUtil::asInteger32, "2147483648", i32));
    EXPECT_FALSE(convert(StringUtil::asInteger32, "4294967296", i32));
    EXPECT_EQ(i32, 77);

    int64 i64 = 0;
    EXPECT_TRUE(convert(StringUtil::asInteger64, "-9223372036854775808", i64));
    EXPECT_EQ(i64, INT64_MIN);
    EXPECT_TRUE(convert(StringUtil::asInteger64, "9223372036854775807", i64));
    EXPECT_EQ(i64, INT64_MAX);
    EXPECT_FALSE(convert(StringUtil::asInteger64, "-9223372036854775809", i64));
    EXPECT_FALSE(convert(StringUtil::asInteger64, "9223372036854775808", i64));
    EXPECT_EQ(i64, 77);
}

TEST(StringUtilInteger, UnsignedBoundariesAndMinus)
{
    uint8 u8 = 0;
    EXPECT_TRUE(convert(StringUtil::asUInteger8, "255", u8));
    EXPECT_EQ(u8, 255);
    EXPECT_FALSE(convert(StringUtil::asUInteger8, "256", u8));
    EXPECT_FALSE(convert(StringUtil::asUInteger8, "-1", u8));
    EXPECT_EQ(u8, 77);

    uint16 u16 = 0;
    EXPECT_TRUE(convert(StringUtil::asUInteger16, "65535", u16));
    EXPECT_EQ(u16, 65535);
    EXPECT_FALSE(convert(StringUtil::asUInteger16, "65536", u16));
    EXPECT_FALSE(convert(StringUtil::asUInteger16, "-1", u16));

    uint32 u32 = 0;
    EXPECT_TRUE(convert(StringUtil::asUInteger32, "4294967295", u32));
    EXPECT_EQ(u32, 4294967295u);
    EXPECT_FALSE(convert(StringUtil::asUInteger32, "4294967296", u32));
    EXPECT_FALSE(convert(StringUtil::asUInteger32, "-1", u32));
    EXPECT_FALSE(convert(StringUtil::asUInteger32, " -1", u32));
    EXPECT_FALSE(convert(StringUtil::asUInteger32, "-0", u32));
    EXPECT_EQ(u32, 77u);

    uint64 u64 = 0;
    EXPECT_TRUE(convert(StringUtil::asUInteger64, "18446744073709551615", u64));
    EXPECT_EQ(u64, UINT64_MAX);
    EXPECT_FALSE(convert(StringUtil::asUInteger64, "18446744073709551616", u64));
    EXPECT_FALSE(convert(StringUtil::asUInteger64, "-1", u64));
    EXPECT_FALSE(convert(StringUtil::asUInteger64, "-18446744073709551615", u64));
    EXPECT_EQ(u64, 77u);
}

TEST(StringUtilInteger, ConversionsKeepTheCallersErrno)
{
    int32 out = 0;
    errno = EBADF;
    EXPECT_FALSE(StringUtil::asInteger32("99999999999999999999", out));
    EXPECT_EQ(errno, EBADF);
}

TEST(StringUtilBoolean, AlwaysSucceeds)
{
    struct Case
    {
        const char* text;
        bool expected;
    } cases[] = {{"", false},      {"true", true}, {"TRUE", true},
                 {"tRuE", true},   {"1", true},    {"2", true},
                 {"-1", true},     {"0x10", true}, {"010", true},
                 {"0", false},     {"0x0", false}, {"false", false},
                 {"no", false},    {"yes", false}, {"abc", false},
                 {"true ", false}, {"1a", false},  {"99999999999999999999", false}};
    for (const Case& c : cases) {
        bool out = !c.expected;
        EXPECT_TRUE(StringUtil::asBoolean(c.text, out)) << c.text;
        EXPECT_EQ(out, c.expected) << "'" << c.text << "'";
    }
}

TEST(StringUtilScale, SuffixesArePowersOf1024)
{
    uint32 out = 1;
    EXPECT_TRUE(StringUtil::asUInteger32WithScale("", out));
    EXPECT_EQ(out, 0u);
    EXPECT_TRUE(StringUtil::asUInteger32WithScale("512", out));
    EXPECT_EQ(out, 512u);
    EXPECT_TRUE(StringUtil::asUInteger32WithScale("256K", out));
    EXPECT_EQ(out, 262144u);
    EXPECT_TRUE(StringUtil::asUInteger32WithScale("15 M", out));
    EXPECT_EQ(out, 15u * 1024 * 1024);
    EXPECT_TRUE(StringUtil::asUInteger32WithScale("3G", out));
    EXPECT_EQ(out, 3u * 1024 * 1024 * 1024);
    EXPECT_TRUE(StringUtil::asUInteger32WithScale("0x10K", out, 0));
    EXPECT_EQ(out, 16384u);
    EXPECT_TRUE(StringUtil::asUInteger32WithScale("4194303K", out));
    EXPECT_EQ(out, 4194303u * 1024);
}

TEST(StringUtilScale, FailuresSetZero)
{
    const char* bad[] = {"4G",  "4194304K", "4096M", "4294967296", "-1K",
                         "12k", "K1",       "1.5M",  "12 ",        "1KK"};
    for (const char* text : bad) {
        uint32 out = 99;
        EXPECT_FALSE(StringUtil::asUInteger32WithScale(text, out)) << text;
        EXPECT_EQ(out, 0u) << text;
    }
}

TEST(StringUtilDouble, Conversions)
{
    double out = 1.5;
    EXPECT_TRUE(StringUtil::asDouble("", out));
    EXPECT_EQ(out, 0.0);
    EXPECT_TRUE(StringUtil::asDouble("12", out));
    EXPECT_EQ(out, 12.0);
    EXPECT_TRUE(StringUtil::asDouble("-2.5e3", out));
    EXPECT_EQ(out, -2500.0);
    out = 1.5;
    EXPECT_FALSE(StringUtil::asDouble("1.5x", out));
    EXPECT_FALSE(StringUtil::asDouble("1e999", out));
    EXPECT_FALSE(StringUtil::asDouble("x", out));
    EXPECT_EQ(out, 1.5);
}

TEST(StringUtilToString, Forms)
{
    EXPECT_EQ(StringUtil::toString(true), "true");
    EXPECT_EQ(StringUtil::toString(false), "false");
    EXPECT_EQ(StringUtil::toString(-42), "-42");
    EXPECT_EQ(StringUtil::toString(4294967295u), "4294967295");
    EXPECT_EQ(StringUtil::toString(-7L), "-7");
    EXPECT_EQ(StringUtil::toString(7UL), "7");
    EXPECT_EQ(StringUtil::toString(static_cast<long long>(INT64_MIN)), "-9223372036854775808");
    EXPECT_EQ(StringUtil::toString(18446744073709551615ULL), "18446744073709551615");
    EXPECT_EQ(StringUtil::toString(0.1), "0.1");
    EXPECT_EQ(StringUtil::toString(1234567.0), "1.23457e+06");
    EXPECT_EQ(StringUtil::toString(5.0), "5");
    EXPECT_EQ(StringUtil::toString(-0.000012345), "-1.2345e-05");
    EXPECT_EQ(StringUtil::toString('x'), "x");
}

TEST(StringUtilJson, EscapesEachByteAsRequired)
{
    for (int b = 0; b < 256; ++b) {
        const std::string quoted = StringUtil::makeJsonString(std::string(1, static_cast<char>(b)));
        std::string expected;
        switch (b) {
        case '"':
            expected = "\\\"";
            break;
        case '\\':
            expected = "\\\\";
            break;
        case 0x08:
            expected = "\\b";
            break;
        case 0x09:
            expected = "\\t";
            break;
        case 0x0a:
            expected = "\\n";
            break;
        case 0x0d:
            expected = "\\r";
            break;
        case 0x0c:
            expected = "\\f";
            break;
        default:
            if (b < 0x20 || b == '<' || b == '>') {
                char u[8];
                snprintf(u, sizeof u, "\\u%04X", b);
                expected = u;
            } else {
                expected = std::string(1, static_cast<char>(b));
            }
        }
        EXPECT_EQ(quoted, "\"" + expected + "\"") << "byte " << b;
    }
    EXPECT_EQ(StringUtil::makeJsonString("\x1f"), "\"\\u001F\"");
    EXPECT_EQ(StringUtil::makeJsonString("<"), "\"\\u003C\"");
    EXPECT_EQ(StringUtil::makeJsonString(""), "\"\"");
}

TEST(StringUtilJson, SlashEscapedOnlyAfterLessThan)
{
    EXPECT_EQ(StringUtil::makeJsonString("a</b>"), "\"a\\u003C\\/b\\u003E\"");
    EXPECT_EQ(StringUtil::makeJsonString("a/b"), "\"a/b\"");
    EXPECT_EQ(StringUtil::makeJsonString("//"), "\"//\"");
    EXPECT_EQ(StringUtil::makeJsonString("<//"), "\"\\u003C\\//\"");
    EXPECT_EQ(StringUtil::makeJsonString("< /"), "\"\\u003C /\"");
    EXPECT_EQ(StringUtil::makeJsonString(std::string("\0/", 2)), "\"\\u0000/\"");
}

TEST(StringUtilJson, PythonDecodesEveryAsciiByteBack)
{
    // Every byte below 0x80, alone and in the combinations that change escaping.
    std::string input;
    for (int b = 0; b < 0x80; ++b) {
        input += static_cast<char>(b);
        input += "</";
    }
    input += "<</>/\\/\"/";
    char dir[] = "/tmp/kapi_json_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string jsonPath = std::string(dir) + "/in.json";
    const std::string outPath = std::string(dir) + "/out.bin";
    {
        std::ofstream json(jsonPath, std::ios::binary);
        json << StringUtil::makeJsonString(input);
    }
    const std::string command =
        "/usr/bin/python3 -c 'import json,sys; "
        "s = json.loads(open(sys.argv[1], \"rb\").read().decode(\"ascii\")); "
        "open(sys.argv[2], \"wb\").write(s.encode(\"latin-1\"))' " +
        jsonPath + " " + outPath;
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::ifstream decoded(outPath, std::ios::binary);
    std::stringstream bytes;
    bytes << decoded.rdbuf();
    EXPECT_EQ(bytes.str(), input);
    unlink(jsonPath.c_str());
    unlink(outPath.c_str());
    rmdir(dir);
}

TEST(StringUtilTime, TextsMatchTheCLibrary)
{
    const long long seconds[] = {0,         1,         59,         86399,        86400,
                                 951782400, 951868799, 1700000000, 2147483647,   4102444800LL,
                                 -1,        -86400,    -86401,     -2208988800LL};
    for (const long long s : seconds) {
        const time_t t = static_cast<time_t>(s);
        struct tm broken;
        ASSERT_NE(gmtime_r(&t, &broken), nullptr);
        char expected[64];
        strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", &broken);
        EXPECT_EQ(StringUtil::timeToString(s * 1000000 + 123456), std::string(expected) + ".123")
            << s;
        EXPECT_EQ(StringUtil::timeToDateString(s * 1000000), std::string(expected, 10)) << s;
        long long back = 0;
        ASSERT_TRUE(StringUtil::asTime(expected, back)) << expected;
        EXPECT_EQ(back, s * 1000000) << expected;
    }
}

TEST(StringUtilTime, NegativeMicrosecondsRoundDown)
{
    EXPECT_EQ(StringUtil::timeToString(-1), "1969-12-31 23:59:59.999");
    EXPECT_EQ(StringUtil::timeToString(999), "1970-01-01 00:00:00.000");
    EXPECT_EQ(StringUtil::timeToDateString(-1), "1969-12-31");
}

TEST(StringUtilTime, AcceptedLayouts)
{
    long long out = 0;
    EXPECT_TRUE(StringUtil::asTime("1700000000", out));
    EXPECT_EQ(out, 1700000000000000LL);
    EXPECT_TRUE(StringUtil::asTime("2000-02-29", out));
    EXPECT_EQ(out, 951782400000000LL);
    EXPECT_TRUE(StringUtil::asTime("2000-02-29T12:34:56Z", out));
    EXPECT_EQ(out, (951782400LL + 12 * 3600 + 34 * 60 + 56) * 1000000);
    EXPECT_TRUE(StringUtil::asTime("2000-02-29 12:34:56.5", out));
    EXPECT_EQ(out, (951782400LL + 12 * 3600 + 34 * 60 + 56) * 1000000 + 500000);
    EXPECT_TRUE(StringUtil::asTime(StringUtil::timeToString(1234567890123000LL), out));
    EXPECT_EQ(out, 1234567890123000LL);
}

TEST(StringUtilTime, RejectedTexts)
{
    const char* bad[] = {"2001-02-29",
                         "2000-13-01",
                         "2000-00-10",
                         "2000-01-32",
                         "2000-1-01",
                         "2000-01-01 24:00:00",
                         "2000-01-01 12:60:00",
                         "2000-01-01 12:00",
                         "2000-01-01T12:00:00+01",
                         "2000-01-01 12:00:00.",
                         "12a",
                         "9223372036854775807",
                         "2000-01-01x"};
    for (const char* text : bad) {
        long long out = 42;
        EXPECT_FALSE(StringUtil::asTime(text, out)) << text;
        EXPECT_EQ(out, 42) << text;
    }
}

TEST(StringUtilBytes, HexBothWays)
{
    const unsigned char data[] = {0x00, 0x0a, 0xff, 0x7f};
    EXPECT_EQ(StringUtil::toHexString(data, sizeof data), "000aff7f");
    EXPECT_EQ(StringUtil::toHexString(data, 0), "");
    std::vector<unsigned char> out = {9};
    EXPECT_TRUE(StringUtil::asByteArray("000aFF7f", out));
    EXPECT_EQ(out, std::vector<unsigned char>(data, data + 4));
    EXPECT_FALSE(StringUtil::asByteArray("abc", out));
    EXPECT_FALSE(StringUtil::asByteArray("zz", out));
    EXPECT_EQ(out.size(), 4u);
    EXPECT_TRUE(StringUtil::asByteArray("", out));
    EXPECT_TRUE(out.empty());
}

TEST(StringUtilText, TrimAndCase)
{
    EXPECT_EQ(StringUtil::trimWhiteSpace(" \t a b \r\n"), "a b");
    EXPECT_EQ(StringUtil::trimHeadWhiteSpace("  a "), "a ");
    EXPECT_EQ(StringUtil::trimTailWhiteSpace("  a \v\f"), "  a");
    EXPECT_EQ(StringUtil::trimWhiteSpace(" \n "), "");
    EXPECT_EQ(StringUtil::toLowerCase("AbC\xc9"), "abc\xc9");
    EXPECT_EQ(StringUtil::toUpperCase("aBc1\xe9"), "ABC1\xe9");
}

TEST(StringUtilText, Comparisons)
{
    EXPECT_TRUE(StringUtil::startsWith("kapi_ddl", "kapi"));
    EXPECT_FALSE(StringUtil::startsWith("kapi", "kapi_ddl"));
    EXPECT_TRUE(StringUtil::startsWith("KAPI", "kap", true));
    EXPECT_TRUE(StringUtil::endsWith("index.2.data", ".data"));
    EXPECT_FALSE(StringUtil::endsWith("index.2.data", ".DATA"));
    EXPECT_TRUE(StringUtil::endsWith("index.2.data", ".DATA", true));
    EXPECT_TRUE(StringUtil::endsWith("x", ""));
    EXPECT_TRUE(StringUtil::equals("Hello", "hELLO", true));
    EXPECT_FALSE(StringUtil::equals("Hello", "hELLO"));
    EXPECT_LT(StringUtil::compareTo("a", "b"), 0);
    EXPECT_GT(StringUtil::compareTo("b", "a"), 0);
    EXPECT_LT(StringUtil::compareTo("a", "ab"), 0);
    EXPECT_EQ(StringUtil::compareTo("aB", "Ab", true), 0);
    EXPECT_LT(StringUtil::compareTo("z", "\x80"), 0); // byte-wise, unsigned
    EXPECT_TRUE(StringUtil::containsChar("a;b", ';'));
    EXPECT_FALSE(StringUtil::containsChar("ab", ';'));
    EXPECT_EQ(StringUtil::countChar("a.b.c", '.'), 2u);
}

TEST(StringUtilText, Editing)
{
    EXPECT_EQ(StringUtil::removeHead("abcdef", 2), "cdef");
    EXPECT_EQ(StringUtil::removeHead("ab", 5), "");
    EXPECT_EQ(StringUtil::removeTail("movie.ts", ".ts"), "movie");
    EXPECT_EQ(StringUtil::removeTail("movie.ts", ".mp4"), "movie.ts");
    EXPECT_EQ(StringUtil::replaceAll("a%b%", "%", "%25"), "a%25b%25");
    EXPECT_EQ(StringUtil::replaceAll("aaa", "aa", "b"), "ba");
    EXPECT_EQ(StringUtil::replaceAll("abc", "", "x"), "abc");
    EXPECT_EQ(StringUtil::makeFileSafe("a b/c:d.E-1_\xff"), "a_b_c_d.E-1__");
}

TEST(StringUtilText, NewPrintfAnyLength)
{
    EXPECT_EQ(StringUtil::newPrintf("%s-%u", "tag", 1500u), "tag-1500");
    const std::string longText(1000, 'x');
    EXPECT_EQ(StringUtil::newPrintf("<%s>", longText.c_str()), "<" + longText + ">");
    EXPECT_EQ(StringUtil::newPrintf("%s", ""), "");
}

TEST(StringVectorForms, JoinAndJson)
{
    const StringVector empty;
    EXPECT_EQ(empty.join(","), "");
    EXPECT_EQ(empty.toJsonString(), "[  ]");
    const StringVector items{"a", "b\"", "</c>"};
    EXPECT_EQ(items.join(","), "a,b\",</c>");
    EXPECT_EQ(items.toJsonString(), "[ \"a\", \"b\\\"\", \"\\u003C\\/c\\u003E\" ]");
}

TEST(StringVectorForms, SplitKeepsEmptyPieces)
{
    EXPECT_TRUE(StringVector::split("", ',').empty());
    EXPECT_EQ(StringVector::split("a", ','), (StringVector{"a"}));
    EXPECT_EQ(StringVector::split("a,,b", ','), (StringVector{"a", "", "b"}));
    EXPECT_EQ(StringVector::split(",a,", ','), (StringVector{"", "a", ""}));
    EXPECT_EQ(StringVector::split(",", ','), (StringVector{"", ""}));
}

TEST(StringVectorForms, CompareTo)
{
    const StringVector ab{"a", "b"};
    EXPECT_EQ(ab.compareTo(StringVector{"a", "b"}), 0);
    EXPECT_LT(ab.compareTo(StringVector{"a", "c"}), 0);
    EXPECT_GT(ab.compareTo(StringVector{"a"}), 0);
    EXPECT_LT(StringVector{}.compareTo(ab), 0);
    EXPECT_GT(ab.compareTo(StringVector{"a", "a", "z"}), 0);
}
