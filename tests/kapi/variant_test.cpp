// Variant and VariantVector: type selection, ownership, conversions, text forms, ordering.
#include "kapi/Variant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

using Kapi::KeyValueMap;
using Kapi::StringVector;
using Kapi::Variant;
using Kapi::VariantVector;

static_assert(!std::is_constructible_v<Variant, int*>, "pointers must not become Booleans");
static_assert(!std::is_constructible_v<Variant, const void*>);
static_assert(std::is_nothrow_move_constructible_v<Variant>);

TEST(VariantTypes, CodesAndShortNames)
{
    const struct
    {
        Variant::Type type;
        int code;
        const char* name;
    } rows[] = {{Variant::Undefined, 1, ""},    {Variant::Array, 2, "a"},
                {Variant::Boolean, 3, "b"},     {Variant::Double, 4, "d"},
                {Variant::Integer32, 5, "i32"}, {Variant::Integer64, 6, "i64"},
                {Variant::Map, 7, "m"},         {Variant::String, 8, "s"},
                {Variant::StringVector, 9, "v"}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.code, static_cast<int>(row.type));
        EXPECT_EQ(row.name, Variant::typeToString(row.type));
        Variant v;
        v.becomeOfType(row.type);
        EXPECT_EQ(row.type, v.getType());
        EXPECT_EQ(row.name, v.typeToString());
    }
    EXPECT_EQ("", Variant::typeToString(static_cast<Variant::Type>(0)));
    EXPECT_EQ("", Variant::typeToString(static_cast<Variant::Type>(42)));
    EXPECT_TRUE(Variant().isUndefined());
}

TEST(VariantTypes, ConstructorsPickTheTypeByCppType)
{
    const int64 wide = 7;
    const int32 narrow = 7;
    const uint32 small = 7;
    EXPECT_EQ(Variant::Integer32, Variant(5).getType());
    EXPECT_EQ(Variant::Integer32, Variant(narrow).getType());
    EXPECT_EQ(Variant::Integer32, Variant(static_cast<short>(5)).getType());
    EXPECT_EQ(Variant::Integer32, Variant('c').getType());
    EXPECT_EQ(Variant::Integer32, Variant(small).getType());
    EXPECT_EQ(Variant::Integer64, Variant(3000000000u).getType());
    EXPECT_EQ(3000000000LL, Variant(3000000000u).asInteger64());
    EXPECT_EQ(Variant::Integer64, Variant(5LL).getType());
    EXPECT_EQ(Variant::Integer64, Variant(5L).getType());
    EXPECT_EQ(Variant::Integer32, Variant(5UL).getType());
    EXPECT_EQ(Variant::Integer32, Variant(static_cast<size_t>(5)).getType());
    EXPECT_EQ(Variant::Integer64, Variant(0x80000000ULL).getType());
    EXPECT_EQ(-1, Variant(0xFFFFFFFFFFFFFFFFULL).asInteger64()); // wraps
    EXPECT_EQ(Variant::Integer64, Variant(wide).getType());
    EXPECT_EQ(Variant::Double, Variant(5.0).getType());
    EXPECT_EQ(Variant::Double, Variant(1.5f).getType());
    EXPECT_EQ(Variant::Boolean, Variant(true).getType());
    EXPECT_EQ(Variant::String, Variant("x").getType());
    char buffer[] = "mutable";
    EXPECT_EQ(Variant::String, Variant(buffer).getType());
    EXPECT_EQ(Variant::String, Variant(std::string("x")).getType());
    const Variant fromNull(static_cast<const char*>(nullptr));
    EXPECT_TRUE(fromNull.isString());
    EXPECT_EQ("", fromNull.asString());
    EXPECT_EQ(Variant::StringVector, Variant(StringVector{"a"}).getType());
    EXPECT_EQ(Variant::Array, Variant(VariantVector{1, 2}).getType());
    EXPECT_EQ(Variant::Map, Variant(KeyValueMap("k", 1)).getType());

    Variant v;
    v = 5;
    EXPECT_TRUE(v.isInteger32());
    v = 5LL;
    EXPECT_TRUE(v.isInteger64());
    v = "text";
    EXPECT_TRUE(v.isString());
    v = false;
    EXPECT_TRUE(v.isBoolean());
    v = 2.5;
    EXPECT_TRUE(v.isDouble());
}

