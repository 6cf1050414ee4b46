// Kapi::UrlCodec: the escapes of query strings, both directions, and the two refusals with
// their log lines.
#include "kapi/UrlCodec.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

using Kapi::UrlCodec;

TEST(UrlCodec, EncodesUnsafeBytesAsUpperCaseHexAndBlanksAsPlus)
{
    EXPECT_EQ(UrlCodec::encode("AB 12"), "AB+12");
    EXPECT_EQ(UrlCodec::encode("a-b_c.d*e"), "a-b_c.d*e");
    EXPECT_EQ(UrlCodec::encode("a&b=c/d%e+f"), "a%26b%3Dc%2Fd%25e%2Bf");
    EXPECT_EQ(UrlCodec::encode(std::string("\x00\xff\n", 3)), "%00%FF%0A");
    EXPECT_EQ(UrlCodec::encode("\xc3\xa9"), "%C3%A9");

    int safe = 0;
    for (int c = 0; c < 256; ++c)
        safe += UrlCodec::isUrlSafe(static_cast<char>(c)) ? 1 : 0;
    EXPECT_EQ(safe, 10 + 26 + 26 + 4);
    EXPECT_FALSE(UrlCodec::isUrlSafe(' '));
    EXPECT_TRUE(UrlCodec::isUrlSafe('*'));
}

TEST(UrlCodec, DecodesEscapesInEitherCaseAndPlus)
{
    std::string out;
    ASSERT_TRUE(UrlCodec::decode("%2a", &out));
    EXPECT_EQ(out, "*");
    ASSERT_TRUE(UrlCodec::decode("a+b%2Fc%c3%A9", &out));
    EXPECT_EQ(out, "a b/c\xc3\xa9");
    ASSERT_TRUE(UrlCodec::decode("%00", &out)); // an escaped NUL is a byte like any other
    EXPECT_EQ(out, std::string(1, '\0'));
    ASSERT_TRUE(UrlCodec::decode("", &out));
    EXPECT_EQ(out, "");

    for (int c = 1; c < 256; ++c) {
        const std::string one(1, static_cast<char>(c));
        ASSERT_TRUE(UrlCodec::decode(UrlCodec::encode(one), &out)) << c;
        EXPECT_EQ(out, one);
    }
}

TEST(UrlCodec, BadEscapesAndNulBytesFailWithTheirMessages)
{
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_DEBUG);
    std::string out = "unchanged";
    EXPECT_FALSE(UrlCodec::decode("abc%4", &out));
    EXPECT_FALSE(UrlCodec::decode("%g0", &out));
    EXPECT_FALSE(UrlCodec::decode("%", &out));
    EXPECT_FALSE(UrlCodec::decode(std::string("ab\0c", 4), &out));
    EXPECT_EQ(out, "unchanged");
    const std::vector<std::string> lines = capture.summary();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "misc_system.debug: UrlCodec::decode(): can't decode url 'abc%4'.Bad "
                        "format at or around character number 4");
    EXPECT_EQ(lines[1], "misc_system.debug: UrlCodec::decode(): can't decode url '%g0'.Bad format "
                        "at or around character number 1");
    EXPECT_EQ(lines[3], "misc_system.debug: UrlCodec::decode(): Error: The string to be decoded "
                        "contains a null character at position 3");
}
