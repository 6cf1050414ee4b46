// The configuration store: the line grammar, duplicate handling, the typed getters as the
// program's readers use them on the entry's default text, the text form and its round trip.
#include "kapi/vConfig.h"

#include "kapi/Address.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

using Kapi::vConfig;

namespace {


// The configuration text the program entry starts from, before it appends its own lines.
const char kEntryDefaultText[] = "[overscan]\n"
                                 "top = 0\n"
                                 "left = 0\n"
                                 "bottom = 0\n"
                                 "right = 0\n"
                                 "[screensaver]\n"
                                 "external = true\n"
                                 "[appData]\n"
                                 "appDataPath=/misc\n"
                                 "appDataSize=2097152\n"
                                 "[errorhandling]\n"
                                 "policy=retry_quit\n"
                                 "retryKeyName=OK\n"
                                 "[locale]\n"
                                 "country=auto\n";

// The entry's text with the lines it appends: language, then the streaming region.
std::string entryText(const std::string& language, const std::string& pointerText)
{
    return std::string(kEntryDefaultText) + "language=" + language + "\n[streaming]\n" +
           "streamingBufferPtr=" + pointerText + "\nstreamingBufferSize=25165824\n";
}

std::string pointerText(const void* p)
{
    char buffer[32];
    snprintf(buffer, sizeof buffer, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(p));
    return buffer;
}

vConfig parsed(const std::string& text)
{
    vConfig config;
    EXPECT_TRUE(config.fromString(text)) << text;
    return config;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Line grammar

TEST(vConfigParse, LinesBeforeTheFirstHeaderGoToGlobal)
{
    vConfig config = parsed("a = 1\nb=2\n[s]\nc=3\n");
    ASSERT_EQ(config.global.size(), 2u);
    EXPECT_EQ(config.global.find("a")->second, "1");
    EXPECT_EQ(config.global.find("b")->second, "2");
    ASSERT_EQ(config.sections.size(), 1u);
    EXPECT_EQ(config.sections.find("s")->second.find("c")->second, "3");
    EXPECT_EQ(config.current, nullptr);

    std::string value;
    EXPECT_TRUE(config.getSingleValue("", "a", value, "d"));
    EXPECT_EQ(value, "1");
    const vConfig::vSection* global = nullptr;
    ASSERT_TRUE(config.getSingleSection("", global));
    EXPECT_EQ(global, &config.global);
}

TEST(vConfigParse, KeyIsTailTrimmedAndValueHeadTrimmedAtTheFirstEquals)
{
    vConfig config = parsed("  a key \t=  value = with = equals  \t\nempty =\nx==y\n");
    std::string value;
    EXPECT_TRUE(config.getSingleValue("", "a key", value, "d"));
    EXPECT_EQ(value, "value = with = equals");
    EXPECT_TRUE(config.getSingleValue("", "empty", value, "d"));
    EXPECT_EQ(value, "");
    EXPECT_TRUE(config.getSingleValue("", "x", value, "d"));
    EXPECT_EQ(value, "=y");
}

TEST(vConfigParse, CommentsBlankLinesAndCarriageReturns)
{
    vConfig config = parsed("# a = 1\n\n   \n  #[notasection]\r\nb = 2\r\n");
    EXPECT_EQ(config.sections.size(), 0u);
    ASSERT_EQ(config.global.size(), 1u);
    EXPECT_EQ(config.global.find("b")->second, "2");
}

TEST(vConfigParse, HeaderNameKeepsInnerBlanksAndRepeatedHeadersMakeNewSections)
{
    vConfig config = parsed("[ spaced name ]\nk=v\n[a]\nx=1\n[a]\nx=2\n[a]\n");
    EXPECT_EQ(config.sections.count(" spaced name "), 1u);
    EXPECT_EQ(config.sections.count("spaced name"), 0u);
    std::string value;
    EXPECT_TRUE(config.getSingleValue(" spaced name ", "k", value, "d"));
    EXPECT_EQ(value, "v");

    std::vector<const vConfig::vSection*> found;
    ASSERT_TRUE(config.getSections("a", found));
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0]->find("x")->second, "1");
    EXPECT_EQ(found[1]->find("x")->second, "2");
    EXPECT_TRUE(found[2]->empty());
    EXPECT_FALSE(config.getSections("b", found));
    EXPECT_TRUE(found.empty());
}

