// StringUtil and StringVector: the exact edge behaviour other components depend on (number
// conversions at every width boundary, booleans, scale suffixes, the JSON quoting judged by
// Python's json module, UTC time texts checked against the C library) and the plain helpers.
#include "kapi/StringUtil.h"
#include "kapi/StringVector.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <ctime>
#include <map>
#include <string>
#include <vector>

using Kapi::StringUtil;
using Kapi::StringVector;

namespace {

// Runs one conversion with `out` starting at 77, so that "unchanged on failure" is visible;
// gives "ok VALUE" or "fail VALUE".
template <typename T>
std::string conv(bool (*function)(const std::string&, T&, int), const std::string& text,
                 int base = 10)
{
    T out = T(77);
    const bool ok = function(text, out, base);
    return (ok ? "ok " : "fail ") + std::to_string(out);
}

} // namespace

TEST(StringUtilInteger, WholeTextMustConvertWithinTheWidth)
{
    // Empty text is zero with success; strtoll skips leading white space and takes a sign.
    EXPECT_EQ(conv(StringUtil::asInteger32, ""), "ok 0");
    EXPECT_EQ(conv(StringUtil::asUInteger64, ""), "ok 0");
    EXPECT_EQ(conv(StringUtil::asInteger8, "", 0), "ok 0");
    EXPECT_EQ(conv(StringUtil::asInteger32, " 12"), "ok 12");
    EXPECT_EQ(conv(StringUtil::asInteger32, "+12"), "ok 12");
    for (const char* bad : {"12a", "12 ", " ", "-", "0x10"})
        EXPECT_EQ(conv(StringUtil::asInteger32, bad), "fail 77") << bad;
    EXPECT_EQ(conv(StringUtil::asInteger32, std::string("1\0002", 3)), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger32, "0x", 0), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger32, "08", 0), "fail 77");

    // Bases.
    EXPECT_EQ(conv(StringUtil::asInteger32, "0x7fffffff", 0), "ok 2147483647");
    EXPECT_EQ(conv(StringUtil::asInteger32, "010", 0), "ok 8");
    EXPECT_EQ(conv(StringUtil::asInteger32, "010", 10), "ok 10");
    EXPECT_EQ(conv(StringUtil::asInteger32, "ff", 16), "ok 255");
    EXPECT_EQ(conv(StringUtil::asUInteger32, "0xFFFFFFFF", 0), "ok 4294967295");

    // Every width at and just past its limits; unsigned widths refuse any minus sign.
    EXPECT_EQ(conv(StringUtil::asInteger8, "-128"), "ok -128");
    EXPECT_EQ(conv(StringUtil::asInteger8, "127"), "ok 127");
    EXPECT_EQ(conv(StringUtil::asInteger8, "-129"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger8, "128"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger16, "-32768"), "ok -32768");
    EXPECT_EQ(conv(StringUtil::asInteger16, "32767"), "ok 32767");
    EXPECT_EQ(conv(StringUtil::asInteger16, "-32769"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger16, "32768"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger32, "-2147483648"), "ok -2147483648");
    EXPECT_EQ(conv(StringUtil::asInteger32, "2147483647"), "ok 2147483647");
    EXPECT_EQ(conv(StringUtil::asInteger32, "-2147483649"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger32, "2147483648"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger32, "4294967296"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger64, "-9223372036854775808"), "ok -9223372036854775808");
    EXPECT_EQ(conv(StringUtil::asInteger64, "9223372036854775807"), "ok 9223372036854775807");
    EXPECT_EQ(conv(StringUtil::asInteger64, "-9223372036854775809"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asInteger64, "9223372036854775808"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asUInteger8, "255"), "ok 255");
    EXPECT_EQ(conv(StringUtil::asUInteger8, "256"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asUInteger8, "-1"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asUInteger16, "65535"), "ok 65535");
    EXPECT_EQ(conv(StringUtil::asUInteger16, "65536"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asUInteger16, "-1"), "fail 77");
    EXPECT_EQ(conv(StringUtil::asUInteger32, "4294967295"), "ok 4294967295");
    for (const char* bad : {"4294967296", "-1", " -1", "-0"})
        EXPECT_EQ(conv(StringUtil::asUInteger32, bad), "fail 77") << bad;
    EXPECT_EQ(conv(StringUtil::asUInteger64, "18446744073709551615"), "ok 18446744073709551615");
    for (const char* bad : {"18446744073709551616", "-1", "-18446744073709551615"})
        EXPECT_EQ(conv(StringUtil::asUInteger64, bad), "fail 77") << bad;

    // The caller's errno survives a conversion.
    int32 out = 0;
    errno = EBADF;
    EXPECT_FALSE(StringUtil::asInteger32("99999999999999999999", out));
    EXPECT_EQ(errno, EBADF);
}

