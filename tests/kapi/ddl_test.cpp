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
static_assert(kGoodbyeReason.isConsistent() && kGoodbyeReason.size() == 4);
constexpr Kapi::Enumeration kLegacyFirst("GoodbyeReason", {{"LEGACY_TIMEOUT", GOODBYE_TIMEOUT},
                                                           {"TIMEOUT", GOODBYE_TIMEOUT}});

enum class Scoped : int
{
    Low = -5,
    High = 40
};
constexpr Kapi::Enumeration kScoped("Scoped", {{"High", static_cast<int>(Scoped::High)},
                                               {"Low", static_cast<int>(Scoped::Low)}});

} // namespace

TEST(DdlTables, ParseFindsExactNamesAndPrintReportsMissingValues)
{
    LogCapture capture(VLOGSRC_KAPI_DDL, VLOG_INFO);
    int value = -1;
    std::string name;
    for (unsigned i = 0; i < kColourCount; ++i) {
        ASSERT_TRUE(Kapi::DDL::parseEnum(kColourNames[i].name, kColourNames, kColourCount, value));
        EXPECT_EQ(value, kColourNames[i].value);
        EXPECT_TRUE(
            Kapi::DDL::printEnum(value, "Colour", kColourValues, kColourNames, kColourCount, name));
        EXPECT_EQ(name, kColourNames[i].name);
    }
    value = -1;
    const std::string misses[] = {"", "red", "BLU", "BLUEE", "A", "Z", "GREEN ", {"RED\0X", 5}};
    for (const std::string& text : misses)
        EXPECT_FALSE(Kapi::DDL::parseEnum(text, kColourNames, kColourCount, value)) << text;
    EXPECT_FALSE(Kapi::DDL::parseEnum("RED", kColourNames, 0, value));
    EXPECT_EQ(value, -1);
    EXPECT_TRUE(capture.summary().empty());

    for (int missing : {5, -12, 8}) {
        EXPECT_FALSE(Kapi::DDL::printEnum(missing, "Colour", kColourValues, kColourNames,
                                          kColourCount, name));
        EXPECT_EQ(name, std::to_string(missing));
    }
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{"kapi_ddl.info: Invalid value for Colour: 5",
                                        "kapi_ddl.info: Invalid value for Colour: -12",
                                        "kapi_ddl.info: Invalid value for Colour: 8"}));
}

TEST(DdlEnumeration, SortsTheDeclaredPairsAndPrintsTheFirstListedAlias)
{
    std::string byName, byValue;
    for (unsigned i = 0; i < kGoodbyeReason.size(); ++i) {
        byName += std::string(kGoodbyeReason.byName()[i].name) + "=" +
                  std::to_string(kGoodbyeReason.byName()[i].value) + " ";
        byValue += std::to_string(kGoodbyeReason.byValue()[i].value) + ">" +
                   std::to_string(kGoodbyeReason.byValue()[i].index) + " ";
    }
    EXPECT_EQ(byName, "KICKED=1 LEGACY_TIMEOUT=2 NORMAL=0 TIMEOUT=2 ");
    // TIMEOUT (index 3) was listed before LEGACY_TIMEOUT (index 1).
    EXPECT_EQ(byValue, "0>2 1>0 2>3 2>1 ");
    EXPECT_STREQ(kGoodbyeReason.typeName(), "GoodbyeReason");

    LogCapture capture(VLOGSRC_KAPI_DDL, VLOG_INFO);
    GoodbyeReason reason = GOODBYE_NORMAL;
    EXPECT_TRUE(kGoodbyeReason.parse("KICKED", reason));
    EXPECT_EQ(reason, GOODBYE_KICKED);
    EXPECT_TRUE(kGoodbyeReason.parse("LEGACY_TIMEOUT", reason));
    EXPECT_EQ(reason, GOODBYE_TIMEOUT);
    EXPECT_FALSE(kGoodbyeReason.parse("kicked", reason));
    EXPECT_EQ(reason, GOODBYE_TIMEOUT);
    std::string text;
    EXPECT_TRUE(kGoodbyeReason.print(GOODBYE_NORMAL, text));
    EXPECT_EQ(text, "NORMAL");
    EXPECT_TRUE(kGoodbyeReason.print(GOODBYE_TIMEOUT, text));
    EXPECT_EQ(text, "TIMEOUT");
    EXPECT_TRUE(kLegacyFirst.print(GOODBYE_TIMEOUT, text));
    EXPECT_EQ(text, "LEGACY_TIMEOUT");
    EXPECT_FALSE(kGoodbyeReason.print(static_cast<GoodbyeReason>(9), text));
    EXPECT_EQ(text, "9");
    EXPECT_EQ(capture.summary(),
              std::vector<std::string>{"kapi_ddl.info: Invalid value for GoodbyeReason: 9"});

    // Scoped enumerations and negative values.
    Scoped value = Scoped::High;
    EXPECT_TRUE(kScoped.parse("Low", value));
    EXPECT_EQ(value, Scoped::Low);
    EXPECT_TRUE(kScoped.print(Scoped::High, text));
    EXPECT_EQ(text, "High");
    EXPECT_TRUE(kScoped.print(-5, text));
    EXPECT_EQ(text, "Low");
}

TEST(DdlConsistency, RejectsBrokenTables)
{
    const StringToValue unsortedNames[] = {{"B", 1}, {"A", 2}};
    const StringToValue repeatedName[] = {{"A", 1}, {"A", 2}};
    const ValueToIndex twoValues[] = {{1, 0}, {2, 1}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(unsortedNames, twoValues, 2));
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(repeatedName, twoValues, 2));
    const StringToValue nullName[] = {{nullptr, 1}};
    const ValueToIndex oneValue[] = {{1, 0}};
    EXPECT_FALSE(Kapi::DDL::tablesAreConsistent(nullName, oneValue, 1));

    const StringToValue names[] = {{"A", 1}, {"B", 2}, {"C", 2}};
    const ValueToIndex values[][3] = {
        {{1, 0}, {2, 2}, {2, 1}}, // good: equal values in any index order
        {{2, 1}, {1, 0}, {2, 2}}, // values not sorted
        {{1, 0}, {2, 1}, {2, 1}}, // an index twice
        {{1, 1}, {2, 0}, {2, 2}}, // a value that is not its name's
        {{1, 0}, {2, 1}, {2, 3}}, // an index out of range
    };
    for (size_t i = 0; i < std::size(values); ++i)
        EXPECT_EQ(Kapi::DDL::tablesAreConsistent(names, values[i], 3), i == 0) << i;

    // Not constexpr, so the repeated name is reported instead of stopping the compilation.
    LogCapture capture(VLOGSRC_KAPI_DDL, VLOG_INFO);
    EXPECT_FALSE(Kapi::Enumeration("Twice", {{"A", 1}, {"A", 2}}).isConsistent());
    EXPECT_EQ(capture.summary(), std::vector<std::string>{"kapi_ddl.error: Enumeration table for "
                                                          "Twice is not sorted or not consistent"});
}