TEST(VariantOwnership, CopiesAreDeepAndMovesLeaveUndefined)
{
    KeyValueMap inner;
    inner.addValue("list", VariantVector{1, "two"});
    Variant original(inner);
    Variant copy(original);
    copy.getMapReference().addValue("extra", true);
    copy.getMapReference().findValue("list")->getArrayReference().push_back(3);
    EXPECT_EQ(1u, original.getMapReference().size());
    EXPECT_EQ(2u, original.getMapReference().getValueAsArray("list").size());
    EXPECT_EQ(3u, copy.getMapReference().getValueAsArray("list").size());

    Variant moved(std::move(copy));
    EXPECT_TRUE(moved.isMap());
    EXPECT_TRUE(copy.isUndefined()); // NOLINT(bugprone-use-after-move): documented state
    Variant target("old");
    target = std::move(moved);
    EXPECT_TRUE(target.isMap());
    EXPECT_TRUE(moved.isUndefined()); // NOLINT(bugprone-use-after-move)
}

TEST(VariantOwnership, AssignmentFromAnOwnElementIsSafe)
{
    Variant v(VariantVector{Variant("first"), Variant(2)});
    v = v.getArrayReference()[0];
    EXPECT_EQ(Variant("first"), v);

    Variant w(VariantVector{VariantVector{1, 2}});
    w = std::move(w.getArrayReference()[0]);
    EXPECT_EQ(Variant(VariantVector{1, 2}), w);

    Variant self(StringVector{"a"});
    const Variant& alias = self;
    self = alias;
    EXPECT_EQ(StringVector{"a"}, self.asStringVector());
}

TEST(VariantOwnership, SwappingSettersAndReferences)
{
    VariantVector items{1, 2, 3};
    Variant v("was a string");
    v.setArrayBySwapping(items);
    EXPECT_TRUE(items.empty());
    EXPECT_EQ(3u, v.getArrayReference().size());
    VariantVector other{9};
    v.setArrayBySwapping(other);
    EXPECT_EQ(3u, other.size()); // the old contents come back
    EXPECT_EQ(1u, v.getArrayReference().size());

    KeyValueMap map("a", 1);
    Variant m;
    m.setMapBySwapping(map);
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(1, m.getMapReference().getValueAsInteger32("a"));

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
    EXPECT_EQ(Variant(""), scalar);
    scalar.becomeOfType(static_cast<Variant::Type>(99));
    EXPECT_TRUE(scalar.isUndefined());
}

TEST(VariantConversions, AsIntegers)
{
    EXPECT_EQ(0, Variant().asInteger32());
    EXPECT_EQ(2, Variant(VariantVector{1, 2}).asInteger32());
    EXPECT_EQ(1, Variant(true).asInteger32());
    EXPECT_EQ(0, Variant(false).asInteger64());
    EXPECT_EQ(3, Variant(3.9).asInteger32());
    EXPECT_EQ(-3, Variant(-3.9).asInteger32());
    EXPECT_EQ(-3, Variant(-3.9).asInteger64());
    EXPECT_EQ(7, Variant(7).asInteger64());
    EXPECT_EQ(-7, Variant(-7).asInteger64());
    // Integer64 -> 32 bits keeps the low half.
    EXPECT_EQ(5, Variant(0x100000005LL).asInteger32());
    EXPECT_EQ(std::numeric_limits<int32>::min(), Variant(0x80000000LL).asInteger32());
    EXPECT_EQ(-1, Variant(0xFFFFFFFFLL).asInteger32());
    EXPECT_EQ(-1, Variant(-1LL).asInteger32());
    EXPECT_EQ(1, Variant(KeyValueMap("a", 1)).asInteger32());
    EXPECT_EQ(42, Variant("42").asInteger32());
    EXPECT_EQ(0, Variant("4x").asInteger32());
    EXPECT_EQ(0, Variant("").asInteger32());
    EXPECT_EQ(0, Variant("99999999999").asInteger32()); // not an int32
    EXPECT_EQ(99999999999LL, Variant("99999999999").asInteger64());
    EXPECT_EQ(3, Variant(StringVector{"a", "b", "c"}).asInteger64());
}