TEST(StringUtilBoolean, AlwaysSucceeds)
{
    const std::pair<const char*, bool> rows[] = {
        {"", false},      {"true", true}, {"TRUE", true},
        {"tRuE", true},   {"1", true},    {"2", true},
        {"-1", true},     {"0x10", true}, {"010", true},
        {"0", false},     {"0x0", false}, {"false", false},
        {"no", false},    {"yes", false}, {"abc", false},
        {"true ", false}, {"1a", false},  {"99999999999999999999", false}};
    for (const auto& [text, expected] : rows) {
        bool out = !expected;
        EXPECT_TRUE(StringUtil::asBoolean(text, out)) << text;
        EXPECT_EQ(out, expected) << "'" << text << "'";
    }
}

TEST(StringUtilScale, SuffixesArePowersOf1024AndFailuresSetZero)
{
    const auto scaled = StringUtil::asUInteger32WithScale;
    EXPECT_EQ(conv(scaled, ""), "ok 0");
    EXPECT_EQ(conv(scaled, "512"), "ok 512");
    EXPECT_EQ(conv(scaled, "256K"), "ok 262144");
    EXPECT_EQ(conv(scaled, "15 M"), "ok 15728640");
    EXPECT_EQ(conv(scaled, "3G"), "ok 3221225472");
    EXPECT_EQ(conv(scaled, "4194303K"), "ok 4294966272");
    EXPECT_EQ(conv(scaled, "0x10K", 0), "ok 16384");
    for (const char* text :
         {"4G", "4194304K", "4096M", "4294967296", "-1K", "12k", "K1", "1.5M", "12 ", "1KK"})
        EXPECT_EQ(conv(scaled, text), "fail 0") << text;
}

TEST(StringUtilDouble, ConversionsAndTextForms)
{
    double out = 1.5;
    EXPECT_TRUE(StringUtil::asDouble("", out));
    EXPECT_EQ(out, 0.0);
    EXPECT_TRUE(StringUtil::asDouble("-2.5e3", out));
    EXPECT_EQ(out, -2500.0);
    out = 1.5;
    for (const char* bad : {"1.5x", "1e999", "x"})
        EXPECT_FALSE(StringUtil::asDouble(bad, out)) << bad;
    EXPECT_EQ(out, 1.5);

    EXPECT_EQ(StringUtil::toString(true) + StringUtil::toString(false), "truefalse");
    EXPECT_EQ(StringUtil::toString(-42), "-42");
    EXPECT_EQ(StringUtil::toString(4294967295u), "4294967295");
    EXPECT_EQ(StringUtil::toString(-7L) + StringUtil::toString(7UL), "-77");
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
    const std::map<int, std::string> named = {{'"', "\\\""}, {'\\', "\\\\"}, {0x08, "\\b"},
                                              {0x09, "\\t"}, {0x0a, "\\n"},  {0x0d, "\\r"},
                                              {0x0c, "\\f"}};
    for (int b = 0; b < 256; ++b) {
        const std::string byte(1, static_cast<char>(b));
        std::string expected = byte;
        if (named.count(b) != 0)
            expected = named.at(b);
        else if (b < 0x20 || b == '<' || b == '>')
            expected = StringUtil::newPrintf("\\u%04X", b);
        EXPECT_EQ(StringUtil::makeJsonString(byte), "\"" + expected + "\"") << "byte " << b;
    }
    EXPECT_EQ(StringUtil::makeJsonString("\x1f<"), "\"\\u001F\\u003C\"");
    EXPECT_EQ(StringUtil::makeJsonString(""), "\"\"");
    // '/' is escaped only right after '<'.
    EXPECT_EQ(StringUtil::makeJsonString("a</b>"), "\"a\\u003C\\/b\\u003E\"");
    EXPECT_EQ(StringUtil::makeJsonString("a/b//"), "\"a/b//\"");
    EXPECT_EQ(StringUtil::makeJsonString("<//"), "\"\\u003C\\//\"");
    EXPECT_EQ(StringUtil::makeJsonString("< /"), "\"\\u003C /\"");
    EXPECT_EQ(StringUtil::makeJsonString(std::string("\0/", 2)), "\"\\u0000/\"");
}

