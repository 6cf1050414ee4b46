// Enumeration tables: the two binary searches over hand-written tables, the message for a
// value without a name, the compile-time Enumeration builder (sorting, aliases, the typed
// parse/print pair a protocol enumeration declares) and the consistency check.
#include "kapi/DDL.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Kapi::DDL::StringToValue;
using Kapi::DDL::ValueToIndex;

namespace {

// Captures what kapi_ddl logs up to info for the scope of a test.
class DdlLogTest : public ::testing::Test
{
protected:
    // "source.priority: text" of every captured line.
    std::vector<std::string> lines() const
    {
        std::vector<std::string> result;
        for (const LogCapture::Line& line : mCapture.lines())
            result.push_back(std::string(line.source) + "." +
                             Kapi::Log::priorityName(line.priority) + ": " + line.text);
        return result;
    }

    LogCapture mCapture{VLOGSRC_KAPI_DDL, VLOG_INFO};
};

// A hand-written pair of tables, as a generator would emit them.
constexpr StringToValue kColourNames[] = {{"BLUE", 3}, {"GREEN", 2}, {"RED", 1}, {"WHITE", 7}};
constexpr ValueToIndex kColourValues[] = {{1, 2}, {2, 1}, {3, 0}, {7, 3}};
constexpr unsigned kColourCount = 4;

static_assert(Kapi::DDL::tablesAreConsistent(kColourNames, kColourValues, kColourCount));

enum GoodbyeReason
{
    GOODBYE_NORMAL = 0,
    GOODBYE_KICKED = 1,
    GOODBYE_TIMEOUT = 2,
    GOODBYE_LEGACY_TIMEOUT = 2 // an alias: both names parse, the one listed first prints
};

constexpr Kapi::Enumeration kGoodbyeReason("GoodbyeReason",
                                           {
                                               {"TIMEOUT", GOODBYE_TIMEOUT},
                                               {"NORMAL", GOODBYE_NORMAL},
                                               {"LEGACY_TIMEOUT", GOODBYE_LEGACY_TIMEOUT},
                                               {"KICKED", GOODBYE_KICKED},
                                           });
static_assert(kGoodbyeReason.isConsistent());
constexpr Kapi::Enumeration kLegacyFirst("GoodbyeReason", {{"LEGACY_TIMEOUT", GOODBYE_TIMEOUT},
                                                           {"TIMEOUT", GOODBYE_TIMEOUT}});
static_assert(kGoodbyeReason.size() == 4);

bool parseE(const std::string& text, GoodbyeReason& out)
{
    return kGoodbyeReason.parse(text, out);
}

bool printE(GoodbyeReason value, std::string& out)
{
    return kGoodbyeReason.print(value, out);
}

enum class Scoped : int
{
    Low = -5,
    High = 40
};
constexpr Kapi::Enumeration kScoped("Scoped", {{"High", static_cast<int>(Scoped::High)},
                                               {"Low", static_cast<int>(Scoped::Low)}});

} // namespace

TEST(DdlParse, FindsExactNamesOnly)
{
    int out = -1;
    for (unsigned i = 0; i < kColourCount; ++i) {
        ASSERT_TRUE(Kapi::DDL::parseEnum(kColourNames[i].name, kColourNames, kColourCount, out));
        EXPECT_EQ(out, kColourNames[i].value);
    }
    out = -1;
    const char* misses[] = {"", "red", "BLU", "BLUEE", "A", "Z", "GREEN "};
    for (const char* text : misses) {
        EXPECT_FALSE(Kapi::DDL::parseEnum(text, kColourNames, kColourCount, out)) << text;
        EXPECT_EQ(out, -1);
    }
    EXPECT_FALSE(Kapi::DDL::parseEnum(std::string("RED\0X", 5), kColourNames, kColourCount, out));
    EXPECT_FALSE(Kapi::DDL::parseEnum("RED", kColourNames, 0, out));
    EXPECT_EQ(out, -1);
}

TEST_F(DdlLogTest, PrintsNamesAndReportsMissingValues)
{
    std::string out;
    for (unsigned i = 0; i < kColourCount; ++i) {
        EXPECT_TRUE(Kapi::DDL::printEnum(kColourValues[i].value, "Colour", kColourValues,
                                         kColourNames, kColourCount, out));
        EXPECT_EQ(out, kColourNames[kColourValues[i].index].name);
    }
    EXPECT_TRUE(lines().empty());

    EXPECT_FALSE(Kapi::DDL::printEnum(5, "Colour", kColourValues, kColourNames, kColourCount, out));
    EXPECT_EQ(out, "5");
    EXPECT_FALSE(
        Kapi::DDL::printEnum(-12, "Colour", kColourValues, kColourNames, kColourCount, out));
    EXPECT_EQ(out, "-12");
    EXPECT_FALSE(Kapi::DDL::printEnum(8, "Colour", kColourValues, kColourNames, kColourCount, out));
    EXPECT_EQ(out, "8");
    ASSERT_EQ(lines().size(), 3u);
    EXPECT_EQ(lines()[0], "kapi_ddl.info: Invalid value for Colour: 5");
    EXPECT_EQ(lines()[1], "kapi_ddl.info: Invalid value for Colour: -12");
}

