// The query and path forms of notes: the documented texts, round trips of generated notes, and
// each parse refusal with its log line.
#include "kapi/director/NoteUrl.h"
#include "kapi/director/NoteUrlPath.h"

#include "note_test_util.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

using Kapi::Director::NoteUrl;
using Kapi::Director::NoteUrlPath;
using namespace NoteTest;

namespace {

NotePtr provisionRequest()
{
    NotePtr n = Note::create("deviceProvisionRequest");
    n->add("hardwareId", "AB 12");
    n->add("keyMajorVersion", "2");
    return n;
}

// The one log line a refused parse writes.
std::string refusal(NotePtr (*parse)(const std::string&), const std::string& url)
{
    LogCapture capture(VLOGSRC_KAPI_DIRECTOR, VLOG_DEBUG);
    NotePtr n = parse(url);
    EXPECT_EQ(n, nullptr) << url;
    const std::vector<std::string> lines = capture.summary();
    return lines.empty() ? std::string("(no log line)") : lines.back();
}

} // namespace

TEST(NoteUrl, DocumentedQueryTexts)
{
    EXPECT_EQ(NoteUrl::toString(provisionRequest()),
              "_type=deviceProvisionRequest&hardwareId=AB+12&keyMajorVersion=2");

    NotePtr n = Note::create();
    NotePtr d = Note::create("t");
    d->add("x", "1");
    n->add("d", d);
    EXPECT_EQ(NoteUrl::toString(n), "d.0._type=t&d.0.x=1");
    n->add("d", Note::create("u"));
    n->add("d", Note::create());
    n->add("e", "");
    n->add("e", "a&b=c");
    EXPECT_EQ(NoteUrl::toString(n), "d.0._type=t&d.0.x=1&d.1._type=u&d.2&e=&e=a%26b%3Dc");
    NotePtr back = NoteUrl::fromString(NoteUrl::toString(n));
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->equals(*n)) << back->toString();
    EXPECT_EQ(NoteUrl::toString(Note::create()), "");
}

TEST(NoteUrl, SubNoteIndexesCountAllValuesOfTheName)
{
    NotePtr n = Note::create();
    n->add("m", "first a string");
    n->add("m", Note::create("then a note"));
    EXPECT_EQ(NoteUrl::toString(n), "m=first+a+string&m.1._type=then+a+note");
    NotePtr back = NoteUrl::fromString(NoteUrl::toString(n));
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->equals(*n));
}

TEST(NoteUrl, ParsingBuildsNotesAlongThePath)
{
    NotePtr n = NoteUrl::fromString("a.0.x=5&&a.0.b.0.y=6&a.1&z&_type=top&");
    ASSERT_TRUE(n);
    EXPECT_EQ(n->toString(), "Note: top\n"
                             "a = Note: \n"
                             "   b = Note: \n"
                             "      y = 6\n"
                             "   x = 5\n"
                             "  + Note: \n"
                             "z = \n");
}

TEST(NoteUrl, QueryRefusalsAndTheirMessages)
{
    const std::string e = "kapi_director.error: ";
    EXPECT_EQ(refusal(NoteUrl::fromString, "a.1.x=5"),
              e + "NoteUrl::findNoteByPath(): index 1 is too big. 'a' only has 0 values so far, "
                  "so index must be less than or equal to that in path 'a.1.x'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a=b=c"),
              e + "NoteUrl::fromString(): badly formatted key/value pair 'a=b=c' has 3 parts "
                  "instead of 1 or 2 in url 'a=b=c'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "x=1&=v"),
              e + "NoteUrl::fromString(): missing name in key/value pair '=v' in url 'x=1&=v'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a%4=1"),
              e + "NoteUrl::fromString(): failed to decode name 'a%4'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a=%zz"),
              e + "NoteUrl::fromString(): failed to decode value '%zz'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a.=1"),
              e + "NoteUrl::fromString():path 'a.' ends with a dot!");
    EXPECT_EQ(refusal(NoteUrl::fromString, "_type=a&_type=b"),
              e + "NoteUrl::fromString(): more than one _type '_type' in url '_type=a&_type=b'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a.0=1"),
              e + "NoteUrl::fromString(): even-length path 'a.0' in url 'a.0=1' has a value, but "
                  "even-length paths just create a note.");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a.x.b=1"),
              e + "NoteUrl::findNoteByPath(): can't parse index part 'x' as integer in path "
                  "'a.x.b'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a.-1.b=1"),
              e + "NoteUrl::findNoteByPath(): can't parse index part '-1' as integer in path "
                  "'a.-1.b'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a..b=1"),
              e + "NoteUrl::findNoteByPath(): empty part in path 'a..b'");
    EXPECT_EQ(refusal(NoteUrl::fromString, "a=1&a.0.b=2"),
              e + "NoteUrl::findNoteByPath(): can't get a[0] as a note in path 'a.0.b'");
    std::string deep;
    for (unsigned i = 0; i < Note::kMaxDepth; ++i)
        deep += "n.0.";
    EXPECT_EQ(refusal(NoteUrl::fromString, deep + "x=1"),
              e + "NoteUrl::findNoteByPath(): path '" + deep +
                  "x' is nested deeper than 100 levels");
}