TEST(VariantConversions, OutOfRangeDoublesSaturate)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(std::numeric_limits<int32>::max(), Variant(1e20).asInteger32());
    EXPECT_EQ(std::numeric_limits<int32>::min(), Variant(-1e20).asInteger32());
    EXPECT_EQ(std::numeric_limits<int32>::max(), Variant(2147483648.0).asInteger32());
    EXPECT_EQ(std::numeric_limits<int32>::max(), Variant(2147483647.5).asInteger32());
    EXPECT_EQ(std::numeric_limits<int32>::min(), Variant(-2147483648.5).asInteger32());
    EXPECT_EQ(std::numeric_limits<int64>::max(), Variant(inf).asInteger64());
    EXPECT_EQ(std::numeric_limits<int64>::min(), Variant(-inf).asInteger64());
    EXPECT_EQ(std::numeric_limits<int64>::max(), Variant(9223372036854775808.0).asInteger64());
    EXPECT_EQ(0, Variant(nan).asInteger32());
    EXPECT_EQ(0, Variant(nan).asInteger64());
}

TEST(VariantConversions, AsBooleanAndAsDouble)
{
    EXPECT_FALSE(Variant().asBoolean());
    EXPECT_FALSE(Variant(VariantVector()).asBoolean());
    EXPECT_TRUE(Variant(VariantVector{0}).asBoolean());
    EXPECT_FALSE(Variant(0.0).asBoolean());
    EXPECT_FALSE(Variant(-0.0).asBoolean());
    EXPECT_TRUE(Variant(0.5).asBoolean());
    EXPECT_TRUE(Variant(-1).asBoolean());
    EXPECT_FALSE(Variant(0LL).asBoolean());
    EXPECT_FALSE(Variant(KeyValueMap()).asBoolean());
    EXPECT_TRUE(Variant("TRUE").asBoolean());
    EXPECT_TRUE(Variant("2").asBoolean());
    EXPECT_TRUE(Variant("0x10").asBoolean());
    EXPECT_FALSE(Variant("no").asBoolean());
    EXPECT_FALSE(Variant("false").asBoolean());
    EXPECT_FALSE(Variant("").asBoolean());
    EXPECT_FALSE(Variant(StringVector()).asBoolean());
    EXPECT_TRUE(Variant(StringVector{""}).asBoolean());

    EXPECT_DOUBLE_EQ(2.5, Variant("2.5").asDouble());
    EXPECT_DOUBLE_EQ(0.0, Variant("2.5x").asDouble());
    EXPECT_DOUBLE_EQ(-4.0, Variant(-4).asDouble());
    EXPECT_DOUBLE_EQ(1e12, Variant(1000000000000LL).asDouble());
    EXPECT_DOUBLE_EQ(1.0, Variant(true).asDouble());
    EXPECT_DOUBLE_EQ(2.0, Variant(StringVector{"a", "b"}).asDouble());
    EXPECT_DOUBLE_EQ(0.0, Variant().asDouble());
}

TEST(VariantConversions, AsString)
{
    EXPECT_EQ("", Variant().asString());
    EXPECT_EQ("true", Variant(true).asString());
    EXPECT_EQ("false", Variant(false).valueToString());
    EXPECT_EQ("0.1", Variant(0.1).asString());
    EXPECT_EQ("1.23457e+06", Variant(1234567.0).asString());
    EXPECT_EQ("-12", Variant(-12).asString());
    EXPECT_EQ("-9223372036854775808", Variant(std::numeric_limits<long long>::min()).asString());
    EXPECT_EQ("1,a,true", Variant(VariantVector{1, "a", true}).asString());
    EXPECT_EQ("1,2,3", Variant(VariantVector{1, VariantVector{2, 3}}).asString());
    EXPECT_EQ("a,,b", Variant(StringVector{"a", "", "b"}).asString());
    KeyValueMap map;
    map.addValue("a", 1);
    map.addValue("b", "x;y");
    EXPECT_EQ("a=1;b=x%3by", Variant(map).asString());
}