TEST(vConfigParse, OpenBracketWithoutCloseIsAKeyLine)
{
    vConfig config = parsed("[x = 1\n[y]z=2\n");
    std::string value;
    EXPECT_TRUE(config.getSingleValue("", "[x", value, "d"));
    EXPECT_EQ(value, "1");
    EXPECT_TRUE(config.getSingleValue("", "[y]z", value, "d"));
    EXPECT_EQ(value, "2");
    EXPECT_TRUE(config.sections.empty());
}

// Each bad line stops the parse at that line; what came before stays loaded, nothing after.
TEST(vConfigParse, BadLinesStopTheParseAndKeepEarlierLines)
{
    struct Case
    {
        const char* text;
        int line;
        const char* lineText;
    };
    const Case cases[] = {
        {"a=1\n[s]\nno equals here\nb=2\n", 3, "no equals here"},
        {"a=1\n[]\nb=2\n", 2, "[]"},
        {"a=1\n  = value\nb=2\n", 2, "  = value"},
        {"a=1\n[unclosed\nb=2\n", 2, "[unclosed"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        vConfig config;
        EXPECT_FALSE(config.fromString(c.text));
        EXPECT_EQ(config.getErrorLine(), c.line);
        EXPECT_EQ(config.getErrorText(), c.lineText);
        EXPECT_EQ(config.current, nullptr);
        std::string value;
        EXPECT_TRUE(config.getSingleValue("", "a", value, "d"));
        EXPECT_EQ(value, "1");
        EXPECT_EQ(config.global.count("b"), 0u);

        // A later good parse clears both the content and the error.
        EXPECT_TRUE(config.fromString("c=3"));
        EXPECT_EQ(config.getErrorLine(), 0);
        EXPECT_EQ(config.getErrorText(), "");
        EXPECT_EQ(config.toString(), "c = 3\n");
    }
}

TEST(vConfigParse, BadLineLogsTheWarningWithNumberAndText)
{
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_WARNING);
    vConfig config;
    EXPECT_FALSE(config.fromString("[overscan]\ntop = 0\nleft 0\nright = 0\n"));
    const std::vector<LogCapture::Line> lines = capture.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].source, "misc_system");
    EXPECT_EQ(lines[0].priority, Kapi::Log::PRIO_WARNING);
    EXPECT_EQ(lines[0].text, "trouble parsing line #3 'left 0'\n");
}

TEST(vConfigParse, EmptyTextAndFromStringVector)
{
    vConfig config = parsed("a=1");
    EXPECT_TRUE(config.fromString(""));
    EXPECT_TRUE(config.global.empty());
    EXPECT_EQ(config.toString(), "");

    EXPECT_TRUE(config.fromStringVector(Kapi::StringVector{"[s]", "k = v"}));
    EXPECT_EQ(config.toString(), "\n[s]\nk = v\n");
}

TEST(vConfigParse, FromFileReadsLinesAndKeepsTheStoreWhenUnreadable)
{
    char path[] = "/tmp/vconfig_test_XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    close(fd);
    {
        std::ofstream file(path);
        file << "[locale]\ncountry=auto\nlanguage=en\n";
    }
    vConfig config;
    EXPECT_TRUE(config.fromFile(path));
    std::string value;
    EXPECT_TRUE(config.getSingleValue("locale", "language", value, ""));
    EXPECT_EQ(value, "en");
    unlink(path);

    EXPECT_FALSE(config.fromFile(path));
    EXPECT_TRUE(config.getSingleValue("locale", "language", value, ""));
    EXPECT_EQ(value, "en");
}

// ---------------------------------------------------------------------------------------------
// Getters

TEST(vConfigGet, RepeatedSectionGivesDefaultsWithSuccess)
{
    vConfig config = parsed("[a]\nx=1\nflag=true\n[a]\nx=2\n");
    const vConfig::vSection* section = nullptr;
    EXPECT_FALSE(config.getSingleSection("a", section));
    EXPECT_EQ(section, nullptr);
    EXPECT_FALSE(config.getSingleSection("missing", section));

    std::string text;
    EXPECT_TRUE(config.getSingleValue("a", "x", text, "dflt"));
    EXPECT_EQ(text, "dflt");
    int number = 0;
    EXPECT_TRUE(config.getSingleIntegerValue("a", "x", number, 42));
    EXPECT_EQ(number, 42);
    bool flag = true;
    EXPECT_TRUE(config.getSingleBooleanValue("a", "flag", flag, false));
    EXPECT_FALSE(flag);
    Kapi::StringVector values;
    EXPECT_FALSE(config.getValues("a", "x", values));
    EXPECT_TRUE(values.empty());
}

