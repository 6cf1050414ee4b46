// The configuration store: the line grammar, duplicate handling, the typed getters as the
// program's readers use them on the entry's default text, the text form and its round trip.
#include "kapi/vConfig.h"

#include "kapi/Address.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

using Kapi::StringVector;
using Kapi::vConfig;

namespace {

// The configuration text the program entry starts from, then the lines it appends: language,
// then the streaming region.
std::string entryText(const std::string& language, const std::string& pointerText)
{
    return "[overscan]\ntop = 0\nleft = 0\nbottom = 0\nright = 0\n[screensaver]\nexternal = "
           "true\n[appData]\nappDataPath=/misc\nappDataSize=2097152\n[errorhandling]\n"
           "policy=retry_quit\nretryKeyName=OK\n[locale]\ncountry=auto\nlanguage=" +
           language + "\n[streaming]\nstreamingBufferPtr=" + pointerText +
           "\nstreamingBufferSize=25165824\n";
}

vConfig parsed(const std::string& text)
{
    vConfig config;
    EXPECT_TRUE(config.fromString(text)) << text;
    return config;
}

std::string single(const vConfig& config, const std::string& section, const std::string& key)
{
    std::string value = "<untouched>";
    EXPECT_TRUE(config.getSingleValue(section, key, value, "<default>")) << section << "/" << key;
    return value;
}

} // namespace

// The text form shows the structure: global entries first, then each section occurrence in
// name order, keys in order, "key = value".
TEST(vConfigParse, GrammarAsTheTextFormShowsIt)
{
    const std::pair<const char*, const char*> rows[] = {
        {"a = 1\nb=2\n[s]\nc=3\n", "a = 1\nb = 2\n\n[s]\nc = 3\n"},
        // The key ends at the first '=' and is trimmed; so is the value.
        {"  a key \t=  value = with = equals  \t\nempty =\nx==y\n",
         "a key = value = with = equals\nempty = \nx = =y\n"},
        {"# a = 1\n\n   \n  #[notasection]\r\nb = 2\r\n", "b = 2\n"},
        // Header names keep their inner blanks; a repeated header starts a new section.
        {"[ spaced name ]\nk=v\n[a]\nx=1\n[a]\nx=2\n[a]\n",
         "\n[ spaced name ]\nk = v\n\n[a]\nx = 1\n\n[a]\nx = 2\n\n[a]\n"},
        // An open bracket without its close is part of a key.
        {"[x = 1\n[y]z=2\n", "[x = 1\n[y]z = 2\n"},
        {"z=1\n[ b ]\n  k  =  v = w \n[a]\nx=1\nx=2\n# c\n[b]\ne=\n[[x]]\ny=\t1\n",
         "z = 1\n\n[ b ]\nk = v = w\n\n[[x]]\ny = 1\n\n[a]\nx = 1\nx = 2\n\n[b]\ne = \n"},
        {"", ""},
    };
    for (const auto& [text, printed] : rows) {
        const vConfig config = parsed(text);
        EXPECT_EQ(config.toString(), printed) << text;
        EXPECT_EQ(config.current, nullptr);
        EXPECT_EQ(parsed(printed).toString(), printed) << text;
    }

    const vConfig config = parsed("a=1\n[a]\nx=1\n[a]\nx=2\n[a]\n");
    EXPECT_EQ(single(config, "", "a"), "1");
    const vConfig::vSection* global = nullptr;
    ASSERT_TRUE(config.getSingleSection("", global));
    EXPECT_EQ(global, &config.global);
    std::vector<const vConfig::vSection*> found;
    ASSERT_TRUE(config.getSections("a", found));
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0]->find("x")->second, "1");
    EXPECT_EQ(found[1]->find("x")->second, "2");
    EXPECT_TRUE(found[2]->empty());
    EXPECT_FALSE(config.getSections("b", found));
    EXPECT_TRUE(found.empty());
}

