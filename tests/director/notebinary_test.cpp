// The binary note form: the documented byte layouts, the string limits, every refusal with its
// log line, and round trips of generated notes.
#include "kapi/StreamBufferReader.h"
#include "kapi/StreamBufferWriter.h"
#include "kapi/StreamStringWriter.h"
#include "kapi/director/NoteBinary.h"

#include "note_test_util.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

using Kapi::Director::NoteBinary;
using Kapi::Stream::BufferReader;
using Kapi::Stream::StringWriter;
using namespace NoteTest;

namespace {

std::string packed(const NotePtr& note)
{
    std::string out;
    EXPECT_TRUE(NoteBinary::packToString(note, &out));
    return out;
}

} // namespace

TEST(NoteBinary, VarUintExamples)
{
    const struct
    {
        unsigned value;
        std::string encoded;
    } cases[] = {{5, bytes({0x05})},
                 {0x7F, bytes({0x7F})},
                 {0x80, bytes({0x81, 0x00})},
                 {300, bytes({0x82, 0x2C})},
                 {65536, bytes({0x84, 0x80, 0x00})},
                 {0x0FFFFFFF, bytes({0xFF, 0xFF, 0xFF, 0x7F})},
                 {0x10000000, bytes({0x81, 0x80, 0x80, 0x80, 0x00})},
                 {0xFFFFFFFF, bytes({0x8F, 0xFF, 0xFF, 0xFF, 0x7F})}};
    for (const auto& c : cases) {
        StringWriter writer;
        ASSERT_TRUE(NoteBinary::writeVarUint(&writer, c.value));
        EXPECT_EQ(hex(writer.str()), hex(c.encoded)) << c.value;
        BufferReader reader(c.encoded.data(), c.encoded.size());
        unsigned out = 0;
        ASSERT_TRUE(NoteBinary::readVarUint(&reader, &out));
        EXPECT_EQ(out, c.value);
    }
    // Five bytes with bit 7 set are refused; overflow past 32 bits is shifted out.
    const std::string fiveContinued = bytes({0x80, 0x80, 0x80, 0x80, 0x80, 0x00});
    BufferReader reader(fiveContinued.data(), fiveContinued.size());
    unsigned out = 7;
    EXPECT_FALSE(NoteBinary::readVarUint(&reader, &out));
    EXPECT_EQ(out, 7u);
    const std::string overflow = bytes({0xFF, 0xFF, 0xFF, 0xFF, 0x7F});
    BufferReader big(overflow.data(), overflow.size());
    ASSERT_TRUE(NoteBinary::readVarUint(&big, &out));
    EXPECT_EQ(out, 0xFFFFFFFFu);
}

TEST(NoteBinary, DocumentedLayoutsAndContentType)
{
    EXPECT_STREQ(Kapi::Director::g_binaryNoteContentType, "application/x-kelo-bin-note");
    EXPECT_EQ(hex(packed(Note::create())), "00 00");
    EXPECT_EQ(hex(packed(Note::create("a"))), "01 61 00");

    NotePtr n = Note::create("t");
    n->add("x", "1");
    n->add("x", "2");
    n->add("y", Note::create());
    const std::string expected = bytes({0x01, 0x74, 0x01, 0x01, 0x78, 0x01, 0x31, 0x03, 0x01, 0x32,
                                        0x02, 0x01, 0x79, 0x00, 0x00, 0x00});
    EXPECT_EQ(hex(packed(n)), hex(expected));

    NotePtr back = NoteBinary::unpackBytes(expected.data(), expected.size());
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->equals(*n));
}

TEST(NoteBinary, RepeatCodesAreTrackedPerNoteLevel)
{
    // The sub-note's own entries do not change the parent's previous name: after the sub-note
    // "a", the parent's next "a" value is still a repeat.
    NotePtr sub = Note::create("s");
    sub->add("z", "in");
    NotePtr n = Note::create();
    n->add("a", sub);
    n->add("a", "after");
    n->add("a", Note::create());
    EXPECT_EQ(hex(packed(n)),
              hex(bytes({0x00, 0x02, 0x01, 'a', 0x01, 's', 0x01, 0x01, 'z',  0x02, 'i',  'n',
                         0x00, 0x03, 0x05, 'a', 'f',  't', 'e',  'r',  0x04, 0x00, 0x00, 0x00})));
    const std::string data = packed(n);
    NotePtr back = NoteBinary::unpackBytes(data.data(), data.size());
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->equals(*n));

    // An empty first name packs but does not unpack: there is no name to repeat.
    NotePtr empty = Note::create();
    empty->add("", "v");
    EXPECT_EQ(hex(packed(empty)), "00 03 01 76 00");
    EXPECT_FALSE(NoteBinary::unpackBytes(packed(empty).data(), packed(empty).size()));
}

TEST(NoteBinary, StringsUpTo65536BytesPassAndLongerAreRefusedBothWays)
{
    LogCapture capture(VLOGSRC_KAPI_DIRECTOR, VLOG_DEBUG);
    NotePtr n = Note::create();
    n->add("s", std::string(65536, 'q'));
    const std::string data = packed(n);
    EXPECT_EQ(hex(data.substr(0, 6)), "00 01 01 73 84 80");
    NotePtr back = NoteBinary::unpackBytes(data.data(), data.size());
    ASSERT_TRUE(back);
    EXPECT_EQ(back->getStringOr("s", 0, "").size(), 65536u);

    n->add("t", std::string(65537, 'q'));
    std::string out = "unchanged";
    EXPECT_FALSE(NoteBinary::packToString(n, &out));
    EXPECT_EQ(out, "unchanged");

    std::string tooLong = bytes({0x00, 0x01, 0x01, 's', 0x84, 0x80, 0x01});
    tooLong += std::string(65537, 'q') + bytes({0x00});
    EXPECT_FALSE(NoteBinary::unpackBytes(tooLong.data(), tooLong.size()));
    EXPECT_EQ(
        capture.summary(),
        (std::vector<std::string>{
            "kapi_director.error: NoteBinary: Try to write 65537 (>65536) bytes for a String",
            "kapi_director.error: NoteBinary: Try to read 65537 (>65536) bytes for a String"}));
}

