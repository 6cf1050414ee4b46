// Variant and VariantVector: type selection, ownership, conversions, text forms, ordering.
#include "kapi/Variant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <type_traits>

using Kapi::KeyValueMap;
using Kapi::StringVector;
using Kapi::Variant;
using Kapi::VariantVector;

static_assert(!std::is_constructible_v<Variant, int*>, "pointers must not become Booleans");
static_assert(!std::is_constructible_v<Variant, const void*>);
static_assert(std::is_nothrow_move_constructible_v<Variant>);

namespace {

// Applies `f` to each value and joins the results with spaces, so that one line states a whole
// row of cases.
template <typename F> std::string each(std::initializer_list<Variant> values, F f)
{
    std::ostringstream out;
    for (const Variant& v : values)
        out << (&v == values.begin() ? "" : " ") << f(v);
    return out.str();
}

const auto typeOf = [](const Variant& v) { return v.typeToString(); };
const auto asI32 = [](const Variant& v) { return v.asInteger32(); };
const auto asI64 = [](const Variant& v) { return v.asInteger64(); };
const auto asBool = [](const Variant& v) { return v.asBoolean(); };
const auto asDouble = [](const Variant& v) { return v.asDouble(); };
const auto asText = [](const Variant& v) { return "'" + v.asString() + "'"; };

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

} // namespace

TEST(VariantTypes, CodesShortNamesAndConstructors)
{
    const char* const names[] = {"", "a", "b", "d", "i32", "i64", "m", "s", "v"};
    for (int code = 1; code <= 9; ++code) {
        const Variant::Type type = static_cast<Variant::Type>(code);
        EXPECT_EQ(Variant::typeToString(type), names[code - 1]);
        Variant v;
        v.becomeOfType(type);
        EXPECT_EQ(v.getType(), type);
    }
    EXPECT_EQ(Variant::typeToString(static_cast<Variant::Type>(0)), "");
    EXPECT_EQ(Variant::typeToString(static_cast<Variant::Type>(42)), "");

    // The C++ type picks the Variant type; unsigned values that do not fit 32 bits widen.
    const int64 wide = 7;
    const int32 narrow = 7;
    const uint32 small = 7;
    char buffer[] = "mutable";
    EXPECT_EQ(each({Variant(), Variant(5), Variant(narrow), Variant(short(5)), Variant('c'),
                    Variant(small), Variant(5UL), Variant(size_t(5)), Variant(3000000000u),
                    Variant(5LL), Variant(5L), Variant(0x80000000ULL), Variant(wide)},
                   typeOf),
              " i32 i32 i32 i32 i32 i32 i32 i64 i64 i64 i64 i64");
    EXPECT_EQ(each({Variant(5.0), Variant(1.5f), Variant(true), Variant("x"), Variant(buffer),
                    Variant(std::string("x")), Variant(static_cast<const char*>(nullptr)),
                    Variant(StringVector{"a"}), Variant(VariantVector{1}), Variant(KeyValueMap())},
                   typeOf),
              "d d b s s s s v a m");
    EXPECT_EQ(each({Variant(3000000000u), Variant(0xFFFFFFFFFFFFFFFFULL)}, asI64), "3000000000 -1");
    EXPECT_EQ(Variant(static_cast<const char*>(nullptr)).asString(), "");
}

TEST(VariantOwnership, CopiesAreDeepMovesLeaveUndefinedAndSelfAssignmentIsSafe)
{
    KeyValueMap inner("list", VariantVector{1, "two"});
    Variant original(inner);
    Variant copy(original);
    copy.getMapReference().addValue("extra", true);
    copy.getMapReference().findValue("list")->getArrayReference().push_back(3);
    EXPECT_EQ(original.toString(true), "m:list=a:i32:1,s:two");
    EXPECT_EQ(copy.getMapReference().getValueAsArray("list").size(), 3u);

    Variant moved(std::move(copy));
    EXPECT_TRUE(moved.isMap());
    EXPECT_TRUE(copy.isUndefined()); // NOLINT(bugprone-use-after-move): documented state
    Variant target("old");
    target = std::move(moved);
    EXPECT_TRUE(target.isMap());
    EXPECT_TRUE(moved.isUndefined()); // NOLINT(bugprone-use-after-move)

    Variant v(VariantVector{Variant("first"), Variant(2)});
    v = v.getArrayReference()[0];
    EXPECT_EQ(v, Variant("first"));
    Variant w(VariantVector{VariantVector{1, 2}});
    w = std::move(w.getArrayReference()[0]);
    EXPECT_EQ(w, Variant(VariantVector{1, 2}));
    Variant self(StringVector{"a"});
    const Variant& alias = self;
    self = alias;
    EXPECT_EQ(self.asStringVector(), StringVector{"a"});
}

