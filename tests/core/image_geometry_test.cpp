// Image header reading over byte streams: the memory stream's position rules, and the JPEG,
// PNG and GIF header reader on hand-built headers (valid, truncated at every length, hostile)
// and on files made by PIL.
#include "core/ImageGeometry.h"
#include "core/MemoryBufferStream.h"
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

using namespace KELO;
using Bytes = std::vector<uint8>;

namespace {

// Standard CRC-32 (reflected, polynomial 0xEDB88320) over a PNG chunk's type and data.
uint32 referenceCrc(const Bytes& data, size_t from, size_t count)
{
    uint32 crc = 0xFFFFFFFFu;
    for (size_t i = from; i < from + count; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k)
            crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
    }
    return crc ^ 0xFFFFFFFFu;
}

void putU32(Bytes& out, uint32 value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(uint8(value >> shift));
}

Bytes png(uint32 width, uint32 height, uint8 depth, uint8 colourType, uint8 interlace = 0)
{
    Bytes out = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    putU32(out, 13);
    for (char c : std::string("IHDR"))
        out.push_back(uint8(c));
    putU32(out, width);
    putU32(out, height);
    out.insert(out.end(), {depth, colourType, 0, 0, interlace});
    putU32(out, referenceCrc(out, 12, 17));
    // Some chunk data after the header, as in a real file.
    out.insert(out.end(), {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82});
    return out;
}

Bytes segment(uint8 marker, const Bytes& payload)
{
    Bytes out = {0xFF, marker, uint8((payload.size() + 2) >> 8), uint8(payload.size() + 2)};
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

Bytes frame(uint8 marker, uint16 width, uint16 height, uint8 components = 3, uint8 precision = 8)
{
    Bytes payload = {precision,         uint8(height >> 8), uint8(height),
                     uint8(width >> 8), uint8(width),       components};
    for (uint8 i = 0; i < components; ++i)
        payload.insert(payload.end(), {uint8(i + 1), i == 0 ? uint8(0x22) : uint8(0x11), 0});
    return segment(marker, payload);
}

Bytes jpeg(std::initializer_list<Bytes> parts)
{
    Bytes out = {0xFF, 0xD8};
    for (const Bytes& part : parts)
        out.insert(out.end(), part.begin(), part.end());
    const Bytes tail = {0xFF, 0xDA, 0x00, 0x02, 0x12, 0x34, 0xFF, 0xD9};
    out.insert(out.end(), tail.begin(), tail.end());
    return out;
}

struct Outcome
{
    Status status = FAILURE;
    ImageGeometry geometry;
};

Outcome geometryOf(const Bytes& bytes, ImageFormat format = FMT_UNKNOWN)
{
    MemoryBufferStream stream(bytes);
    Outcome outcome;
    outcome.status = Multimedia::getGeometry(&stream, format, &outcome.geometry);
    EXPECT_EQ(stream.tell(), 0) << "the header reader must put the position back";
    return outcome;
}

// Hands out at most one byte per read, like a producer that trickles data in.
class TrickleStream : public MemoryBufferStream
{
public:
    using MemoryBufferStream::MemoryBufferStream;
    Status read(void* buffer, uint32 size, uint32* bytesRead) override
    {
        return MemoryBufferStream::read(buffer, size < 1 ? size : 1, bytesRead);
    }
};

// Promises more bytes in bounds() than it delivers, or fails outright.
class BrokenStream : public MemoryBufferStream
{
public:
    BrokenStream(const Bytes& bytes, Status failure) : MemoryBufferStream(bytes), m_failure(failure)
    {
    }
    Status bounds(int64* first, int64* end) const override
    {
        *first = 0;
        *end = int64(size()) + 100;
        return SUCCESS;
    }
    Status read(void* buffer, uint32 size, uint32* bytesRead) override
    {
        if (m_failure != SUCCESS) {
            *bytesRead = 0;
            return m_failure;
        }
        return MemoryBufferStream::read(buffer, size, bytesRead);
    }

private:
    Status m_failure;
};

} // namespace