TEST(StringUtilJson, PythonDecodesEveryAsciiByteBack)
{
    // Every byte below 0x80, alone and in the combinations that change escaping.
    std::string input;
    for (int b = 0; b < 0x80; ++b)
        input += std::string(1, static_cast<char>(b)) + "</";
    input += "<</>/\\/\"/";
    const KeloTest::ProcessResult python = KeloTest::runProcess(
        "/usr/bin/python3",
        {"-c", "import json,sys; s = json.loads(sys.stdin.buffer.read().decode('ascii')); "
               "sys.stdout.buffer.write(s.encode('latin-1'))"},
        StringUtil::makeJsonString(input));
    ASSERT_EQ(python.exitStatus, 0) << python.err;
    EXPECT_EQ(python.out, input);
}

// Strict UTF-8 as Python's decoder judges it: overlong forms, surrogates, values above U+10FFFF
// and cut sequences are refused. Each line of the input is one byte string in hex.
TEST(StringUtilUtf8, AgreesWithPythonsStrictDecoder)
{
    std::vector<std::string> samples = {
        "", "a", "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80", "\xf4\x8f\xbf\xbf",
        "\xc1\xa2", "\xc0\x80", "\xe0\x80\xaf", "\xf0\x80\x80\xaf", "\xed\xa0\x80",
        "\xed\x9f\xbf", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "\xc3", "\xe2\x82",
        "\x80", "\xbf", "\xfe", "\xff", "a\xc3\xa9\xc3"};
    // Random byte strings biased towards lead and continuation bytes.
    uint32 seed = 12345;
    const unsigned char pool[] = {0x41, 0x7f, 0x80, 0x9f, 0xa0, 0xbf, 0xc0, 0xc1, 0xc2, 0xdf,
                                  0xe0, 0xed, 0xef, 0xf0, 0xf4, 0xf5, 0xf8, 0xff};
    for (int n = 0; n < 3000; ++n) {
        std::string bytes;
        const int length = 1 + n % 6;
        for (int k = 0; k < length; ++k) {
            seed = seed * 1103515245u + 12345u;
            bytes += static_cast<char>(pool[(seed >> 16) % sizeof pool]);
        }
        samples.push_back(bytes);
    }
    std::string input;
    for (const std::string& sample : samples)
        input += StringUtil::toHexString(sample.data(), sample.size()) + "\n";
    const KeloTest::ProcessResult python = KeloTest::runProcess(
        "/usr/bin/python3",
        {"-c", "import sys\n"
               "for line in sys.stdin.read().split('\\n')[:-1]:\n"
               "    try:\n"
               "        bytes.fromhex(line).decode('utf-8'); print(1)\n"
               "    except UnicodeDecodeError:\n"
               "        print(0)\n"},
        input);
    ASSERT_EQ(python.exitStatus, 0) << python.err;
    std::string ours;
    for (const std::string& sample : samples)
        ours += StringUtil::isValidUtf8(sample) ? "1\n" : "0\n";
    EXPECT_EQ(ours, python.out);
}