TEST(DdlEnumeration, SortsTheDeclaredPairs)
{
    const StringToValue* byName = kGoodbyeReason.byName();
    EXPECT_STREQ(byName[0].name, "KICKED");
    EXPECT_STREQ(byName[1].name, "LEGACY_TIMEOUT");
    EXPECT_STREQ(byName[2].name, "NORMAL");
    EXPECT_STREQ(byName[3].name, "TIMEOUT");
    const ValueToIndex* byValue = kGoodbyeReason.byValue();
    EXPECT_EQ(byValue[0].value, 0);
    EXPECT_EQ(byValue[1].value, 1);
    EXPECT_EQ(byValue[2].value, 2);
    EXPECT_EQ(byValue[3].value, 2);
    EXPECT_EQ(byValue[2].index, 3u); // TIMEOUT, listed before LEGACY_TIMEOUT
    EXPECT_EQ(byValue[3].index, 1u);
    EXPECT_STREQ(kGoodbyeReason.typeName(), "GoodbyeReason");
}

TEST_F(DdlLogTest, TypedPairOfAProtocolEnumeration)
{
    GoodbyeReason reason = GOODBYE_NORMAL;
    EXPECT_TRUE(parseE("KICKED", reason));
    EXPECT_EQ(reason, GOODBYE_KICKED);
    EXPECT_TRUE(parseE("LEGACY_TIMEOUT", reason));
    EXPECT_EQ(reason, GOODBYE_TIMEOUT);
    EXPECT_FALSE(parseE("kicked", reason));
    EXPECT_EQ(reason, GOODBYE_TIMEOUT);

    std::string text;
    EXPECT_TRUE(printE(GOODBYE_NORMAL, text));
    EXPECT_EQ(text, "NORMAL");
    // Of two names for one value the one listed first is printed, whatever their order by name.
    EXPECT_TRUE(printE(GOODBYE_TIMEOUT, text));
    EXPECT_EQ(text, "TIMEOUT");
    EXPECT_TRUE(kLegacyFirst.print(GOODBYE_TIMEOUT, text));
    EXPECT_EQ(text, "LEGACY_TIMEOUT");
    EXPECT_FALSE(printE(static_cast<GoodbyeReason>(9), text));
    EXPECT_EQ(text, "9");
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0], "kapi_ddl.info: Invalid value for GoodbyeReason: 9");
}

TEST(DdlEnumeration, ScopedEnumerationsAndNegativeValues)
{
    Scoped value = Scoped::High;
    EXPECT_TRUE(kScoped.parse("Low", value));
    EXPECT_EQ(value, Scoped::Low);
    std::string text;
    EXPECT_TRUE(kScoped.print(Scoped::High, text));
    EXPECT_EQ(text, "High");
    EXPECT_TRUE(kScoped.print(-5, text));
    EXPECT_EQ(text, "Low");
}

TEST(DdlConsistency, RejectsBrokenTables)
{
    const StringToValue unsortedNames[] = {{"B", 1}, {"A", 2}};
    const ValueToIndex unsortedNamesValues[] = {{1, 0}, {2, 1}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(unsortedNames, unsortedNamesValues, 2));

    const StringToValue names[] = {{"A", 1}, {"B", 2}, {"C", 2}};
    const ValueToIndex good[] = {{1, 0}, {2, 2}, {2, 1}}; // equal values in any index order
    EXPECT_TRUE(Kapi::DDL::tablesAreConsistent(names, good, 3));
    const ValueToIndex unsortedValues[] = {{2, 1}, {1, 0}, {2, 2}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(names, unsortedValues, 3));
    const ValueToIndex repeatedIndex[] = {{1, 0}, {2, 1}, {2, 1}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(names, repeatedIndex, 3));
    const ValueToIndex wrongValue[] = {{1, 1}, {2, 0}, {2, 2}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(names, wrongValue, 3));
    const ValueToIndex outOfRange[] = {{1, 0}, {2, 1}, {2, 3}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(names, outOfRange, 3));

    const StringToValue repeatedName[] = {{"A", 1}, {"A", 2}};
    const ValueToIndex repeatedNameValues[] = {{1, 0}, {2, 1}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(repeatedName, repeatedNameValues, 2));
    const StringToValue nullName[] = {{nullptr, 1}};
    const ValueToIndex nullNameValues[] = {{1, 0}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(nullName, nullNameValues, 1));
}

TEST_F(DdlLogTest, RuntimeBuiltTableWithRepeatedNameIsReported)
{
    // Not constexpr, so the repeated name is reported instead of stopping the compilation.
    Kapi::Enumeration twice("Twice", {{"A", 1}, {"A", 2}});
    EXPECT_FALSE(twice.isConsistent());
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0],
              "kapi_ddl.error: Enumeration table for Twice is not sorted or not consistent");
}