TEST(VariantConversions, ContainerViews)
{
    EXPECT_EQ((StringVector{"a", "b", ""}), Variant("a,b,").asStringVector());
    EXPECT_TRUE(Variant("").asStringVector().empty());
    EXPECT_TRUE(Variant().asStringVector().empty());
    EXPECT_EQ((StringVector{"1", "x"}), Variant(VariantVector{1, "x"}).asStringVector());
    EXPECT_EQ((StringVector{"5"}), Variant(5).asStringVector());

    EXPECT_TRUE(Variant().asArray().empty());
    EXPECT_EQ((VariantVector{Variant(5)}), Variant(5).asArray());
    EXPECT_EQ((VariantVector{"a", "b"}), Variant(StringVector{"a", "b"}).asArray());

    const KeyValueMap parsed = Variant("a=1;b=x%3by").asMap();
    EXPECT_EQ("x;y", parsed.getValueAsString("b"));
    EXPECT_TRUE(Variant(5).asMap().empty());
    EXPECT_EQ(1u, Variant(KeyValueMap("k", 2)).asMap().size());
}

TEST(VariantText, TypedTextAndJson)
{
    EXPECT_EQ("5", Variant(5).toString(false));
    EXPECT_EQ("i32:5", Variant(5).toString(true));
    EXPECT_EQ("i64:5", Variant(5LL).toString(true));
    EXPECT_EQ("a:i32:1,s:x", Variant(VariantVector{1, "x"}).toString(true));
    EXPECT_EQ("m:k=s:v", Variant(KeyValueMap("k", "v")).toString(true));

    EXPECT_EQ("null", Variant().toJsonString());
    EXPECT_EQ("true", Variant(true).toJsonString());
    EXPECT_EQ("2.5", Variant(2.5).toJsonString());
    EXPECT_EQ("-3000000000", Variant(-3000000000LL).toJsonString());
    EXPECT_EQ("\"a\\\"b\\\\c\\n\"", Variant("a\"b\\c\n").toJsonString());
    EXPECT_EQ("[ 1, \"x\", null, [  ] ]",
              Variant(VariantVector{1, "x", Variant(), VariantVector()}).toJsonString());
    EXPECT_EQ("[ \"a\", \"b\" ]", Variant(StringVector{"a", "b"}).toJsonString());
    EXPECT_EQ("{ \"k\" : [ 1 ] }", Variant(KeyValueMap("k", VariantVector{1})).toJsonString());
}

TEST(VariantCompare, DifferentTypesOrderByTypeCode)
{
    const Variant ordered[] = {
        Variant(),     Variant(VariantVector{}), Variant(true), Variant(1e9),           Variant(-5),
        Variant(-5LL), Variant(KeyValueMap()),   Variant(""),   Variant(StringVector{})};
    for (size_t i = 0; i < std::size(ordered); ++i) {
        for (size_t j = 0; j < std::size(ordered); ++j) {
            const int c = ordered[i].compareTo(ordered[j]);
            if (i < j)
                EXPECT_LT(c, 0) << i << " " << j;
            else if (i > j)
                EXPECT_GT(c, 0) << i << " " << j;
            else
                EXPECT_EQ(0, c);
        }
    }
    // Equal numbers of different types are still different values.
    EXPECT_NE(Variant(5), Variant(5LL));
    EXPECT_NE(Variant(5), Variant(5.0));
}

TEST(VariantCompare, EqualTypesOrderByValue)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_LT(Variant(false).compareTo(Variant(true)), 0);
    EXPECT_LT(Variant(-2).compareTo(Variant(1)), 0);
    EXPECT_GT(Variant(5000000000LL).compareTo(Variant(-5000000000LL)), 0);
    EXPECT_LT(Variant(1.5).compareTo(Variant(2.5)), 0);
    EXPECT_EQ(0, Variant(0.0).compareTo(Variant(-0.0)));
    EXPECT_EQ(0, Variant(nan).compareTo(Variant(nan)));
    EXPECT_LT(Variant(nan).compareTo(Variant(-1e308)), 0);
    EXPECT_LT(Variant("a").compareTo(Variant("b")), 0);
    EXPECT_LT(Variant("a").compareTo(Variant("ab")), 0);
    EXPECT_LT(Variant("z").compareTo(Variant("\x80")), 0); // bytes compare unsigned
    EXPECT_LT(Variant(VariantVector{1, 2}).compareTo(Variant(VariantVector{1, 3})), 0);
    EXPECT_LT(Variant(VariantVector{1, 2}).compareTo(Variant(VariantVector{1, 2, 0})), 0);
    EXPECT_GT(Variant(VariantVector{2}).compareTo(Variant(VariantVector{1, 9})), 0);
    EXPECT_LT(Variant(StringVector{"a"}).compareTo(Variant(StringVector{"a", ""})), 0);
    EXPECT_LT(Variant(KeyValueMap("a", 1)).compareTo(Variant(KeyValueMap("a", 2))), 0);
    EXPECT_LT(Variant(KeyValueMap("a", 9)).compareTo(Variant(KeyValueMap("b", 1))), 0);
    EXPECT_EQ(0, Variant(KeyValueMap("a", VariantVector{1}))
                     .compareTo(Variant(KeyValueMap("a", VariantVector{1}))));
}