TEST(VariantOwnership, SwappingSettersAndReferences)
{
    VariantVector items{1, 2, 3}, other{9};
    Variant v("was a string");
    v.setArrayBySwapping(items);
    EXPECT_TRUE(items.empty());
    v.setArrayBySwapping(other);
    EXPECT_EQ(other.size(), 3u); // the old contents come back
    EXPECT_EQ(v.getArrayReference().size(), 1u);
    KeyValueMap map("a", 1);
    v.setMapBySwapping(map);
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(v.getMapReference().getValueAsInteger32("a"), 1);

    Variant scalar(5);
    const Variant& constScalar = scalar;
    EXPECT_TRUE(constScalar.getArrayReference().empty());
    EXPECT_TRUE(constScalar.getMapReference().empty());
    EXPECT_TRUE(scalar.isInteger32()); // const access does not convert
    scalar.getMapReference().addValue("k", "v");
    EXPECT_TRUE(scalar.isMap());
    scalar.clear();
    EXPECT_TRUE(scalar.isUndefined());
    scalar = "x";
    scalar.free();
    EXPECT_TRUE(scalar.isUndefined());
    scalar.allocate(Variant::String);
    EXPECT_EQ(scalar, Variant(""));
    scalar.becomeOfType(static_cast<Variant::Type>(99));
    EXPECT_TRUE(scalar.isUndefined());
}

TEST(VariantConversions, Numbers)
{
    // Integer64 to 32 bits keeps the low half; text must convert whole.
    EXPECT_EQ(each({Variant(), Variant(VariantVector{1, 2}), Variant(true), Variant(3.9),
                    Variant(-3.9), Variant(0x100000005LL), Variant(0x80000000LL),
                    Variant(0xFFFFFFFFLL), Variant(-1LL), Variant(KeyValueMap("a", 1)),
                    Variant("42"), Variant("4x"), Variant(""), Variant("99999999999")},
                   asI32),
              "0 2 1 3 -3 5 -2147483648 -1 -1 1 42 0 0 0");
    EXPECT_EQ(each({Variant(false), Variant(-3.9), Variant(-7), Variant("99999999999"),
                    Variant(StringVector{"a", "b", "c"})},
                   asI64),
              "0 -3 -7 99999999999 3");
    // Doubles out of range saturate; NaN is 0.
    EXPECT_EQ(each({Variant(1e20), Variant(-1e20), Variant(2147483648.0), Variant(2147483647.5),
                    Variant(-2147483648.5), Variant(kNan)},
                   asI32),
              "2147483647 -2147483648 2147483647 2147483647 -2147483648 0");
    EXPECT_EQ(
        each({Variant(kInf), Variant(-kInf), Variant(9223372036854775808.0), Variant(kNan)}, asI64),
        "9223372036854775807 -9223372036854775808 9223372036854775807 0");

    EXPECT_EQ(each({Variant("2.5"), Variant("2.5x"), Variant(-4), Variant(1000000000000LL),
                    Variant(true), Variant(StringVector{"a", "b"}), Variant()},
                   asDouble),
              "2.5 0 -4 1e+12 1 2 0");
    EXPECT_EQ(each({Variant(), Variant(VariantVector()), Variant(VariantVector{0}), Variant(0.0),
                    Variant(-0.0), Variant(0.5), Variant(-1), Variant(0LL), Variant(KeyValueMap())},
                   asBool),
              "0 0 1 0 0 1 1 0 0");
    EXPECT_EQ(each({Variant("TRUE"), Variant("2"), Variant("0x10"), Variant("no"), Variant("false"),
                    Variant(""), Variant(StringVector()), Variant(StringVector{""})},
                   asBool),
              "1 1 1 0 0 0 0 1");
}

