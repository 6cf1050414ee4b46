// The byte streams: exact encodings of every integer form, all-or-nothing reads and writes, the
// sticky failure, and the position rules of the buffer and string streams.
#include "kapi/StreamBufferReader.h"
#include "kapi/StreamBufferWriter.h"
#include "kapi/StreamStringWriter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using Kapi::Stream::BufferReader;
using Kapi::Stream::BufferWriter;
using Kapi::Stream::StringWriter;
using Kapi::Stream::Writer;

namespace {

std::string bytes(std::initializer_list<int> list)
{
    std::string out;
    for (int b : list)
        out.push_back(static_cast<char>(b));
    return out;
}

template <typename F> std::string written(F write)
{
    StringWriter writer;
    write(writer);
    EXPECT_TRUE(writer.ok());
    return writer.str();
}

} // namespace

TEST(StreamEncoding, FixedWidthIntegersAreLittleEndian)
{
    EXPECT_EQ(written([](Writer& w) { w.addU8(0xAB); }), bytes({0xAB}));
    EXPECT_EQ(written([](Writer& w) { w.addU16(0x1234); }), bytes({0x34, 0x12}));
    EXPECT_EQ(written([](Writer& w) { w.addU32(0x12345678); }), bytes({0x78, 0x56, 0x34, 0x12}));
    EXPECT_EQ(written([](Writer& w) { w.addU64(0x0102030405060708ull); }),
              bytes({8, 7, 6, 5, 4, 3, 2, 1}));

    const std::string data =
        bytes({0xAB, 0x34, 0x12, 0x78, 0x56, 0x34, 0x12, 8, 7, 6, 5, 4, 3, 2, 1});
    BufferReader reader(data.data(), data.size());
    EXPECT_EQ(reader.getU8(), 0xAB);
    EXPECT_EQ(reader.getU16(), 0x1234);
    EXPECT_EQ(reader.getU32(), 0x12345678u);
    EXPECT_EQ(reader.getU64(), 0x0102030405060708ull);
    EXPECT_TRUE(reader.ok());
    EXPECT_EQ(reader.remaining(), 0u);
}

// Unsigned values take the prefix codes at each boundary; signed ones are zig-zagged first.
TEST(StreamEncoding, VariableLengthIntegers)
{
    const struct
    {
        bool isSigned;
        int64_t value;
        std::string encoded;
    } cases[] = {
        {false, 0, bytes({0x00})},
        {false, 0x7F, bytes({0x7F})},
        {false, 0x80, bytes({0x80, 0x80})},
        {false, 300, bytes({0x81, 0x2C})},
        {false, 0x3FFF, bytes({0xBF, 0xFF})},
        {false, 0x4000, bytes({0xC0, 0x40, 0x00})},
        {false, 0x1FFFFF, bytes({0xDF, 0xFF, 0xFF})},
        {false, 0x200000, bytes({0xE0, 0x20, 0x00, 0x00})},
        {false, 0x0FFFFFFF, bytes({0xEF, 0xFF, 0xFF, 0xFF})},
        {false, 0x10000000, bytes({0xFF, 0x00, 0x00, 0x00, 0x10})},
        {false, 0xFFFFFFFF, bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF})},
        {true, 0, bytes({0x00})},
        {true, -1, bytes({0x01})},
        {true, 1, bytes({0x02})},
        {true, -2, bytes({0x03})},
        {true, 63, bytes({0x7E})},
        {true, -64, bytes({0x7F})},
        {true, 64, bytes({0x80, 0x80})},
        {true, INT32_MAX, bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF})},
        {true, INT32_MIN, bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.value) + (c.isSigned ? " signed" : ""));
        BufferReader reader(c.encoded.data(), c.encoded.size());
        if (c.isSigned) {
            EXPECT_EQ(written([&](Writer& w) { w.addVarI32(static_cast<int32_t>(c.value)); }),
                      c.encoded);
            EXPECT_EQ(reader.getVarI32(), c.value);
        } else {
            EXPECT_EQ(written([&](Writer& w) { w.addVarU32(static_cast<uint32_t>(c.value)); }),
                      c.encoded);
            EXPECT_EQ(Writer::varU32Size(static_cast<uint32_t>(c.value)), c.encoded.size());
            EXPECT_EQ(reader.getVarU32(), c.value);
        }
        EXPECT_TRUE(reader.ok());
        EXPECT_EQ(reader.remaining(), 0u);
    }
}

TEST(StreamEncoding, StringsCarryAU16Length)
{
    EXPECT_EQ(written([](Writer& w) { w.addString("abc"); }), bytes({3, 0, 'a', 'b', 'c'}));
    EXPECT_EQ(written([](Writer& w) { w.addString(""); }), bytes({0, 0}));
    const std::string longest(Writer::kMaxStringLength, 'x');
    const std::string out = written([&](Writer& w) { w.addString(longest); });
    EXPECT_EQ(out.substr(0, 2), bytes({0xFF, 0xFF}));
    BufferReader reader(out.data(), out.size());
    EXPECT_EQ(reader.getString(), longest);
    EXPECT_TRUE(reader.ok());

    StringWriter tooLong;
    EXPECT_FALSE(tooLong.addString(std::string(Writer::kMaxStringLength + 1, 'x')));
    EXPECT_FALSE(tooLong.ok());
    EXPECT_EQ(tooLong.str(), "");
}