TEST(NoteUrlPath, DocumentedPathTexts)
{
    EXPECT_EQ(NoteUrlPath::toString(provisionRequest()),
              "_type/deviceProvisionRequest/hardwareId/AB+12/keyMajorVersion/2");
    NotePtr n = Note::create();
    n->add("star", "a*b");
    n->add("empty", "");
    n->add("sub", Note::create());
    n->add("sub", Note::create("t"));
    const std::string path = NoteUrlPath::toString(n);
    EXPECT_EQ(path, "empty/*00/star/a*2Ab/sub.0._type/*00/sub.1._type/t");
    NotePtr back = NoteUrlPath::fromString(path);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->equals(*n)) << back->toString();
    back = NoteUrlPath::fromString("/" + path + "/");
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->equals(*n));
    ASSERT_TRUE(NoteUrlPath::fromString(""));
    EXPECT_EQ(NoteUrlPath::toString(Note::create()), "");
}

TEST(NoteUrlPath, PathRefusalsAndTheirMessages)
{
    const std::string e = "kapi_director.error: ";
    EXPECT_EQ(refusal(NoteUrlPath::fromString, "a/1/b"),
              e + "NoteUrlPath::fromString(): not an even number of fields in url 'a/1/b'");
    EXPECT_EQ(refusal(NoteUrlPath::fromString, "a//b/1"),
              e + "NoteUrlPath::fromString(): empty values not supported in url 'a//b/1' (use "
                  "*00)");
    EXPECT_EQ(refusal(NoteUrlPath::fromString, "a/1//x"),
              e + "NoteUrlPath::fromString(): missing name in key/value pair '/x' in url "
                  "'a/1//x'");
    EXPECT_EQ(refusal(NoteUrlPath::fromString, "a*4/1"),
              e + "NoteUrlPath::fromString(): failed to decode name 'a*4'");
    EXPECT_EQ(refusal(NoteUrlPath::fromString, "a/*g0"),
              e + "NoteUrlPath::fromString(): failed to decode value '*g0'");
    EXPECT_EQ(refusal(NoteUrlPath::fromString, "_type/a/_type/b"),
              e + "NoteUrlPath::fromString(): more than one _type '_type' in url "
                  "'_type/a/_type/b'");
    EXPECT_EQ(refusal(NoteUrlPath::fromString, "a./1"),
              e + "NoteUrlPath::fromString():path 'a.' ends with a dot!");
    EXPECT_EQ(refusal(NoteUrlPath::fromString, "a.0/1"),
              e + "NoteUrlPath::fromString(): even-length path 'a.0' in url 'a.0/1' has a value, "
                  "but even-length paths just create a note.");

    LogCapture codec(VLOGSRC_KAPI_DIRECTOR, VLOG_DEBUG);
    EXPECT_FALSE(NoteUrlPath::fromString("a/x*4"));
    ASSERT_GE(codec.summary().size(), 2u);
    EXPECT_EQ(codec.summary()[0], "kapi_director.debug: KeloUrlCodecDecode(): can't decode url "
                                  "'x*4'.Bad format at or around character number 2");
}

TEST(NoteUrlForms, GeneratedNotesRoundTripInBothForms)
{
    const struct
    {
        std::string (*write)(const NotePtr&);
        NotePtr (*read)(const std::string&);
        const char* neverWritten; // bytes that must come out escaped
    } forms[] = {{NoteUrl::toString, NoteUrl::fromString, " \"#<>?[]\\^`{|}"},
                 {NoteUrlPath::toString, NoteUrlPath::fromString, " %&=?#"}};
    for (const auto& form : forms) {
        for (unsigned seed = 1; seed <= 300; ++seed) {
            NoteGenerator generator(seed, Alphabet::NoNul);
            NotePtr n = generator.note(5);
            const std::string text = form.write(n);
            EXPECT_EQ(text.find_first_of(form.neverWritten), std::string::npos) << text;
            NotePtr back = form.read(text);
            ASSERT_TRUE(back) << "seed " << seed << ": " << text;
            EXPECT_TRUE(back->equals(*n)) << "seed " << seed << ": " << text;
        }
    }
}