TEST(StringUtilTime, TextsMatchTheCLibraryAndReadBack)
{
    for (const long long s :
         {0LL, 1LL, 59LL, 86399LL, 86400LL, 951782400LL, 951868799LL, 1700000000LL, 2147483647LL,
          4102444800LL, -1LL, -86400LL, -86401LL, -2208988800LL}) {
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
    // Negative microseconds round down.
    EXPECT_EQ(StringUtil::timeToString(-1), "1969-12-31 23:59:59.999");
    EXPECT_EQ(StringUtil::timeToString(999), "1970-01-01 00:00:00.000");
    EXPECT_EQ(StringUtil::timeToDateString(-1), "1969-12-31");
}

TEST(StringUtilTime, AcceptedLayoutsAndRejectedTexts)
{
    const long long noon = (951782400LL + 12 * 3600 + 34 * 60 + 56) * 1000000;
    const std::pair<std::string, long long> good[] = {
        {"1700000000", 1700000000000000LL},
        {"2000-02-29", 951782400000000LL},
        {"2000-02-29T12:34:56Z", noon},
        {"2000-02-29 12:34:56.5", noon + 500000},
        {StringUtil::timeToString(1234567890123000LL), 1234567890123000LL}};
    for (const auto& [text, expected] : good) {
        long long out = 0;
        EXPECT_TRUE(StringUtil::asTime(text, out)) << text;
        EXPECT_EQ(out, expected) << text;
    }
    const std::vector<std::vector<const char*>> bad = {
        {"2001-02-29", "2000-13-01", "2000-00-10", "2000-01-32", "2000-1-01", "2000-01-01x"},
        {"2000-01-01 24:00:00", "2000-01-01 12:60:00", "2000-01-01 12:00"},
        {"2000-01-01T12:00:00+01", "2000-01-01 12:00:00.", "12a", "9223372036854775807"}};
    for (const auto& group : bad) {
        for (const char* text : group) {
            long long out = 42;
            EXPECT_FALSE(StringUtil::asTime(text, out)) << text;
            EXPECT_EQ(out, 42) << text;
        }
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

TEST(StringUtilText, TrimCaseComparisonsAndEditing)
{
    EXPECT_EQ(StringUtil::trimWhiteSpace(" \t a b \r\n"), "a b");
    EXPECT_EQ(StringUtil::trimHeadWhiteSpace("  a "), "a ");
    EXPECT_EQ(StringUtil::trimTailWhiteSpace("  a \v\f"), "  a");
    EXPECT_EQ(StringUtil::trimWhiteSpace(" \n "), "");
    EXPECT_EQ(StringUtil::toLowerCase("AbC\xc9"), "abc\xc9");
    EXPECT_EQ(StringUtil::toUpperCase("aBc1\xe9"), "ABC1\xe9");

    EXPECT_TRUE(StringUtil::startsWith("kapi_ddl", "kapi"));
    EXPECT_FALSE(StringUtil::startsWith("kapi", "kapi_ddl"));
    EXPECT_TRUE(StringUtil::startsWith("KAPI", "kap", true));
    EXPECT_FALSE(StringUtil::endsWith("index.2.data", ".DATA"));
    EXPECT_TRUE(StringUtil::endsWith("index.2.data", ".DATA", true));
    EXPECT_TRUE(StringUtil::endsWith("x", ""));
    EXPECT_TRUE(StringUtil::equals("Hello", "hELLO", true));
    EXPECT_FALSE(StringUtil::equals("Hello", "hELLO"));
    EXPECT_LT(StringUtil::compareTo("a", "ab"), 0);
    EXPECT_GT(StringUtil::compareTo("b", "a"), 0);
    EXPECT_EQ(StringUtil::compareTo("aB", "Ab", true), 0);
    EXPECT_LT(StringUtil::compareTo("z", "\x80"), 0); // byte-wise, unsigned
    EXPECT_TRUE(StringUtil::containsChar("a;b", ';'));
    EXPECT_FALSE(StringUtil::containsChar("ab", ';'));
    EXPECT_EQ(StringUtil::countChar("a.b.c", '.'), 2u);

    EXPECT_EQ(StringUtil::removeHead("abcdef", 2), "cdef");
    EXPECT_EQ(StringUtil::removeHead("ab", 5), "");
    EXPECT_EQ(StringUtil::removeTail("movie.ts", ".ts"), "movie");
    EXPECT_EQ(StringUtil::removeTail("movie.ts", ".mp4"), "movie.ts");
    EXPECT_EQ(StringUtil::replaceAll("a%b%", "%", "%25"), "a%25b%25");
    EXPECT_EQ(StringUtil::replaceAll("aaa", "aa", "b"), "ba");
    EXPECT_EQ(StringUtil::replaceAll("abc", "", "x"), "abc");
    EXPECT_EQ(StringUtil::makeFileSafe("a b/c:d.E-1_\xff"), "a_b_c_d.E-1__");
    const std::string longText(1000, 'x');
    EXPECT_EQ(StringUtil::newPrintf("%s-%u<%s>", "tag", 1500u, longText.c_str()),
              "tag-1500<" + longText + ">");
}

TEST(StringVectorForms, JoinJsonSplitAndCompare)
{
    EXPECT_EQ(StringVector().join(","), "");
    EXPECT_EQ(StringVector().toJsonString(), "[  ]");
    const StringVector items{"a", "b\"", "</c>"};
    EXPECT_EQ(items.join(","), "a,b\",</c>");
    EXPECT_EQ(items.toJsonString(), "[ \"a\", \"b\\\"\", \"\\u003C\\/c\\u003E\" ]");

    EXPECT_TRUE(StringVector::split("", ',').empty());
    EXPECT_EQ(StringVector::split("a", ','), (StringVector{"a"}));
    EXPECT_EQ(StringVector::split("a,,b", ','), (StringVector{"a", "", "b"}));
    EXPECT_EQ(StringVector::split(",a,", ','), (StringVector{"", "a", ""}));
    EXPECT_EQ(StringVector::split(",", ','), (StringVector{"", ""}));

    const StringVector ab{"a", "b"};
    EXPECT_EQ(ab.compareTo(StringVector{"a", "b"}), 0);
    EXPECT_LT(ab.compareTo(StringVector{"a", "c"}), 0);
    EXPECT_GT(ab.compareTo(StringVector{"a"}), 0);
    EXPECT_LT(StringVector{}.compareTo(ab), 0);
    EXPECT_GT(ab.compareTo(StringVector{"a", "a", "z"}), 0);
}