TEST(MemoryBufferStream, SeeksStayInsideTheBytes)
{
    MemoryBufferStream stream(std::string("0123456789"));
    int64 first = -1;
    int64 end = -1;
    ASSERT_EQ(stream.bounds(&first, &end), SUCCESS);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(end, 10);

    EXPECT_EQ(stream.seek(4, BufferStream::FromStart), SUCCESS);
    EXPECT_EQ(stream.seek(-2, BufferStream::FromCurrent), SUCCESS);
    EXPECT_EQ(stream.tell(), 2);
    EXPECT_EQ(stream.seek(0, BufferStream::FromEnd), SUCCESS);
    EXPECT_EQ(stream.tell(), 10);
    EXPECT_EQ(stream.seek(-10, BufferStream::FromEnd), SUCCESS);
    EXPECT_EQ(stream.tell(), 0);

    // Refused seeks leave the position where it was.
    ASSERT_EQ(stream.seek(3, BufferStream::FromStart), SUCCESS);
    EXPECT_EQ(stream.seek(11, BufferStream::FromStart), INVALID_ARGUMENTS);
    EXPECT_EQ(stream.seek(-4, BufferStream::FromCurrent), INVALID_ARGUMENTS);
    EXPECT_EQ(stream.seek(1, BufferStream::FromEnd), INVALID_ARGUMENTS);
    EXPECT_EQ(stream.seek(INT64_MIN, BufferStream::FromEnd), INVALID_ARGUMENTS);
    EXPECT_EQ(stream.seek(INT64_MAX, BufferStream::FromCurrent), INVALID_ARGUMENTS);
    EXPECT_EQ(stream.seek(0, static_cast<BufferStream::Whence>(7)), INVALID_ARGUMENTS);
    EXPECT_EQ(stream.tell(), 3);
}

TEST(MemoryBufferStream, ReadsShortAtTheEndAndReportsBuffering)
{
    MemoryBufferStream stream(std::string("abcdef"));
    char buffer[8] = {};
    uint32 count = 99;
    ASSERT_EQ(stream.seek(4, BufferStream::FromStart), SUCCESS);

    MediaBuffer::BufferInfo info;
    ASSERT_EQ(stream.getInfo(&info), SUCCESS);
    EXPECT_EQ(info.length, 6u);
    EXPECT_EQ(info.bytesLeft, 2u);
    EXPECT_TRUE(info.completelyDownloaded);

    ASSERT_EQ(stream.read(buffer, sizeof(buffer), &count), SUCCESS);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(std::string(buffer, 2), "ef");
    ASSERT_EQ(stream.read(buffer, sizeof(buffer), &count), SUCCESS);
    EXPECT_EQ(count, 0u) << "end of data";
    EXPECT_EQ(stream.read(nullptr, 4, &count), INVALID_ARGUMENTS);

    MemoryBufferStream empty;
    ASSERT_EQ(empty.read(buffer, sizeof(buffer), &count), SUCCESS);
    EXPECT_EQ(count, 0u);
}

TEST(MemoryBufferStream, ReadFullyCollectsShortReads)
{
    TrickleStream stream(std::string("header+body"));
    char buffer[16] = {};
    uint32 count = 0;
    ASSERT_EQ(readFully(stream, buffer, 6, &count), SUCCESS);
    EXPECT_EQ(std::string(buffer, count), "header");
    ASSERT_EQ(readFully(stream, buffer, sizeof(buffer), &count), SUCCESS);
    EXPECT_EQ(std::string(buffer, count), "+body") << "a short count marks the end";
}

TEST(ImageGeometryPng, HeaderFieldsAreReported)
{
    Outcome rgba = geometryOf(png(640, 360, 8, 6));
    ASSERT_EQ(rgba.status, SUCCESS);
    EXPECT_EQ(rgba.geometry.kind, ImageGeometry::KIND_PNG);
    EXPECT_EQ(rgba.geometry.width, 640u);
    EXPECT_EQ(rgba.geometry.height, 360u);
    EXPECT_EQ(rgba.geometry.bitsPerComponent, 8);
    EXPECT_EQ(rgba.geometry.components, 4);
    EXPECT_EQ(rgba.geometry.colourType, 6);
    EXPECT_TRUE(rgba.geometry.hasAlpha);
    EXPECT_FALSE(rgba.geometry.progressive);

    Outcome palette = geometryOf(png(1, 1, 4, 3, 1));
    ASSERT_EQ(palette.status, SUCCESS);
    EXPECT_EQ(palette.geometry.components, 1);
    EXPECT_FALSE(palette.geometry.hasAlpha);
    EXPECT_TRUE(palette.geometry.progressive) << "Adam7 interlacing";

    Outcome grey16 = geometryOf(png(3, 2, 16, 4));
    ASSERT_EQ(grey16.status, SUCCESS);
    EXPECT_EQ(grey16.geometry.components, 2);
    EXPECT_EQ(grey16.geometry.bitsPerComponent, 16);

    // The largest size a PNG may state is still a geometry; the budget refuses it later.
    Outcome widest = geometryOf(png(0x7FFFFFFF, 0x7FFFFFFF, 1, 0));
    ASSERT_EQ(widest.status, SUCCESS);
    EXPECT_EQ(widest.geometry.width, 0x7FFFFFFFu);

    // The content decides the kind, whatever the caller announced.
    EXPECT_EQ(geometryOf(png(2, 2, 8, 2), FMT_JPEG).geometry.kind, ImageGeometry::KIND_PNG);
}

