// KeyValueMap: entry access, the compact text form and its escaping, the JSON form, ordering.
#include "kapi/KeyValueMap.h"

#include <gtest/gtest.h>

#include <random>

using Kapi::KeyValueMap;
using Kapi::StringVector;
using Kapi::Variant;
using Kapi::VariantVector;

TEST(KeyValueMapEntries, AddReplaceRemoveAndConvertedGetters)
{
    KeyValueMap map("i", 5, "l", int64(1), "b", true, "c", "text");
    map.addValue("s", std::string("str"));
    map.addValue("v", Variant(2.5));
    EXPECT_EQ(map.toString(true), "b=b:true;c=s:text;i=i32:5;l=i64:1;s=s:str;v=d:2.5");
    EXPECT_TRUE(map.hasValue("i", Variant::Integer32));
    EXPECT_FALSE(map.hasValue("i", Variant::Integer64));
    EXPECT_FALSE(map.hasValue("missing"));
    map.setValue("i", "replaced");
    map.addValues(KeyValueMap("c", 7, "new", VariantVector{1}));
    map.addValues(map);
    EXPECT_EQ(map.toString(true),
              "b=b:true;c=i32:7;i=s:replaced;l=i64:1;new=a:i32:1;s=s:str;v=d:2.5");
    EXPECT_TRUE(map.removeValue("new"));
    EXPECT_FALSE(map.removeValue("new"));
    EXPECT_EQ(map.size(), 6u);

    // A null name skips its pair.
    EXPECT_TRUE(KeyValueMap(nullptr, 1, nullptr, 2, nullptr, 3, nullptr, 4).empty());
    EXPECT_EQ(KeyValueMap("a", 1, nullptr, 2, "c", "three").toString(true), "a=i32:1;c=s:three");
    EXPECT_EQ(KeyValueMap("w", 1, "x", 2, "y", 3, "z", 4).toString(false), "w=1;x=2;y=3;z=4");

    const KeyValueMap typed("n", "42", "big", 0x100000001LL, "list", "a,b", "arr",
                            VariantVector{1, 2});
    EXPECT_EQ(typed.getValueAsInteger32("n"), 42);
    EXPECT_TRUE(typed.getValueAsBoolean("n"));
    EXPECT_EQ(typed.getValueAsInteger32("big"), 1);
    EXPECT_EQ(typed.getValueAsInteger64("big"), 0x100000001LL);
    EXPECT_EQ(typed.getValueAsStringVector("list"), (StringVector{"a", "b"}));
    EXPECT_EQ(typed.getValueAsArray("arr"), (VariantVector{1, 2}));
    EXPECT_EQ(typed.getValueAsString("arr"), "1,2");
    // Absent keys read as Undefined.
    EXPECT_TRUE(typed.getValue("none").isUndefined());
    EXPECT_EQ(typed.getValueAsString("none"), "");
    EXPECT_EQ(typed.getValueAsInteger32("none") + typed.getValueAsInteger64("none"), 0);
    EXPECT_FALSE(typed.getValueAsBoolean("none"));
    EXPECT_TRUE(typed.getValueAsStringVector("none").empty());
    EXPECT_TRUE(typed.getValueAsArray("none").empty());
    EXPECT_EQ(typed.findValue("none"), nullptr);
}

TEST(KeyValueMapOrder, KeysAreInByteOrderAndMapsCompareKeysFirst)
{
    KeyValueMap map;
    for (const char* key : {"b", "\xc3\xa9", "B", "a", "", "ab", "~"})
        map.addValue(key, 1);
    std::vector<std::string> keys;
    for (const auto& entry : map)
        keys.push_back(entry.first);
    EXPECT_EQ(keys, (std::vector<std::string>{"", "B", "a", "ab", "b", "~", "\xc3\xa9"}));

    const KeyValueMap ascending[] = {KeyValueMap(), KeyValueMap("a", 1),
                                     KeyValueMap("a", 1, "b", 1), KeyValueMap("a", 2),
                                     KeyValueMap("b", 1)};
    for (size_t i = 0; i < std::size(ascending); ++i) {
        for (size_t j = 0; j < std::size(ascending); ++j) {
            const int c = ascending[i].compareTo(ascending[j]);
            EXPECT_EQ(c < 0 ? -1 : c > 0 ? 1 : 0, i < j ? -1 : i > j ? 1 : 0) << i << " " << j;
        }
    }
    EXPECT_EQ(KeyValueMap("a", 1, "b", 1), KeyValueMap("b", 1, "a", 1));
    EXPECT_NE(KeyValueMap("a", 1), KeyValueMap("a", "1"));
}

