// KeyValueMap: entry access, the compact text form and its escaping, the JSON form, ordering.
#include "kapi/KeyValueMap.h"

#include <gtest/gtest.h>

#include <random>

using Kapi::KeyValueMap;
using Kapi::StringVector;
using Kapi::Variant;
using Kapi::VariantVector;

TEST(KeyValueMapEntries, AddReplaceAndTypes)
{
    KeyValueMap map;
    const int64 wide = 1;
    map.addValue("i", 5);
    map.addValue("l", wide);
    map.addValue("b", true);
    map.addValue("c", "text");
    map.addValue("s", std::string("str"));
    map.addValue("v", Variant(2.5));
    EXPECT_TRUE(map.hasValue("i", Variant::Integer32));
    EXPECT_TRUE(map.hasValue("l", Variant::Integer64));
    EXPECT_TRUE(map.hasValue("b", Variant::Boolean));
    EXPECT_TRUE(map.hasValue("c", Variant::String));
    EXPECT_TRUE(map.hasValue("s", Variant::String));
    EXPECT_TRUE(map.hasValue("v", Variant::Double));
    EXPECT_FALSE(map.hasValue("i", Variant::Integer64));
    EXPECT_FALSE(map.hasValue("missing"));

    map.setValue("i", "replaced");
    EXPECT_EQ(6u, map.size());
    EXPECT_EQ(Variant("replaced"), map.getValue("i"));

    KeyValueMap more("i", 7, "new", VariantVector{1});
    map.addValues(more);
    EXPECT_EQ(7u, map.size());
    EXPECT_EQ(7, map.getValueAsInteger32("i"));
    map.addValues(map);
    EXPECT_EQ(7u, map.size());

    EXPECT_TRUE(map.removeValue("new"));
    EXPECT_FALSE(map.removeValue("new"));
    EXPECT_EQ(6u, map.size());
}

TEST(KeyValueMapEntries, ConvertedGettersAndAbsentKeys)
{
    KeyValueMap map;
    map.addValue("n", "42");
    map.addValue("big", 0x100000001LL);
    map.addValue("list", "a,b");
    map.addValue("arr", VariantVector{1, 2});
    EXPECT_EQ(42, map.getValueAsInteger32("n"));
    EXPECT_EQ(1, map.getValueAsInteger32("big"));
    EXPECT_EQ(0x100000001LL, map.getValueAsInteger64("big"));
    EXPECT_TRUE(map.getValueAsBoolean("n"));
    EXPECT_EQ((StringVector{"a", "b"}), map.getValueAsStringVector("list"));
    EXPECT_EQ((VariantVector{1, 2}), map.getValueAsArray("arr"));
    EXPECT_EQ("1,2", map.getValueAsString("arr"));

    EXPECT_TRUE(map.getValue("none").isUndefined());
    EXPECT_EQ("", map.getValueAsString("none"));
    EXPECT_EQ(0, map.getValueAsInteger32("none"));
    EXPECT_EQ(0, map.getValueAsInteger64("none"));
    EXPECT_FALSE(map.getValueAsBoolean("none"));
    EXPECT_TRUE(map.getValueAsStringVector("none").empty());
    EXPECT_TRUE(map.getValueAsArray("none").empty());
    EXPECT_EQ(nullptr, map.findValue("none"));
}

TEST(KeyValueMapEntries, FourPairConstructorSkipsNullNames)
{
    const KeyValueMap none(nullptr, 1, nullptr, 2, nullptr, 3, nullptr, 4);
    EXPECT_TRUE(none.empty());
    const KeyValueMap some("a", 1, nullptr, 2, "c", "three");
    EXPECT_EQ(2u, some.size());
    EXPECT_EQ(1, some.getValueAsInteger32("a"));
    EXPECT_FALSE(some.hasValue("b"));
    EXPECT_EQ("three", some.getValueAsString("c"));
    const KeyValueMap all("w", 1, "x", 2, "y", 3, "z", 4);
    EXPECT_EQ("w=1;x=2;y=3;z=4", all.toString(false));
}

TEST(KeyValueMapOrder, KeysAreInByteOrder)
{
    KeyValueMap map;
    for (const char* key : {"b", "\xc3\xa9", "B", "a", "", "ab", "~"})
        map.addValue(key, 1);
    std::vector<std::string> keys;
    for (const auto& entry : map)
        keys.push_back(entry.first);
    EXPECT_EQ((std::vector<std::string>{"", "B", "a", "ab", "b", "~", "\xc3\xa9"}), keys);
}