TEST(ImageGeometryPng, MalformedHeadersAreRefused)
{
    struct Case
    {
        const char* what;
        Bytes bytes;
    };
    std::vector<Case> cases = {
        {"zero width", png(0, 10, 8, 6)},
        {"zero height", png(10, 0, 8, 6)},
        {"width over 2^31-1", png(0x80000000u, 1, 8, 6)},
        {"height 0xFFFFFFFF", png(1, 0xFFFFFFFFu, 8, 6)},
        {"RGB at 4 bits", png(1, 1, 4, 2)},
        {"palette at 16 bits", png(1, 1, 16, 3)},
        {"colour type 5", png(1, 1, 8, 5)},
        {"depth 3", png(1, 1, 3, 0)},
        {"interlace method 2", png(1, 1, 8, 6, 2)},
    };
    Bytes badCrc = png(4, 4, 8, 6);
    badCrc[29] ^= 1;
    cases.push_back({"IHDR checksum", badCrc});
    Bytes badSignature = png(4, 4, 8, 6);
    badSignature[4] = '\n';
    cases.push_back({"signature", badSignature});
    Bytes notIhdr = png(4, 4, 8, 6);
    notIhdr[12] = 'i';
    cases.push_back({"first chunk not IHDR", notIhdr});
    Bytes longIhdr = png(4, 4, 8, 6);
    longIhdr[11] = 14;
    cases.push_back({"IHDR length 14", longIhdr});
    Bytes compression = png(4, 4, 8, 6);
    compression[26] = 1;
    cases.push_back({"compression method 1, stale checksum", compression});
    uint32 crc = referenceCrc(compression, 12, 17);
    for (int i = 0; i < 4; ++i)
        compression[29 + i] = uint8(crc >> (24 - 8 * i));
    cases.push_back({"compression method 1", compression});

    for (const Case& c : cases)
        EXPECT_EQ(geometryOf(c.bytes).status, INVALID_ARGUMENTS) << c.what;
}

TEST(ImageGeometry, EveryTruncationIsRefusedWithoutOverread)
{
    const Bytes full[] = {png(16, 9, 8, 2),
                          jpeg({segment(0xE0, Bytes(14, 0x4A)), frame(0xC0, 16, 9)}),
                          Bytes{'G', 'I', 'F', '8', '9', 'a', 16, 0, 9, 0, 0xF7}};
    for (const Bytes& image : full) {
        ASSERT_EQ(geometryOf(image).status, SUCCESS);
        // The PNG header is complete at 33 bytes; JPEG and GIF need everything up to the
        // end of their frame header (JPEG 2+18+19, GIF 11).
        const size_t needed = image[0] == 0x89 ? 33 : image[0] == 0xFF ? 39 : 11;
        for (size_t length = 0; length < needed; ++length) {
            // An exact-size heap copy lets AddressSanitizer catch any read past the end.
            Bytes cut(image.begin(), image.begin() + length);
            EXPECT_EQ(geometryOf(cut).status, INVALID_ARGUMENTS) << "length " << length;
        }
    }
}

TEST(ImageGeometryJpeg, FrameHeaderFoundBehindOtherSegments)
{
    const Bytes exif = segment(0xE1, Bytes(3000, 0xAB)); // larger than the reader's window
    const Bytes comment = segment(0xFE, Bytes{'h', 'i'});
    const Bytes tables = segment(0xDB, Bytes(65, 1));
    const Bytes huffman = segment(0xC4, Bytes(30, 0)); // 0xC4 is not a frame header
    const Outcome outcome = geometryOf(
        jpeg({segment(0xE0, Bytes(14, 0)), exif, comment, Bytes{0xFF, 0xFF, 0xFF}, // fill bytes
              tables, huffman, frame(0xC0, 1920, 1080)}));
    ASSERT_EQ(outcome.status, SUCCESS);
    EXPECT_EQ(outcome.geometry.kind, ImageGeometry::KIND_JPEG);
    EXPECT_EQ(outcome.geometry.width, 1920u);
    EXPECT_EQ(outcome.geometry.height, 1080u);
    EXPECT_EQ(outcome.geometry.components, 3);
    EXPECT_EQ(outcome.geometry.bitsPerComponent, 8);
    EXPECT_EQ(outcome.geometry.jpegProcess, 0);
    EXPECT_FALSE(outcome.geometry.progressive);
    EXPECT_FALSE(outcome.geometry.hasAlpha);

    // The same header read one byte at a time gives the same answer.
    TrickleStream trickle(jpeg({exif, frame(0xC2, 7, 5, 1)}));
    ImageGeometry geometry;
    ASSERT_EQ(Multimedia::getGeometry(&trickle, FMT_JPEG, &geometry), SUCCESS);
    EXPECT_EQ(geometry.width, 7u);
    EXPECT_EQ(geometry.components, 1);
}