TEST(VariantImpliedType, FromText)
{
    const Variant twelve = Variant::fromStringImpliedType("12");
    EXPECT_TRUE(twelve.isDouble());
    EXPECT_DOUBLE_EQ(12.0, twelve.asDouble());
    EXPECT_EQ(Variant(true), Variant::fromStringImpliedType("true"));
    EXPECT_EQ(Variant(false), Variant::fromStringImpliedType("false"));
    EXPECT_EQ(Variant("x1"), Variant::fromStringImpliedType("x1"));
    EXPECT_EQ(Variant("True"), Variant::fromStringImpliedType("True"));
    EXPECT_EQ(Variant(-2.5), Variant::fromStringImpliedType("-2.5"));
    EXPECT_EQ(Variant("12 "), Variant::fromStringImpliedType("12 "));
}

TEST(VariantVectorTest, TypedGettersAndConversions)
{
    const VariantVector v{Variant("7"), Variant(true), Variant(0x100000002LL), Variant("a,b")};
    EXPECT_EQ(7, v.getValueAsInteger32(0));
    EXPECT_EQ("true", v.getValueAsString(1));
    EXPECT_TRUE(v.getValueAsBoolean(1));
    EXPECT_EQ(2, v.getValueAsInteger32(2));
    EXPECT_EQ(0x100000002LL, v.getValueAsInteger64(2));
    EXPECT_EQ((StringVector{"a", "b"}), v.getValueAsStringVector(3));
    // Past the end reads as Undefined.
    EXPECT_EQ("", v.getValueAsString(4));
    EXPECT_EQ(0, v.getValueAsInteger64(100));
    EXPECT_FALSE(v.getValueAsBoolean(100));
    EXPECT_TRUE(v.getValueAsStringVector(100).empty());

    const VariantVector ints = VariantVector::fromInt32Vector({-1, 0, 2147483647});
    EXPECT_EQ(Variant::Integer32, ints[0].getType());
    EXPECT_EQ((std::vector<int32>{-1, 0, 2147483647}), ints.toInt32Vector());
    const VariantVector uints = VariantVector::fromUInt32Vector({1, 4294967295u});
    EXPECT_EQ(Variant::Integer32, uints[0].getType());
    EXPECT_EQ(Variant::Integer64, uints[1].getType());
    EXPECT_EQ((std::vector<uint32>{1, 4294967295u}), uints.toUInt32Vector());
    EXPECT_EQ((std::vector<uint32>{4294967295u}), VariantVector{-1}.toUInt32Vector());
    const VariantVector strings = VariantVector::fromStringVector({"x", "5"});
    EXPECT_EQ(Variant::String, strings[1].getType());
    EXPECT_EQ((StringVector{"x", "5"}), strings.toStringVector());
    EXPECT_EQ((StringVector{"1", "2.5"}), (VariantVector{1, 2.5}).toStringVector());
}

TEST(VariantVectorTest, AppendParseAndText)
{
    VariantVector v{1};
    v.append(Variant("two"));
    v.append(VariantVector{3, 4});
    EXPECT_EQ(4u, v.size());
    v.append(v);
    EXPECT_EQ(8u, v.size());
    EXPECT_EQ("1,two,3,4,1,two,3,4", v.toString());
    EXPECT_EQ("i32:1,s:two", (VariantVector{1, "two"}).toString(true));

    VariantVector parsed{99};
    EXPECT_TRUE(VariantVector::parse("a,,b", parsed));
    EXPECT_EQ((VariantVector{"a", "", "b"}), parsed);
    EXPECT_TRUE(VariantVector::parse("", parsed));
    EXPECT_TRUE(parsed.empty());

    EXPECT_EQ("[  ]", VariantVector().toJsonString());
    EXPECT_EQ("[ 1, \"a\", true, { \"k\" : null } ]",
              (VariantVector{1, "a", true, KeyValueMap("k", Variant())}).toJsonString());
}