TEST(VariantConversions, TextAndContainerViews)
{
    EXPECT_EQ(
        each({Variant(), Variant(true), Variant(false), Variant(0.1), Variant(1234567.0),
              Variant(-12), Variant(std::numeric_limits<long long>::min()),
              Variant(VariantVector{1, "a", true}), Variant(VariantVector{1, VariantVector{2, 3}}),
              Variant(StringVector{"a", "", "b"}), Variant(KeyValueMap("a", 1, "b", "x;y"))},
             asText),
        "'' 'true' 'false' '0.1' '1.23457e+06' '-12' '-9223372036854775808' '1,a,true' "
        "'1,2,3' 'a,,b' 'a=1;b=x%3by'");

    EXPECT_EQ(Variant("a,b,").asStringVector(), (StringVector{"a", "b", ""}));
    EXPECT_TRUE(Variant("").asStringVector().empty());
    EXPECT_TRUE(Variant().asStringVector().empty());
    EXPECT_EQ(Variant(VariantVector{1, "x"}).asStringVector(), (StringVector{"1", "x"}));
    EXPECT_EQ(Variant(5).asStringVector(), StringVector{"5"});
    EXPECT_TRUE(Variant().asArray().empty());
    EXPECT_EQ(Variant(5).asArray(), VariantVector{Variant(5)});
    EXPECT_EQ(Variant(StringVector{"a", "b"}).asArray(), (VariantVector{"a", "b"}));
    EXPECT_EQ(Variant("a=1;b=x%3by").asMap().getValueAsString("b"), "x;y");
    EXPECT_TRUE(Variant(5).asMap().empty());
    EXPECT_EQ(Variant(KeyValueMap("k", 2)).asMap().size(), 1u);

    EXPECT_EQ(Variant(5).toString(false), "5");
    EXPECT_EQ(Variant(5).toString(true), "i32:5");
    EXPECT_EQ(Variant(5LL).toString(true), "i64:5");
    EXPECT_EQ(Variant(VariantVector{1, "x"}).toString(true), "a:i32:1,s:x");
    EXPECT_EQ(Variant(KeyValueMap("k", "v")).toString(true), "m:k=s:v");
    EXPECT_EQ(
        each({Variant(), Variant(true), Variant(2.5), Variant(-3000000000LL), Variant("a\"b\\c\n"),
              Variant(VariantVector{1, "x", Variant(), VariantVector()}),
              Variant(StringVector{"a", "b"}), Variant(KeyValueMap("k", VariantVector{1}))},
             [](const Variant& v) { return v.toJsonString(); }),
        R"(null true 2.5 -3000000000 "a\"b\\c\n" [ 1, "x", null, [  ] ] [ "a", "b" ] )"
        R"({ "k" : [ 1 ] })");

    // Only "true", "false" and whole numbers (as doubles) take a type of their own.
    EXPECT_EQ(each({"12", "true", "false", "x1", "True", "-2.5", "12 "},
                   [](const Variant& v) {
                       return Variant::fromStringImpliedType(v.asString()).toString(true);
                   }),
              "d:12 b:true b:false s:x1 s:True d:-2.5 s:12 ");
}