TEST(ImageGeometryJpeg, ProcessAndProgressiveComeFromTheFrameMarker)
{
    const struct
    {
        uint8 marker;
        bool progressive;
    } frames[] = {{0xC0, false}, {0xC1, false}, {0xC2, true}, {0xC3, false},
                  {0xC6, true},  {0xC9, false}, {0xCA, true}, {0xCE, true}};
    for (const auto& f : frames) {
        const Outcome outcome = geometryOf(jpeg({frame(f.marker, 320, 240, 1, 12)}));
        ASSERT_EQ(outcome.status, SUCCESS) << std::hex << int(f.marker);
        EXPECT_EQ(outcome.geometry.jpegProcess, f.marker - 0xC0);
        EXPECT_EQ(outcome.geometry.progressive, f.progressive) << std::hex << int(f.marker);
        EXPECT_EQ(outcome.geometry.bitsPerComponent, 12);
    }
}

TEST(ImageGeometryJpeg, HostileSegmentsAreRefused)
{
    Bytes badComponents = frame(0xC0, 8, 8, 3);
    badComponents[3] += 3; // length no longer 8 + 3 * Nf
    Bytes badSampling = frame(0xC0, 8, 8, 1);
    badSampling[11] = 0x50;
    const struct
    {
        const char* what;
        Bytes bytes;
    } cases[] = {
        {"height 0 (size left to a later marker)", jpeg({frame(0xC0, 64, 0)})},
        {"width 0", jpeg({frame(0xC0, 0, 64)})},
        {"precision 7", jpeg({frame(0xC0, 8, 8, 3, 7)})},
        {"no components", jpeg({frame(0xC0, 8, 8, 0)})},
        {"five components", jpeg({frame(0xC0, 8, 8, 5)})},
        {"frame length mismatch", jpeg({badComponents})},
        {"sampling factor 5", jpeg({badSampling})},
        {"scan before frame", jpeg({})},
        {"end of image before frame", Bytes{0xFF, 0xD8, 0xFF, 0xD9}},
        {"second start of image", Bytes{0xFF, 0xD8, 0xFF, 0xD8, 0xFF, 0xC0}},
        {"segment length 1", Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x01, 0xFF, 0xC0}},
        {"segment longer than the data", Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0xFF, 0xFF, 1, 2}},
        {"only garbage after SOI", Bytes{0xFF, 0xD8, 1, 2, 3, 4, 5}},
        {"unknown signature", Bytes{'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0}},
        {"empty", Bytes{}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(geometryOf(c.bytes).status, INVALID_ARGUMENTS) << c.what;

    // A frame header further in than the scan limit is not looked for.
    Bytes padding;
    const Bytes largest = segment(0xE2, Bytes(0xFFFD, 0));
    while (padding.size() <= Multimedia::kMaxHeaderScan)
        padding.insert(padding.end(), largest.begin(), largest.end());
    EXPECT_EQ(geometryOf(jpeg({padding, frame(0xC0, 8, 8)})).status, INVALID_ARGUMENTS);
}

TEST(ImageGeometry, GifIsAKindForTheSoftwareDecoders)
{
    const Outcome gif =
        geometryOf(Bytes{'G', 'I', 'F', '8', '7', 'a', 0x2C, 0x01, 0xC8, 0x00, 0x80 | 0x03, 0, 0});
    ASSERT_EQ(gif.status, SUCCESS);
    EXPECT_EQ(gif.geometry.kind, ImageGeometry::KIND_GIF);
    EXPECT_EQ(gif.geometry.width, 300u);
    EXPECT_EQ(gif.geometry.height, 200u);
    EXPECT_EQ(gif.geometry.bitsPerComponent, 4);
    EXPECT_EQ(geometryOf(Bytes{'G', 'I', 'F', '8', '9', 'a', 0, 0, 5, 0, 0}).status,
              INVALID_ARGUMENTS);

    MemoryBufferStream stream(Bytes{'G', 'I', 'F', '8', '9', 'a', 1, 0, 1, 0, 0});
    Surface* surface = reinterpret_cast<Surface*>(&stream);
    EXPECT_EQ(Multimedia::createSurfaceFromImage(nullptr, &surface, &stream, gif.geometry, nullptr,
                                                 nullptr),
              NOT_SUPPORTED);
    EXPECT_EQ(surface, nullptr);
}

TEST(ImageGeometry, StreamPositionAndFailures)
{
    // The header is read from the first byte wherever the caller left the position.
    MemoryBufferStream stream(png(5, 6, 8, 0));
    ASSERT_EQ(stream.seek(20, BufferStream::FromStart), SUCCESS);
    ImageGeometry geometry;
    ASSERT_EQ(Multimedia::getGeometry(&stream, FMT_PNG, &geometry), SUCCESS);
    EXPECT_EQ(geometry.width, 5u);
    EXPECT_EQ(stream.tell(), 20);

    // Failures leave the geometry untouched.
    ImageGeometry untouched;
    untouched.width = 77;
    EXPECT_EQ(Multimedia::getGeometry(nullptr, FMT_PNG, &untouched), INVALID_ARGUMENTS);
    EXPECT_EQ(Multimedia::getGeometry(&stream, FMT_PNG, nullptr), INVALID_ARGUMENTS);
    BrokenStream failing(png(5, 6, 8, 0), IO_ERROR);
    EXPECT_EQ(Multimedia::getGeometry(&failing, FMT_PNG, &untouched), IO_ERROR);
    // Fewer bytes than bounds() promised: a truncated header, not a crash.
    BrokenStream shortOne(Bytes{0x89, 'P', 'N', 'G'}, SUCCESS);
    EXPECT_EQ(Multimedia::getGeometry(&shortOne, FMT_PNG, &untouched), INVALID_ARGUMENTS);
    EXPECT_EQ(untouched.width, 77u);
}

TEST(ImageGeometry, FilesWrittenByPil)
{
    const std::string dir =
        (std::filesystem::temp_directory_path() / ("kelo_geometry_" + std::to_string(getpid())))
            .string();
    std::filesystem::create_directories(dir);
    const std::string script = R"(
import sys
from PIL import Image
d = sys.argv[1]
img = Image.new('RGB', (123, 45), (10, 200, 30))
img.save(d + '/base.jpg', quality=90)
img.save(d + '/prog.jpg', progressive=True, quality=80)
exif = Image.Exif(); exif[0x010F] = 'maker' * 200
img.convert('L').save(d + '/grey_exif.jpg', exif=exif.tobytes())
img.convert('RGBA').save(d + '/rgba.png')
img.convert('P').save(d + '/palette.png')
)";
    const KeloTest::ProcessResult made =
        KeloTest::runProcess("/usr/bin/python3", {"-c", script, dir});
    ASSERT_EQ(made.exitStatus, 0) << made.err;

    const struct
    {
        const char* file;
        ImageGeometry::Kind kind;
        uint8 components;
        bool progressive;
    } files[] = {{"base.jpg", ImageGeometry::KIND_JPEG, 3, false},
                 {"prog.jpg", ImageGeometry::KIND_JPEG, 3, true},
                 {"grey_exif.jpg", ImageGeometry::KIND_JPEG, 1, false},
                 {"rgba.png", ImageGeometry::KIND_PNG, 4, false},
                 {"palette.png", ImageGeometry::KIND_PNG, 1, false}};
    for (const auto& f : files) {
        MemoryBufferStream stream(KeloTest::readFile(dir + "/" + f.file));
        ImageGeometry geometry;
        ASSERT_EQ(Multimedia::getGeometry(&stream, FMT_UNKNOWN, &geometry), SUCCESS) << f.file;
        EXPECT_EQ(geometry.kind, f.kind) << f.file;
        EXPECT_EQ(geometry.width, 123u) << f.file;
        EXPECT_EQ(geometry.height, 45u) << f.file;
        EXPECT_EQ(geometry.components, f.components) << f.file;
        EXPECT_EQ(geometry.progressive, f.progressive) << f.file;
    }
    std::filesystem::remove_all(dir);
}
