// Note XML: the written form (exactly, and as judged by xmllint), reading it back, and the
// reader's refusals.
#include "kapi/director/NoteBinary.h"
#include "kapi/director/NoteXml.h"

#include "note_test_util.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

using Kapi::Director::NoteBinary;
using Kapi::Director::NoteXml;
using KeloTest::runProcess;
using namespace NoteTest;

namespace {

std::string xml(const NotePtr& note, bool indent = false, bool declaration = false)
{
    std::string out;
    EXPECT_TRUE(NoteXml::toString(note, &out, indent, declaration));
    return out;
}

KeloTest::ProcessResult xmllint(const std::string& document)
{
    return runProcess("/usr/bin/xmllint", {"--noout", "-"}, document);
}

} // namespace

TEST(NoteXmlWrite, EmptyNestedRepeatedAndEscapedWithIndentAndDeclaration)
{
    // Empty values are empty elements; the type is always written.
    NotePtr empty = Note::create("r");
    empty->add("a", "");
    EXPECT_EQ(xml(empty), "<note type=\"r\"><a/></note>");
    EXPECT_EQ(xml(Note::create()), "<note type=\"\"/>");

    NotePtr n = Note::create("a<b");
    n->add("item", "x & y");
    n->add("item", "<z>");
    NotePtr sub = Note::create("\"q\"");
    sub->add("k", "v");
    n->add("sub", sub);
    // The writer spells the encoding it was given ("utf-8") by its canonical name.
    EXPECT_EQ(xml(n, true, true), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<note type=\"a&lt;b\">\n"
                                  "  <item>x &amp; y</item>\n"
                                  "  <item>&lt;z&gt;</item>\n"
                                  "  <sub type=\"&quot;q&quot;\">\n"
                                  "    <k>v</k>\n"
                                  "  </sub>\n"
                                  "</note>\n");
    EXPECT_EQ(xml(n), "<note type=\"a&lt;b\"><item>x &amp; y</item><item>&lt;z&gt;</item>"
                      "<sub type=\"&quot;q&quot;\"><k>v</k></sub></note>");
}

TEST(NoteXmlWrite, GeneratedNotesPassXmllintAndReadBackToTheSameBinaryForm)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        NoteGenerator generator(seed, Alphabet::XmlText);
        NotePtr n = generator.note(5);
        std::string binary;
        ASSERT_TRUE(NoteBinary::packToString(n, &binary));
        // bin -> note -> xml -> note -> bin
        NotePtr decoded = NoteBinary::unpackBytes(binary.data(), binary.size());
        ASSERT_TRUE(decoded);
        for (bool indent : {false, true}) {
            const std::string text = xml(decoded, indent, seed % 2 == 0);
            if (seed % 6 == 0 || indent) {
                KeloTest::ProcessResult lint = xmllint(text);
                EXPECT_EQ(lint.exitStatus, 0) << lint.err << text;
            }
            NotePtr back;
            std::string error;
            ASSERT_TRUE(NoteXml::fromString(text, &back, &error)) << error << "\n" << text;
            std::string again;
            ASSERT_TRUE(NoteBinary::packToString(back, &again));
            EXPECT_EQ(hex(again), hex(binary)) << text;
        }
    }
}

TEST(NoteXmlRead, AcceptsCommentsCdataCharacterReferencesAndLayout)
{
    const std::string text = "<?xml version=\"1.0\"?>\n<!-- a comment -->\n"
                             "<note type=\"t\">\n  <a><![CDATA[<raw>]]> &#x41;&amp;</a>\n"
                             "  <?pi data?>\n  <b type=\"\"/>\n  <c>  </c>\n"
                             "  <d type=\"s\"><e/></d></note>\n";
    NotePtr n;
    std::string error;
    ASSERT_TRUE(NoteXml::fromString(text, &n, &error)) << error;
    EXPECT_EQ(n->toString(), "Note: t\n"
                             "a = <raw> A&\n"
                             "b = Note: \n"
                             "c =   \n"
                             "d = Note: s\n"
                             "   e = \n");
}

TEST(NoteXmlRead, RefusesWhatTheWriterNeverWrites)
{
    LogCapture capture(VLOGSRC_KAPI_DIRECTOR, VLOG_DEBUG);
    const struct
    {
        std::string text;
        const char* reason;
    } cases[] = {
        {"", "the document is empty"},
        {"<note>", "line 1: "},
        {"<other type=\"\"/>", "the top element is 'other', not 'note'"},
        {"<note/>", "the top element has no type attribute"},
        {"<note type=\"\" x=\"1\"/>", "unexpected attribute 'x' (only 'type' is allowed)"},
        {"<note type=\"\">text</note>", "text directly inside note 'note'"},
        {"<note type=\"\"><a>1<b/></a></note>", "element 'b' inside the string value 'a'"},
        {"<!DOCTYPE note [<!ENTITY e \"x\">]><note type=\"\"><a>&e;</a></note>",
         "document type declarations are not accepted"},
        {"<note type=\"\"><a>&undefined;</a></note>", "line 1: "},
        {"<note type=\"\"/><note type=\"\"/>", "line 1: "},
        {"<note type=\"\"><a>\xff</a></note>", "line 1: "},
        // CDATA bytes reach the reader unchecked: an overlong sequence must still be refused.
        {"<note type=\"\"><a><![CDATA[\xc1\xa2]]></a></note>",
         "the value of 'a' is not proper UTF-8"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        NotePtr out = Note::create("sentinel");
        NotePtr kept = out;
        std::string error;
        EXPECT_FALSE(NoteXml::fromString(c.text, &out, &error));
        EXPECT_EQ(out, kept);
        EXPECT_EQ(error.rfind("NoteXml::fromString(): line ", 0) == 0 ||
                      error == "NoteXml::fromString(): the document is empty",
                  true)
            << error;
        EXPECT_NE(error.find(c.reason), std::string::npos) << error;
        ASSERT_FALSE(capture.lines().empty());
        EXPECT_EQ(capture.summary().back(), "kapi_director.error: " + error);
    }
}

TEST(NoteXmlRead, NestingIsBounded)
{
    std::string ok, tooDeep;
    for (unsigned i = 1; i < Note::kMaxDepth; ++i)
        ok += "<n type=\"\">";
    ok = "<note type=\"\">" + ok + std::string();
    std::string close;
    for (unsigned i = 1; i < Note::kMaxDepth; ++i)
        close += "</n>";
    NotePtr n;
    std::string error;
    ASSERT_TRUE(NoteXml::fromString(ok + close + "</note>", &n, &error)) << error;
    EXPECT_FALSE(
        NoteXml::fromString(ok + "<n type=\"\"><x>1</x></n>" + close + "</note>", &n, &error));
    EXPECT_NE(error.find("notes nested deeper than 100 levels"), std::string::npos) << error;
}