TEST(NoteBinary, MalformedInputIsRefusedWithItsMessage)
{
    LogCapture capture(VLOGSRC_KAPI_DIRECTOR, VLOG_DEBUG);
    const struct
    {
        std::string data;
        const char* message; // null: refused without a message (the data ends early)
    } cases[] = {
        {bytes({0x01, 't', 0x01, 0x01, 'x'}), nullptr}, // ends right after a name
        {bytes({0x00, 0x05, 0x00}), "NoteBinary: unexpected byte code 5 (~2)"},
        {bytes({0x00, 0x03, 0x01, 'v', 0x00}), "NoteBinary: No name to repeat yet (string)"},
        {bytes({0x00, 0x04, 0x00, 0x00, 0x00}), "NoteBinary: No name to repeat yet (note)"},
        {bytes({0x00, 0x01, 0x00, 0x01, 'v', 0x03, 0x01, 'w', 0x00}),
         "NoteBinary: No name to repeat yet (string)"},   // an empty name gives nothing to repeat
        {bytes({0x05, 'a', 'b'}), nullptr},               // a length past the end
        {bytes({0x80, 0x80, 0x80, 0x80, 0x80}), nullptr}, // a six-byte varuint
        {bytes({}), nullptr},
        {bytes({0x00}), nullptr},
        {bytes({0x00, 0x02, 0x01, 'n', 0x00, 0x01, 0x01, 'x'}), nullptr}, // a sub-note cut short
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(hex(c.data));
        const size_t before = capture.lines().size();
        BufferReader reader(c.data.data(), c.data.size());
        NotePtr out = Note::create("sentinel");
        NotePtr kept = out;
        EXPECT_FALSE(NoteBinary::unpack(&reader, &out));
        EXPECT_EQ(out, kept);
        const std::vector<std::string> lines = capture.summary();
        if (c.message) {
            ASSERT_EQ(lines.size(), before + 1);
            EXPECT_EQ(lines.back(), std::string("kapi_director.error: ") + c.message);
        } else {
            EXPECT_EQ(lines.size(), before);
        }
    }
}

TEST(NoteBinary, NestingIsBoundedOnBothSides)
{
    LogCapture capture(VLOGSRC_KAPI_DIRECTOR, VLOG_DEBUG);
    std::string data;
    for (unsigned i = 0; i < Note::kMaxDepth - 1; ++i)
        data += bytes({0x00, 0x02, 0x01, 'n'});
    data += bytes({0x00, 0x00});
    for (unsigned i = 0; i < Note::kMaxDepth - 1; ++i)
        data += bytes({0x00});
    NotePtr deepest = NoteBinary::unpackBytes(data.data(), data.size());
    ASSERT_TRUE(deepest);
    std::string again;
    EXPECT_TRUE(NoteBinary::packToString(deepest, &again));
    EXPECT_EQ(again, data);

    const std::string deeper = bytes({0x00, 0x02, 0x01, 'n'}) + data + bytes({0x00});
    EXPECT_FALSE(NoteBinary::unpackBytes(deeper.data(), deeper.size()));
    NotePtr top = Note::create();
    top->add("n", deepest);
    EXPECT_FALSE(NoteBinary::packToString(top, &again));
    const std::vector<std::string> lines = capture.summary();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(
        lines[0].rfind("kapi_director.error: NoteBinary: notes nested deeper than 100 levels", 0),
        0u);
}

TEST(NoteBinary, TrailingBytesAndTruncationsNeverPass)
{
    NoteGenerator generator(7, Alphabet::Binary);
    const std::string data = packed(generator.note());
    const std::string extra = data + bytes({0x00});
    EXPECT_FALSE(NoteBinary::unpackBytes(extra.data(), extra.size()));
    // Every proper prefix fails; the reader never goes past what it was given (ASan checks the
    // heap copy).
    for (size_t length = 0; length < data.size(); ++length) {
        std::unique_ptr<char[]> copy(new char[length + 1]);
        memcpy(copy.get(), data.data(), length);
        EXPECT_FALSE(NoteBinary::unpackBytes(copy.get(), length)) << length;
    }
}

TEST(NoteBinary, GeneratedNotesRoundTripAndAFullBufferFails)
{
    for (unsigned seed = 1; seed <= 300; ++seed) {
        NoteGenerator generator(seed, Alphabet::Binary);
        NotePtr n = generator.note(5);
        const std::string data = packed(n);
        NotePtr back = NoteBinary::unpackBytes(data.data(), data.size());
        ASSERT_TRUE(back) << "seed " << seed;
        EXPECT_TRUE(back->equals(*n)) << "seed " << seed;
        EXPECT_EQ(packed(back), data) << "seed " << seed;
    }

    // Packing into a full buffer, or packing no note, fails.
    NotePtr n = Note::create("type");
    n->add("name", "value");
    uint8_t area[8];
    Kapi::Stream::BufferWriter writer(area, sizeof area);
    EXPECT_FALSE(NoteBinary::pack(&writer, n));
    EXPECT_FALSE(writer.ok());
    EXPECT_FALSE(NoteBinary::pack(&writer, nullptr));
}