// Each bad line stops the parse at that line with a warning; what came before stays loaded.
TEST(vConfigParse, BadLinesStopTheParseAndKeepEarlierLines)
{
    const struct
    {
        const char* text;
        int line;
        const char* lineText;
    } rows[] = {
        {"a=1\n[s]\nno equals here\nb=2\n", 3, "no equals here"},
        {"a=1\n[]\nb=2\n", 2, "[]"},
        {"a=1\n  = value\nb=2\n", 2, "  = value"},
        {"a=1\n[unclosed\nb=2\n", 2, "[unclosed"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_WARNING);
        vConfig config;
        EXPECT_FALSE(config.fromString(row.text));
        EXPECT_EQ(config.getErrorLine(), row.line);
        EXPECT_EQ(config.getErrorText(), row.lineText);
        EXPECT_EQ(config.current, nullptr);
        EXPECT_EQ(single(config, "", "a"), "1");
        EXPECT_EQ(config.global.count("b"), 0u);
        EXPECT_EQ(capture.summary(),
                  std::vector<std::string>{"misc_system.warning: trouble parsing line #" +
                                           std::to_string(row.line) + " '" + row.lineText + "'\n"});

        // A later good parse clears both the content and the error.
        EXPECT_TRUE(config.fromStringVector(StringVector{"[s]", "k = v"}));
        EXPECT_EQ(config.getErrorLine(), 0);
        EXPECT_EQ(config.getErrorText(), "");
        EXPECT_EQ(config.toString(), "\n[s]\nk = v\n");
    }
}

TEST(vConfigParse, FromFileReadsLinesAndKeepsTheStoreWhenUnreadable)
{
    const std::string path = testing::TempDir() + "vconfig_test_" + std::to_string(getpid());
    std::ofstream(path) << "[locale]\ncountry=auto\nlanguage=en\n";
    vConfig config;
    EXPECT_TRUE(config.fromFile(path));
    EXPECT_EQ(single(config, "locale", "language"), "en");
    unlink(path.c_str());
    EXPECT_FALSE(config.fromFile(path));
    EXPECT_EQ(single(config, "locale", "language"), "en");
}

TEST(vConfigGet, RepeatedSectionsGiveDefaultsAndRepeatedKeysAreRefused)
{
    const vConfig config = parsed("[a]\nx=1\nflag=true\n[a]\nx=2\n[s]\nk=1\nk=2\nother=3\n");
    const vConfig::vSection* section = nullptr;
    EXPECT_FALSE(config.getSingleSection("a", section));
    EXPECT_EQ(section, nullptr);
    EXPECT_FALSE(config.getSingleSection("missing", section));
    EXPECT_EQ(single(config, "a", "x"), "<default>");
    int number = 0;
    EXPECT_TRUE(config.getSingleIntegerValue("a", "x", number, 42));
    EXPECT_EQ(number, 42);
    bool flag = true;
    EXPECT_TRUE(config.getSingleBooleanValue("a", "flag", flag, false));
    EXPECT_FALSE(flag);
    StringVector values{"stale"};
    EXPECT_FALSE(config.getValues("a", "x", values));
    EXPECT_TRUE(values.empty());

    std::string text = "untouched";
    EXPECT_FALSE(config.getSingleValue("s", "k", text, "d"));
    EXPECT_EQ(text, "untouched");
    EXPECT_FALSE(config.getSingleIntegerValue("s", "k", number, 9));
    EXPECT_EQ(number, 9);
    EXPECT_TRUE(config.getValues("s", "k", values));
    EXPECT_EQ(values, (StringVector{"1", "2"}));
    EXPECT_TRUE(config.getValues("s", "none", values));
    EXPECT_TRUE(values.empty());
    ASSERT_TRUE(config.getSingleSection("s", section));
    std::set<std::string> names;
    section->getNames(names);
    EXPECT_EQ(names, (std::set<std::string>{"k", "other"}));
}