TEST(KeyValueMapCompact, ExactFormAndEscaping)
{
    const KeyValueMap map("a", 1, "b", "x;y");
    EXPECT_EQ(map.toString(false), "a=1;b=x%3by");
    EXPECT_EQ(map.toString(true), "a=i32:1;b=s:x%3by");
    KeyValueMap back;
    EXPECT_TRUE(KeyValueMap::parse("a=1;b=x%3by", back));
    EXPECT_EQ(back, KeyValueMap("a", "1", "b", "x;y"));
    EXPECT_EQ(KeyValueMap("k%=;", "50% = half; ok").toString(false),
              "k%25%3d%3b=50%25 %3d half%3b ok");
    EXPECT_EQ(KeyValueMap().toString(false), "");
    EXPECT_EQ(KeyValueMap("m", map, "t", true).toString(false), "m=a%3d1%3bb%3dx%253by;t=true");

    // Only the lower-case escapes are undone, each exactly once.
    const std::pair<const char*, const char*> unescaped[] = {
        {"%25%3b%3d", "%;="}, {"%3B%3D", "%3B%3D"}, {"%41%", "%41%"},
        {"%2", "%2"},         {"%%3d", "%="},       {"%253b", "%3b"}};
    for (const auto& [text, expected] : unescaped)
        EXPECT_EQ(KeyValueMap::unescape(text), expected) << text;

    // Malformed pieces are skipped; the output is cleared first; later keys win.
    KeyValueMap out("stale", 1);
    EXPECT_TRUE(KeyValueMap::parse("a=b=c;d;=e;f=;;g=h", out));
    EXPECT_EQ(out, KeyValueMap("", "e", "f", "", "g", "h"));
    EXPECT_TRUE(KeyValueMap::parse("", out));
    EXPECT_TRUE(out.empty());
    EXPECT_TRUE(KeyValueMap::parse("k=1;k=2", out));
    EXPECT_EQ(out, KeyValueMap("k", "2"));
}

TEST(KeyValueMapCompact, RandomStringMapsRoundTrip)
{
    std::mt19937 random(12345);
    const std::string alphabet = "ab%;=3dD \x01\xff";
    auto randomText = [&]() {
        std::string text;
        for (size_t length = random() % 8; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        return text;
    };
    for (int round = 0; round < 500; ++round) {
        KeyValueMap map;
        for (size_t entries = random() % 6; entries > 0; --entries)
            map.addValue(randomText(), randomText());
        KeyValueMap back;
        ASSERT_TRUE(KeyValueMap::parse(map.toString(false), back));
        ASSERT_EQ(0, map.compareTo(back)) << map.toString(false);
    }
}

TEST(KeyValueMapJson, ExactForm)
{
    EXPECT_EQ(KeyValueMap().toJsonString(), "{  }");
    EXPECT_EQ(KeyValueMap("k", "a</b").toJsonString(), "{ \"k\" : \"a\\u003C\\/b\" }");
    KeyValueMap map("z", Variant(), "a", VariantVector{1, 2.5, "s"}, "m", KeyValueMap("x", false),
                    "v", StringVector{"p", "q"});
    map.addValue("q\"", 3000000000LL);
    EXPECT_EQ(map.toJsonString(),
              "{ \"a\" : [ 1, 2.5, \"s\" ], \"m\" : { \"x\" : false }, "
              "\"q\\\"\" : 3000000000, \"v\" : [ \"p\", \"q\" ], \"z\" : null }");
}