TEST(vConfigGet, RepeatedKeyIsRefusedBySingleGetters)
{
    vConfig config = parsed("[s]\nk=1\nk=2\nother=3\n");
    std::string text = "untouched";
    EXPECT_FALSE(config.getSingleValue("s", "k", text, "d"));
    EXPECT_EQ(text, "untouched");
    int number = 7;
    EXPECT_FALSE(config.getSingleIntegerValue("s", "k", number, 9));
    EXPECT_EQ(number, 9);

    Kapi::StringVector values;
    EXPECT_TRUE(config.getValues("s", "k", values));
    EXPECT_EQ(values, (Kapi::StringVector{"1", "2"}));
    EXPECT_TRUE(config.getValues("s", "none", values));
    EXPECT_TRUE(values.empty());

    const vConfig::vSection* section = nullptr;
    ASSERT_TRUE(config.getSingleSection("s", section));
    std::set<std::string> names;
    section->getNames(names);
    EXPECT_EQ(names, (std::set<std::string>{"k", "other"}));
}

TEST(vConfigGet, Booleans)
{
    vConfig config = parsed("[b]\nupper=TRUE\nmixed=fAlSe\none=1\nzero=0\nyes=yes\ntwo=2\n"
                            "empty=\n");
    struct Case
    {
        const char* key;
        bool defaultValue;
        bool result;
        bool value;
    };
    const Case cases[] = {
        {"upper", false, true, true}, {"mixed", true, true, false}, {"one", false, true, true},
        {"zero", true, true, false},  {"yes", true, false, true},   {"yes", false, false, false},
        {"two", true, false, true},   {"empty", true, true, true},  {"missing", true, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        bool out = !c.value;
        EXPECT_EQ(config.getSingleBooleanValue("b", c.key, out, c.defaultValue), c.result);
        EXPECT_EQ(out, c.value);
    }
}

TEST(vConfigGet, IntegersConvertWithCRulesAndRestoreTheDefaultOnFailure)
{
    vConfig config = parsed("[n]\ndec=-12\nhex=0x10\noct=010\nbad=12a\nbig=4294967296\n"
                            "u16=65535\nu16over=65536\nneg=-1\nempty=\nscaled=4K\nscaledM=2 M\n"
                            "scaledBad=K4\n");
    int i = 0;
    EXPECT_TRUE(config.getSingleIntegerValue("n", "dec", i, 5));
    EXPECT_EQ(i, -12);
    EXPECT_TRUE(config.getSingleIntegerValue("n", "hex", i, 5));
    EXPECT_EQ(i, 16);
    EXPECT_TRUE(config.getSingleIntegerValue("n", "oct", i, 5));
    EXPECT_EQ(i, 8);
    EXPECT_FALSE(config.getSingleIntegerValue("n", "bad", i, 5));
    EXPECT_EQ(i, 5);
    EXPECT_FALSE(config.getSingleIntegerValue("n", "big", i, 6));
    EXPECT_EQ(i, 6);
    EXPECT_TRUE(config.getSingleIntegerValue("n", "empty", i, 7));
    EXPECT_EQ(i, 7);

    int64 i64 = 0;
    EXPECT_TRUE(config.getSingleInteger64Value("n", "big", i64, 0));
    EXPECT_EQ(i64, 4294967296LL);

    uint16 u16 = 0;
    EXPECT_TRUE(config.getSingleUInteger16Value("n", "u16", u16, 1));
    EXPECT_EQ(u16, 65535);
    EXPECT_FALSE(config.getSingleUInteger16Value("n", "u16over", u16, 1));
    EXPECT_EQ(u16, 1);

    uint32 u32 = 0;
    EXPECT_FALSE(config.getSingleUInteger32Value("n", "neg", u32, 3));
    EXPECT_EQ(u32, 3u);
    EXPECT_FALSE(config.getSingleUInteger32Value("n", "big", u32, 3));
    EXPECT_EQ(u32, 3u);
    EXPECT_TRUE(config.getSingleUInteger32WithScaleValue("n", "scaled", u32, 3));
    EXPECT_EQ(u32, 4096u);
    EXPECT_TRUE(config.getSingleUInteger32WithScaleValue("n", "scaledM", u32, 3));
    EXPECT_EQ(u32, 2u * 1024 * 1024);
    EXPECT_FALSE(config.getSingleUInteger32WithScaleValue("n", "scaledBad", u32, 3));
    EXPECT_EQ(u32, 3u);
    EXPECT_TRUE(config.getSingleUInteger32WithScaleValue("n", "empty", u32, 3));
    EXPECT_EQ(u32, 3u);
}

TEST(vConfigGet, Addresses)
{
    vConfig config = parsed("[net]\nbind=127.0.0.1\nbad=not an address\nempty=\n");
    const Kapi::Address fallback("10.0.0.1");
    ASSERT_TRUE(fallback.isValid());

    Kapi::Address out;
    EXPECT_TRUE(config.getSingleAddressValue("net", "bind", out, fallback));
    EXPECT_TRUE(out.isValid());
    EXPECT_EQ(out.toString(), Kapi::Address("127.0.0.1").toString());

    EXPECT_FALSE(config.getSingleAddressValue("net", "bad", out, fallback));
    EXPECT_EQ(out.toString(), fallback.toString());

    out = Kapi::Address("127.0.0.1");
    EXPECT_TRUE(config.getSingleAddressValue("net", "empty", out, fallback));
    EXPECT_EQ(out.toString(), fallback.toString());
    EXPECT_TRUE(config.getSingleAddressValue("missing", "bind", out, fallback));
    EXPECT_EQ(out.toString(), fallback.toString());
}

// ---------------------------------------------------------------------------------------------
// The program entry's configuration, read as the start-up readers read it

TEST(vConfigEntry, DefaultTextReadsAsTheProgramExpects)
{
    const std::unique_ptr<char[]> streamingBuffer(new char[64]);
    vConfig config = parsed(entryText("en", pointerText(streamingBuffer.get())));

    for (const char* side : {"top", "left", "bottom", "right"}) {
        int value = -1;
        EXPECT_TRUE(config.getSingleIntegerValue("overscan", side, value, 0)) << side;
        EXPECT_EQ(value, 0) << side;
    }
    bool external = false;
    EXPECT_TRUE(config.getSingleBooleanValue("screensaver", "external", external, false));
    EXPECT_TRUE(external);

    std::string text;
    EXPECT_TRUE(config.getSingleValue("appData", "appDataPath", text, ""));
    EXPECT_EQ(text, "/misc");
    int appDataSize = 0;
    EXPECT_TRUE(config.getSingleIntegerValue("appData", "appDataSize", appDataSize, 0));
    EXPECT_EQ(appDataSize, 2097152);

    EXPECT_TRUE(config.getSingleValue("errorhandling", "policy", text, ""));
    EXPECT_EQ(text, "retry_quit");
    EXPECT_TRUE(config.getSingleValue("errorhandling", "retryKeyName", text, ""));
    EXPECT_EQ(text, "OK");

    EXPECT_TRUE(config.getSingleValue("locale", "country", text, ""));
    EXPECT_EQ(text, "auto");
    EXPECT_TRUE(config.getSingleValue("locale", "language", text, ""));
    EXPECT_EQ(text, "en");

    int64 pointer = 0;
    EXPECT_TRUE(config.getSingleInteger64Value("streaming", "streamingBufferPtr", pointer, 0));
    EXPECT_EQ(pointer, static_cast<int64>(reinterpret_cast<uintptr_t>(streamingBuffer.get())));
    uint32 size = 0;
    EXPECT_TRUE(config.getSingleUInteger32Value("streaming", "streamingBufferSize", size, 0));
    EXPECT_EQ(size, 25165824u);

    // Keys the text does not carry give the readers' defaults.
    uint32 ioTasks = 0;
    EXPECT_TRUE(config.getSingleUInteger32Value("misc", "taskSchedulerIoTasks", ioTasks, 16));
    EXPECT_EQ(ioTasks, 16u);
    bool useBuiltInCa = false;
    EXPECT_TRUE(config.getSingleBooleanValue("kickstart", "useBuiltInCa", useBuiltInCa, true));
    EXPECT_TRUE(useBuiltInCa);
    EXPECT_TRUE(config.getSingleValue("", "buildChangeNumber", text, "92836"));
    EXPECT_EQ(text, "92836");
}

// A 32-bit device prints its pointer with "0x%x"; the top bit set must still read back.
TEST(vConfigEntry, ThirtyTwoBitPointerTextReadsAsPositiveInt64)
{
    vConfig config = parsed(entryText("de", "0xb6a00008"));
    int64 pointer = 0;
    EXPECT_TRUE(config.getSingleInteger64Value("streaming", "streamingBufferPtr", pointer, 0));
    EXPECT_EQ(pointer, 0xb6a00008LL);
}

TEST(vConfigEntry, TextFormIsExact)
{
    vConfig config = parsed(entryText("en", "0x7f3a2c001000"));
    EXPECT_EQ(config.toString(), "\n[appData]\n"
                                 "appDataPath = /misc\n"
                                 "appDataSize = 2097152\n"
                                 "\n[errorhandling]\n"
                                 "policy = retry_quit\n"
                                 "retryKeyName = OK\n"
                                 "\n[locale]\n"
                                 "country = auto\n"
                                 "language = en\n"
                                 "\n[overscan]\n"
                                 "bottom = 0\n"
                                 "left = 0\n"
                                 "right = 0\n"
                                 "top = 0\n"
                                 "\n[screensaver]\n"
                                 "external = true\n"
                                 "\n[streaming]\n"
                                 "streamingBufferPtr = 0x7f3a2c001000\n"
                                 "streamingBufferSize = 25165824\n");
}

// ---------------------------------------------------------------------------------------------
// Writing, text form, copies

TEST(vConfigSet, SetSingleValue)
{
    vConfig config = parsed("g=1\n[network]\np2pEnabled=true\n[dup]\n[dup]\n[s]\nk=1\nk=2\n");

    EXPECT_TRUE(config.setSingleValue("network", "p2pEnabled", "false"));
    EXPECT_TRUE(config.setSingleValue("", "allowProvisioning", "true"));
    EXPECT_TRUE(config.setSingleValue("", "g", "2"));
    EXPECT_TRUE(config.setSingleValue("repository", "diskSizeMB", "0"));
    EXPECT_FALSE(config.setSingleValue("s", "k", "3"));
    EXPECT_FALSE(config.setSingleValue("dup", "k", "3"));

    EXPECT_EQ(config.toString(), "allowProvisioning = true\n"
                                 "g = 2\n"
                                 "\n[dup]\n"
                                 "\n[dup]\n"
                                 "\n[network]\n"
                                 "p2pEnabled = false\n"
                                 "\n[repository]\n"
                                 "diskSizeMB = 0\n"
                                 "\n[s]\n"
                                 "k = 1\n"
                                 "k = 2\n");

    vConfig::vSection section;
    EXPECT_TRUE(section.setSingleValue("a", "1"));
    EXPECT_TRUE(section.setSingleValue("a", "2"));
    EXPECT_EQ(section.size(), 1u);
    std::string value;
    EXPECT_TRUE(section.getSingleValue("a", value, ""));
    EXPECT_EQ(value, "2");
}

TEST(vConfigText, RoundTripKeepsTheTextForm)
{
    const std::string texts[] = {
        entryText("en", "0xb6a00008"),
        "z=1\n[ b ]\n  k  =  v = w \n[a]\nx=1\nx=2\n[a]\n# c\n[b]\ne=\n[[x]]\ny=\t1\n",
        "only = global\n",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        vConfig first = parsed(text);
        vConfig second = parsed(first.toString());
        EXPECT_EQ(second.toString(), first.toString());
        EXPECT_EQ(second.sections.size(), first.sections.size());
    }
}

TEST(vConfigText, CopiesAreIndependent)
{
    vConfig original = parsed("[s]\nk=1\n");
    vConfig copy(original);
    EXPECT_EQ(copy.current, nullptr);
    EXPECT_TRUE(copy.setSingleValue("s", "k", "2"));
    std::string value;
    EXPECT_TRUE(original.getSingleValue("s", "k", value, ""));
    EXPECT_EQ(value, "1");

    vConfig assigned;
    assigned = copy;
    EXPECT_TRUE(copy.fromString("other=1"));
    EXPECT_TRUE(assigned.getSingleValue("s", "k", value, ""));
    EXPECT_EQ(value, "2");
    EXPECT_EQ(assigned.current, nullptr);
}