TEST(vConfigGet, TypedValuesWithCRulesAndTheDefaultOnFailure)
{
    const vConfig config = parsed(
        "[n]\ndec=-12\nhex=0x10\noct=010\nbad=12a\nbig=4294967296\nu16=65535\nu16over=65536\n"
        "neg=-1\nempty=\nscaled=4K\nscaledM=2 M\nscaledBad=K4\nupper=TRUE\nmixed=fAlSe\none=1\n"
        "zero=0\nyes=yes\ntwo=2\n");
    // Each getter starts with `out` away from the default; gives "ok VALUE" or "fail VALUE".
    auto get = [&](auto getter, const char* key, auto defaultValue) {
        decltype(defaultValue) out = !defaultValue;
        const bool ok = (config.*getter)("n", key, out, defaultValue);
        return (ok ? "ok " : "fail ") + std::to_string(out);
    };
    EXPECT_EQ(get(&vConfig::getSingleIntegerValue, "dec", 5), "ok -12");
    EXPECT_EQ(get(&vConfig::getSingleIntegerValue, "hex", 5), "ok 16");
    EXPECT_EQ(get(&vConfig::getSingleIntegerValue, "oct", 5), "ok 8");
    EXPECT_EQ(get(&vConfig::getSingleIntegerValue, "bad", 5), "fail 5");
    EXPECT_EQ(get(&vConfig::getSingleIntegerValue, "big", 6), "fail 6");
    EXPECT_EQ(get(&vConfig::getSingleIntegerValue, "empty", 7), "ok 7");
    EXPECT_EQ(get(&vConfig::getSingleIntegerValue, "missing", 7), "ok 7");
    EXPECT_EQ(get(&vConfig::getSingleInteger64Value, "big", int64(0)), "ok 4294967296");
    EXPECT_EQ(get(&vConfig::getSingleUInteger16Value, "u16", uint16(1)), "ok 65535");
    EXPECT_EQ(get(&vConfig::getSingleUInteger16Value, "u16over", uint16(1)), "fail 1");
    EXPECT_EQ(get(&vConfig::getSingleUInteger32Value, "neg", 3u), "fail 3");
    EXPECT_EQ(get(&vConfig::getSingleUInteger32Value, "big", 3u), "fail 3");
    EXPECT_EQ(get(&vConfig::getSingleUInteger32WithScaleValue, "scaled", 3u), "ok 4096");
    EXPECT_EQ(get(&vConfig::getSingleUInteger32WithScaleValue, "scaledM", 3u), "ok 2097152");
    EXPECT_EQ(get(&vConfig::getSingleUInteger32WithScaleValue, "scaledBad", 3u), "fail 3");
    EXPECT_EQ(get(&vConfig::getSingleUInteger32WithScaleValue, "empty", 3u), "ok 3");
    // Booleans: "true"/"false" in any case, "1" or "0".
    EXPECT_EQ(get(&vConfig::getSingleBooleanValue, "upper", false), "ok 1");
    EXPECT_EQ(get(&vConfig::getSingleBooleanValue, "mixed", true), "ok 0");
    EXPECT_EQ(get(&vConfig::getSingleBooleanValue, "one", false), "ok 1");
    EXPECT_EQ(get(&vConfig::getSingleBooleanValue, "zero", true), "ok 0");
    EXPECT_EQ(get(&vConfig::getSingleBooleanValue, "yes", true), "fail 1");
    EXPECT_EQ(get(&vConfig::getSingleBooleanValue, "yes", false), "fail 0");
    EXPECT_EQ(get(&vConfig::getSingleBooleanValue, "two", true), "fail 1");
    EXPECT_EQ(get(&vConfig::getSingleBooleanValue, "empty", true), "ok 1");
}