TEST(StreamReader, AFailedReadConsumesNothingAndTheFailureSticks)
{
    const std::string data = bytes({1, 2, 3});
    BufferReader reader(data.data(), data.size());
    EXPECT_EQ(reader.getU16(), 0x0201);
    EXPECT_EQ(reader.getU32(), 0u); // only one byte left
    EXPECT_FALSE(reader.ok());
    EXPECT_EQ(reader.tell(), 2u);
    EXPECT_EQ(reader.remaining(), 1u);
    EXPECT_EQ(reader.getU8(), 0); // would fit, but the stream has failed
    EXPECT_EQ(reader.tell(), 2u);
    EXPECT_FALSE(reader.seek(0));
}

TEST(StreamReader, BadPrefixesAndLengthsFail)
{
    for (int first = 0xF0; first <= 0xFE; ++first) {
        const std::string data = bytes({first, 0, 0, 0, 0, 0, 0});
        BufferReader reader(data.data(), data.size());
        reader.getVarU32();
        EXPECT_FALSE(reader.ok()) << first;
    }
    const char* truncated[] = {"\x80", "\xC0\x01", "\xE0\x01\x02", "\xFF\x01\x02\x03"};
    for (const char* t : truncated) {
        BufferReader reader(t, strlen(t));
        reader.getVarU32();
        EXPECT_FALSE(reader.ok()) << t;
    }
    // A string announcing more bytes than there are.
    const std::string data = bytes({0xFF, 0xFF, 'a', 'b'});
    BufferReader reader(data.data(), data.size());
    EXPECT_EQ(reader.getString(), "");
    EXPECT_FALSE(reader.ok());
}

TEST(StreamReader, SeekSkipAndCopyStayInsideTheBuffer)
{
    const std::string data = "0123456789";
    BufferReader reader(data.data(), data.size());
    char out[4] = {};
    EXPECT_TRUE(reader.skip(3));
    EXPECT_TRUE(reader.copyBytes(out, 3));
    EXPECT_EQ(std::string(out, 3), "345");
    EXPECT_EQ(*reader.current(), '6');
    EXPECT_TRUE(reader.seek(10));
    EXPECT_EQ(reader.remaining(), 0u);
    EXPECT_TRUE(reader.seek(1));
    EXPECT_EQ(reader.getU8(), '1');
    EXPECT_FALSE(reader.seek(11));
    EXPECT_FALSE(reader.ok());

    BufferReader none(nullptr, 5);
    EXPECT_EQ(none.remaining(), 0u);
    EXPECT_EQ(none.getU8(), 0);
    EXPECT_FALSE(none.ok());
}

TEST(StreamBufferWriter, AWriteThatDoesNotFitStoresNothing)
{
    uint8_t area[6];
    memset(area, 0xEE, sizeof area);
    BufferWriter writer(area, sizeof area);
    EXPECT_TRUE(writer.addU32(0x04030201));
    EXPECT_EQ(writer.remaining(), 2u);
    EXPECT_FALSE(writer.addU32(0x08070605));
    EXPECT_FALSE(writer.ok());
    EXPECT_EQ(writer.tell(), 4u);
    EXPECT_EQ(area[4], 0xEE);
    EXPECT_EQ(area[5], 0xEE);
    EXPECT_FALSE(writer.addU8(9)); // fits, but the writer has failed
    EXPECT_EQ(area[4], 0xEE);
}

TEST(StreamBufferWriter, SeekBackPatchesALengthAndForwardResumes)
{
    uint8_t area[16] = {};
    BufferWriter writer(area, sizeof area);
    writer.addU8(0x42);
    const size_t lengthAt = writer.tell();
    writer.addU32(0); // placeholder
    writer.copyBytes("hello", 5);
    const size_t end = writer.tell();
    ASSERT_TRUE(writer.seek(lengthAt));
    writer.addU32(static_cast<uint32_t>(end - lengthAt - 4));
    ASSERT_TRUE(writer.seek(end));
    writer.addU8(0x43);
    ASSERT_TRUE(writer.ok());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(area), writer.tell()),
              bytes({0x42, 5, 0, 0, 0, 'h', 'e', 'l', 'l', 'o', 0x43}));
    EXPECT_TRUE(writer.seek(16));
    EXPECT_EQ(writer.remaining(), 0u);
    EXPECT_FALSE(writer.seek(17));
    EXPECT_FALSE(writer.ok());
}

TEST(StreamStringWriter, AppendsAfterExistingTextAndOverwritesAfterSeek)
{
    std::string target = "keep:";
    StringWriter writer(&target);
    EXPECT_EQ(writer.tell(), 0u);
    writer.copyBytes("abcdef", 6);
    EXPECT_EQ(writer.tell(), 6u);
    ASSERT_TRUE(writer.seek(4));
    writer.copyBytes("XYZ", 3); // two bytes overwritten, one appended
    EXPECT_EQ(target, "keep:abcdXYZ");
    EXPECT_EQ(writer.tell(), 7u);
    EXPECT_FALSE(writer.seek(8)); // past the end of what was written
    EXPECT_FALSE(writer.ok());
    EXPECT_EQ(target, "keep:abcdXYZ");

    StringWriter own;
    own.addU16(0x0102);
    EXPECT_EQ(own.str(), bytes({2, 1}));
}