TEST(KeyValueMapCompact, ExactFormAndEscaping)
{
    KeyValueMap map;
    map.addValue("a", 1);
    map.addValue("b", "x;y");
    EXPECT_EQ("a=1;b=x%3by", map.toString(false));
    KeyValueMap back;
    EXPECT_TRUE(KeyValueMap::parse("a=1;b=x%3by", back));
    EXPECT_EQ(Variant("1"), back.getValue("a"));
    EXPECT_EQ(Variant("x;y"), back.getValue("b"));

    KeyValueMap special;
    special.addValue("k%=;", "50% = half; ok");
    EXPECT_EQ("k%25%3d%3b=50%25 %3d half%3b ok", special.toString(false));
    EXPECT_EQ("", KeyValueMap().toString(false));
    EXPECT_EQ("a=i32:1;b=s:x%3by", map.toString(true));

    KeyValueMap nested;
    nested.addValue("m", map);
    nested.addValue("t", true);
    EXPECT_EQ("m=a%3d1%3bb%3dx%253by;t=true", nested.toString(false));
}

TEST(KeyValueMapCompact, UnescapeIsExact)
{
    EXPECT_EQ("%;=", KeyValueMap::unescape("%25%3b%3d"));
    EXPECT_EQ("%3B%3D", KeyValueMap::unescape("%3B%3D")); // only the lower-case forms
    EXPECT_EQ("%41%", KeyValueMap::unescape("%41%"));
    EXPECT_EQ("%2", KeyValueMap::unescape("%2"));
    EXPECT_EQ("%=", KeyValueMap::unescape("%%3d"));
    EXPECT_EQ("%3b", KeyValueMap::unescape("%253b"));
}

TEST(KeyValueMapCompact, ParseIgnoresMalformedPiecesAndClearsOutput)
{
    KeyValueMap out("stale", 1);
    EXPECT_TRUE(KeyValueMap::parse("a=b=c;d;=e;f=;;g=h", out));
    EXPECT_EQ(3u, out.size());
    EXPECT_EQ(Variant("e"), out.getValue(""));
    EXPECT_EQ(Variant(""), out.getValue("f"));
    EXPECT_EQ(Variant("h"), out.getValue("g"));
    EXPECT_FALSE(out.hasValue("stale"));
    EXPECT_FALSE(out.hasValue("a"));

    EXPECT_TRUE(KeyValueMap::parse("", out));
    EXPECT_TRUE(out.empty());
    EXPECT_TRUE(KeyValueMap::parse("k=1;k=2", out));
    EXPECT_EQ(Variant("2"), out.getValue("k"));
}

TEST(KeyValueMapCompact, RandomStringMapsRoundTrip)
{
    std::mt19937 random(12345);
    const std::string alphabet = "ab%;=3dD \x01\xff";
    auto randomText = [&]() {
        std::string text;
        const size_t length = random() % 8;
        for (size_t i = 0; i < length; ++i)
            text += alphabet[random() % alphabet.size()];
        return text;
    };
    for (int round = 0; round < 500; ++round) {
        KeyValueMap map;
        const size_t entries = random() % 6;
        for (size_t i = 0; i < entries; ++i)
            map.addValue(randomText(), randomText());
        KeyValueMap back;
        ASSERT_TRUE(KeyValueMap::parse(map.toString(false), back));
        ASSERT_EQ(0, map.compareTo(back)) << map.toString(false);
    }
}

TEST(KeyValueMapJson, ExactForm)
{
    EXPECT_EQ("{  }", KeyValueMap().toJsonString());
    EXPECT_EQ("{ \"k\" : \"a\\u003C\\/b\" }", KeyValueMap("k", "a</b").toJsonString());
    KeyValueMap map;
    map.addValue("z", Variant());
    map.addValue("a", VariantVector{1, 2.5, "s"});
    map.addValue("m", KeyValueMap("x", false));
    map.addValue("v", StringVector{"p", "q"});
    map.addValue("q\"", 3000000000LL);
    EXPECT_EQ("{ \"a\" : [ 1, 2.5, \"s\" ], \"m\" : { \"x\" : false }, "
              "\"q\\\"\" : 3000000000, \"v\" : [ \"p\", \"q\" ], \"z\" : null }",
              map.toJsonString());
}

TEST(KeyValueMapCompare, Ordering)
{
    const KeyValueMap empty;
    const KeyValueMap a1("a", 1);
    const KeyValueMap a2("a", 2);
    const KeyValueMap b1("b", 1);
    const KeyValueMap a1b1("a", 1, "b", 1);
    EXPECT_EQ(0, empty.compareTo(KeyValueMap()));
    EXPECT_LT(empty.compareTo(a1), 0);
    EXPECT_LT(a1.compareTo(a2), 0);
    EXPECT_GT(a2.compareTo(a1), 0);
    EXPECT_LT(a2.compareTo(b1), 0); // keys first
    EXPECT_LT(a1.compareTo(a1b1), 0);
    EXPECT_GT(b1.compareTo(a1b1), 0);
    EXPECT_EQ(0, a1b1.compareTo(KeyValueMap("b", 1, "a", 1)));
    EXPECT_NE(KeyValueMap("a", 1), KeyValueMap("a", "1"));
}