TEST(vConfigGet, Addresses)
{
    const vConfig config = parsed("[net]\nbind=127.0.0.1\nbad=not an address\nempty=\n");
    const Kapi::Address fallback("10.0.0.1");
    Kapi::Address out;
    EXPECT_TRUE(config.getSingleAddressValue("net", "bind", out, fallback));
    EXPECT_EQ(out.toString(), "127.0.0.1");
    EXPECT_FALSE(config.getSingleAddressValue("net", "bad", out, fallback));
    EXPECT_EQ(out.toString(), "10.0.0.1");
    for (const char* key : {"empty", "missing"}) {
        out = Kapi::Address("127.0.0.1");
        EXPECT_TRUE(config.getSingleAddressValue("net", key, out, fallback));
        EXPECT_EQ(out.toString(), "10.0.0.1") << key;
    }
}

// The entry's text as the store holds it, and the streaming-region pointer read back as the
// start-up code reads it.
TEST(vConfigEntry, TextFormIsExactAndPointersReadBack)
{
    EXPECT_EQ(
        parsed(entryText("en", "0x7f3a2c001000")).toString(),
        "\n[appData]\nappDataPath = /misc\nappDataSize = 2097152\n"
        "\n[errorhandling]\npolicy = retry_quit\nretryKeyName = OK\n"
        "\n[locale]\ncountry = auto\nlanguage = en\n"
        "\n[overscan]\nbottom = 0\nleft = 0\nright = 0\ntop = 0\n"
        "\n[screensaver]\nexternal = true\n"
        "\n[streaming]\nstreamingBufferPtr = 0x7f3a2c001000\nstreamingBufferSize = 25165824\n");

    const std::unique_ptr<char[]> buffer(new char[64]);
    char pointerText[32];
    snprintf(pointerText, sizeof pointerText, "0x%" PRIxPTR,
             reinterpret_cast<uintptr_t>(buffer.get()));
    int64 pointer = 0;
    EXPECT_TRUE(parsed(entryText("en", pointerText))
                    .getSingleInteger64Value("streaming", "streamingBufferPtr", pointer, 0));
    EXPECT_EQ(pointer, static_cast<int64>(reinterpret_cast<uintptr_t>(buffer.get())));
    // A 32-bit device prints its pointer with "0x%x"; the top bit set must still read back.
    EXPECT_TRUE(parsed(entryText("de", "0xb6a00008"))
                    .getSingleInteger64Value("streaming", "streamingBufferPtr", pointer, 0));
    EXPECT_EQ(pointer, 0xb6a00008LL);
}

TEST(vConfigSet, SetSingleValueAndIndependentCopies)
{
    vConfig config = parsed("g=1\n[network]\np2pEnabled=true\n[dup]\n[dup]\n[s]\nk=1\nk=2\n");
    EXPECT_TRUE(config.setSingleValue("network", "p2pEnabled", "false"));
    EXPECT_TRUE(config.setSingleValue("", "allowProvisioning", "true"));
    EXPECT_TRUE(config.setSingleValue("", "g", "2"));
    EXPECT_TRUE(config.setSingleValue("repository", "diskSizeMB", "0"));
    EXPECT_FALSE(config.setSingleValue("s", "k", "3"));
    EXPECT_FALSE(config.setSingleValue("dup", "k", "3"));
    EXPECT_EQ(config.toString(), "allowProvisioning = true\ng = 2\n\n[dup]\n\n[dup]\n"
                                 "\n[network]\np2pEnabled = false\n\n[repository]\ndiskSizeMB = 0\n"
                                 "\n[s]\nk = 1\nk = 2\n");

    vConfig copy(config);
    EXPECT_EQ(copy.current, nullptr);
    EXPECT_TRUE(copy.setSingleValue("network", "p2pEnabled", "maybe"));
    EXPECT_EQ(single(config, "network", "p2pEnabled"), "false");
    vConfig assigned;
    assigned = copy;
    EXPECT_TRUE(copy.fromString("other=1"));
    EXPECT_EQ(single(assigned, "network", "p2pEnabled"), "maybe");
    EXPECT_EQ(assigned.current, nullptr);
}