TEST(VariantCompare, TypesOrderByCodeThenByValue)
{
    const Variant ordered[] = {
        Variant(),     Variant(VariantVector{}), Variant(true), Variant(1e9),           Variant(-5),
        Variant(-5LL), Variant(KeyValueMap()),   Variant(""),   Variant(StringVector{})};
    for (size_t i = 0; i < std::size(ordered); ++i) {
        for (size_t j = 0; j < std::size(ordered); ++j) {
            const int c = ordered[i].compareTo(ordered[j]);
            EXPECT_EQ(c < 0 ? -1 : c > 0 ? 1 : 0, i < j ? -1 : i > j ? 1 : 0) << i << " " << j;
        }
    }
    // Equal numbers of different types are still different values.
    EXPECT_NE(Variant(5), Variant(5LL));
    EXPECT_NE(Variant(5), Variant(5.0));

    // Consecutive pairs, each in ascending order; bytes compare unsigned; NaN is below every
    // number.
    const Variant scalars[] = {false, true,   -2,  1,   -5000000000LL, 5000000000LL, 1.5, 2.5,
                               kNan,  -1e308, "a", "b", "a",           "ab",         "z", "\x80"};
    const Variant containers[] = {
        VariantVector{1, 2}, VariantVector{1, 3}, VariantVector{1, 2}, VariantVector{1, 2, 0},
        VariantVector{1, 9}, VariantVector{2},    StringVector{"a"},   StringVector{"a", ""},
        KeyValueMap("a", 1), KeyValueMap("a", 2), KeyValueMap("a", 9), KeyValueMap("b", 1)};
    auto checkPairs = [](const auto& ascending) {
        for (size_t i = 0; i < std::size(ascending); i += 2) {
            EXPECT_LT(ascending[i].compareTo(ascending[i + 1]), 0) << ascending[i].toString(true);
            EXPECT_GT(ascending[i + 1].compareTo(ascending[i]), 0) << ascending[i].toString(true);
        }
    };
    checkPairs(scalars);
    checkPairs(containers);
    EXPECT_EQ(Variant(0.0).compareTo(Variant(-0.0)), 0);
    EXPECT_EQ(Variant(kNan).compareTo(Variant(kNan)), 0);
    EXPECT_EQ(Variant(KeyValueMap("a", VariantVector{1})),
              Variant(KeyValueMap("a", VariantVector{1})));
}

TEST(VariantVectorTest, TypedGettersConversionsAndText)
{
    const VariantVector v{Variant("7"), Variant(true), Variant(0x100000002LL), Variant("a,b")};
    EXPECT_EQ(v.getValueAsInteger32(0), 7);
    EXPECT_EQ(v.getValueAsString(1), "true");
    EXPECT_TRUE(v.getValueAsBoolean(1));
    EXPECT_EQ(v.getValueAsInteger32(2), 2);
    EXPECT_EQ(v.getValueAsInteger64(2), 0x100000002LL);
    EXPECT_EQ(v.getValueAsStringVector(3), (StringVector{"a", "b"}));
    // Past the end reads as Undefined.
    EXPECT_EQ(v.getValueAsString(4), "");
    EXPECT_EQ(v.getValueAsInteger64(100), 0);
    EXPECT_FALSE(v.getValueAsBoolean(100));
    EXPECT_TRUE(v.getValueAsStringVector(100).empty());

    const VariantVector ints = VariantVector::fromInt32Vector({-1, 0, 2147483647});
    EXPECT_EQ(ints.toString(true), "i32:-1,i32:0,i32:2147483647");
    EXPECT_EQ(ints.toInt32Vector(), (std::vector<int32>{-1, 0, 2147483647}));
    const VariantVector uints = VariantVector::fromUInt32Vector({1, 4294967295u});
    EXPECT_EQ(uints.toString(true), "i32:1,i64:4294967295");
    EXPECT_EQ(uints.toUInt32Vector(), (std::vector<uint32>{1, 4294967295u}));
    EXPECT_EQ(VariantVector{-1}.toUInt32Vector(), std::vector<uint32>{4294967295u});
    EXPECT_EQ(VariantVector::fromStringVector({"x", "5"}).toString(true), "s:x,s:5");
    EXPECT_EQ(VariantVector::fromStringVector({"x", "5"}).toStringVector(),
              (StringVector{"x", "5"}));
    EXPECT_EQ((VariantVector{1, 2.5}).toStringVector(), (StringVector{"1", "2.5"}));

    VariantVector appended{1};
    appended.append(Variant("two"));
    appended.append(VariantVector{3, 4});
    appended.append(appended);
    EXPECT_EQ(appended.toString(), "1,two,3,4,1,two,3,4");
    VariantVector parsed{99};
    EXPECT_TRUE(VariantVector::parse("a,,b", parsed));
    EXPECT_EQ(parsed, (VariantVector{"a", "", "b"}));
    EXPECT_TRUE(VariantVector::parse("", parsed));
    EXPECT_TRUE(parsed.empty());
    EXPECT_EQ(VariantVector().toJsonString(), "[  ]");
    EXPECT_EQ((VariantVector{1, "a", true, KeyValueMap("k", Variant())}).toJsonString(),
              "[ 1, \"a\", true, { \"k\" : null } ]");
}
