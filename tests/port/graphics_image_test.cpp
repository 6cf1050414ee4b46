// Image surfaces over real DirectFB (dummy system): PNG and JPEG files written by PIL are
// decoded through GraphicsDfb::CreateSurfaceFromImage and every pixel is compared with PIL's
// own decode (exactly for PNG, within a small tolerance for JPEG). Also the budget around the
// decode and the refusals (no geometry, over budget, corrupt data, software-only kinds).
#include "support/DfbTestDriver.h"

#include "core/ImageGeometry.h"
#include "core/MemoryBufferStream.h"
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

using namespace KELO;

namespace {

std::string g_imageDir;

// Writes the test images and, for each, PIL's decode as raw RGBA bytes (<name>.rgba).
const char* const kMakeImages = R"(
import sys
from PIL import Image
d = sys.argv[1]
w, h = 61, 37
rgba = Image.new('RGBA', (w, h))
rgba.putdata([((x * 37) % 256, (y * 53) % 256, (x * y) % 256, (x * 11 + y * 7) % 256)
              for y in range(h) for x in range(w)])
rgba.save(d + '/rgba.png')
rgba.convert('RGB').save(d + '/rgb.png')
rgba.convert('RGB').quantize(colors=16).save(d + '/palette.png')
rgba.convert('L').save(d + '/grey.png')
smooth = Image.new('RGB', (w, h))
smooth.putdata([(x * 4, y * 6, 128) for y in range(h) for x in range(w)])
smooth.save(d + '/photo.jpg', quality=95)
smooth.save(d + '/progressive.jpg', quality=95, progressive=True)
for name in ['rgba.png', 'rgb.png', 'palette.png', 'grey.png', 'photo.jpg', 'progressive.jpg']:
    with open(d + '/' + name + '.rgba', 'wb') as f:
        f.write(Image.open(d + '/' + name).convert('RGBA').tobytes())
Image.new('RGB', (1024, 1024), (1, 2, 3)).save(d + '/big.png')
data = bytearray(open(d + '/rgba.png', 'rb').read())
idat = data.index(b'IDAT')
open(d + '/truncated.png', 'wb').write(data[:idat + 40])
for i in range(idat + 8, idat + 60):
    data[i] ^= 0x5A
open(d + '/corrupt.png', 'wb').write(data)
open(d + '/anim.gif', 'wb').write(b'GIF89a\x02\x00\x02\x00\x00\x00\x00;')
)";

class ImageSurfaceTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        g_imageDir =
            (std::filesystem::temp_directory_path() / ("kelo_images_" + std::to_string(getpid())))
                .string();
        std::filesystem::create_directories(g_imageDir);
        const KeloTest::ProcessResult made =
            KeloTest::runProcess("/usr/bin/python3", {"-c", kMakeImages, g_imageDir});
        ASSERT_EQ(made.exitStatus, 0) << made.err;
    }
    static void TearDownTestSuite() { std::filesystem::remove_all(g_imageDir); }

    void SetUp() override
    {
        m_graphics = KeloTest::dfbTestGraphics();
        ASSERT_NE(m_graphics, nullptr);
        m_usedBefore = m_graphics->usedSurfaceSpace();
    }
    // Every test gives back what it charged.
    void TearDown() override { EXPECT_EQ(m_graphics->usedSurfaceSpace(), m_usedBefore); }

    static std::string file(const std::string& name)
    {
        return KeloTest::readFile(g_imageDir + "/" + name);
    }

    GraphicsDfb* m_graphics = nullptr;
    unsigned m_usedBefore = 0;
};

struct DecodeListener : SurfaceListener
{
    int completed = 0;
    int failed = 0;
    void* context = nullptr;
    void Callback(void* ctx, Event event) override
    {
        context = ctx;
        if (event == DecodeCompleted)
            ++completed;
        if (event == DecodeFailed)
            ++failed;
    }
};

struct SurfaceDeleter
{
    void operator()(Surface* surface) const
    {
        KeloTest::dfbTestGraphics()->DestroySurface(surface);
    }
};
using SurfacePtr = std::unique_ptr<Surface, SurfaceDeleter>;

// Counts how far a stream was read, to tell a header peek from a full decode.
class CountingStream : public MemoryBufferStream
{
public:
    using MemoryBufferStream::MemoryBufferStream;
    Status read(void* buffer, uint32 size, uint32* bytesRead) override
    {
        const Status status = MemoryBufferStream::read(buffer, size, bytesRead);
        if (tell() > furthest)
            furthest = tell();
        return status;
    }
    int64 furthest = 0;
};

// Compares every pixel of `surface` with PIL's RGBA decode; returns the largest channel
// difference. Formats without alpha compare only the colour channels.
int largestDifference(const Surface& surface, const std::string& reference, bool hasAlpha)
{
    int width = 0, height = 0, pitch = 0;
    surface.GetInfo(&width, &height, nullptr, &pitch, nullptr);
    EXPECT_EQ(reference.size(), size_t(width) * height * 4);
    if (reference.size() != size_t(width) * height * 4)
        return 256;
    auto* base = static_cast<const uint8*>(surface.Lock());
    if (base == nullptr)
        return 256;
    int largest = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const uint32 word = *reinterpret_cast<const uint32*>(base + y * pitch + x * 4);
            const uint8* expected =
                reinterpret_cast<const uint8*>(reference.data()) + (size_t(y) * width + x) * 4;
            const int actual[4] = {int((word >> 16) & 0xFF), int((word >> 8) & 0xFF),
                                   int(word & 0xFF), int(word >> 24)};
            for (int c = 0; c < (hasAlpha ? 4 : 3); ++c)
                largest = std::max(largest, std::abs(actual[c] - int(expected[c])));
        }
    }
    surface.Unlock();
    return largest;
}

} // namespace

TEST_F(ImageSurfaceTest, PngDecodesExactlyAsPilDoes)
{
    for (const char* name : {"rgba.png", "rgb.png", "palette.png", "grey.png"}) {
        SCOPED_TRACE(name);
        MemoryBufferStream stream(file(name));
        DecodeListener listener;
        int context = 0;
        Surface* raw = nullptr;
        ASSERT_EQ(m_graphics->CreateSurfaceFromImage(&raw, &stream, FMT_PNG, &context, &listener,
                                                     true, true),
                  SUCCESS);
        SurfacePtr surface(raw);
        ASSERT_NE(raw, nullptr);
        EXPECT_EQ(listener.completed, 1);
        EXPECT_EQ(listener.failed, 0);
        EXPECT_EQ(listener.context, &context);
        // The listener is the surface's own: only that one can be removed.
        DecodeListener other;
        EXPECT_EQ(raw->RemoveListener(&other), INVALID_ARGUMENTS);
        EXPECT_EQ(raw->RemoveListener(&listener), SUCCESS);

        int width = 0, height = 0, pitch = 0, size = 0;
        PixelFormat format = RGB565;
        raw->GetInfo(&width, &height, &format, &pitch, &size);
        EXPECT_EQ(width, 61);
        EXPECT_EQ(height, 37);
        EXPECT_EQ(format, RGBA8888);
        EXPECT_GE(pitch, 61 * 4);
        // The budget holds exactly stride x height for the surface.
        EXPECT_EQ(m_graphics->usedSurfaceSpace(), m_usedBefore + unsigned(pitch) * 37);
        EXPECT_EQ(static_cast<SurfaceDfb*>(raw)->allocatedSize(), unsigned(size));
        Rectangle clip;
        raw->GetClippingRectangle(&clip);
        EXPECT_EQ(clip.width, 61);
        EXPECT_EQ(clip.height, 37);

        DFBSurfacePixelFormat dfbFormat = DSPF_UNKNOWN;
        IDirectFBSurface* dfbSurface = static_cast<SurfaceDfb*>(raw)->dfbSurface();
        dfbSurface->GetPixelFormat(dfbSurface, &dfbFormat);
        if (std::string(name) == "rgba.png") {
            EXPECT_EQ(dfbFormat, DSPF_ARGB) << "alpha must survive the decode";
        }
        EXPECT_EQ(
            largestDifference(*raw, file(std::string(name) + ".rgba"), dfbFormat == DSPF_ARGB), 0);
    }
}

TEST_F(ImageSurfaceTest, JpegDecodesCloseToPil)
{
    for (const char* name : {"photo.jpg", "progressive.jpg"}) {
        SCOPED_TRACE(name);
        MemoryBufferStream stream(file(name));
        Surface* raw = nullptr;
        // The format is only a hint; the header says JPEG.
        ASSERT_EQ(m_graphics->CreateSurfaceFromImage(&raw, &stream, FMT_UNKNOWN, nullptr, nullptr,
                                                     false, true),
                  SUCCESS);
        SurfacePtr surface(raw);
        int width = 0, height = 0;
        raw->GetInfo(&width, &height, nullptr, nullptr, nullptr);
        EXPECT_EQ(width, 61);
        EXPECT_EQ(height, 37);
        EXPECT_LE(largestDifference(*raw, file(std::string(name) + ".rgba"), false), 4);
    }
}

TEST_F(ImageSurfaceTest, CorruptImagesFailAndGiveTheChargeBack)
{
    for (const char* name : {"corrupt.png", "truncated.png"}) {
        SCOPED_TRACE(name);
        MemoryBufferStream stream(file(name));
        DecodeListener listener;
        Surface* raw = reinterpret_cast<Surface*>(&stream);
        EXPECT_EQ(m_graphics->CreateSurfaceFromImage(&raw, &stream, FMT_PNG, nullptr, &listener,
                                                     false, true),
                  OUT_OF_MEMORY);
        EXPECT_EQ(raw, nullptr);
        EXPECT_EQ(listener.completed, 0);
        EXPECT_EQ(m_graphics->usedSurfaceSpace(), m_usedBefore);
    }

    // An empty stream makes no DirectFB objects at all.
    MemoryBufferStream empty;
    SurfaceDfb nothing(&empty, FMT_PNG, nullptr, nullptr);
    EXPECT_EQ(nothing.dfbResult(), DFB_FAILURE);
    EXPECT_EQ(nothing.dfbSurface(), nullptr);
}

TEST_F(ImageSurfaceTest, OverBudgetIsRefusedFromTheHeaderAlone)
{
    const unsigned savedMax = m_graphics->maxSurfaceMemory();
    // 1024 x 1024 x 4 bytes do not fit into what is left.
    m_graphics->setMaxSurfaceMemory(m_usedBefore + 1024u * 1024u * 4u - 1u);
    CountingStream stream(file("big.png"));
    Surface* raw = nullptr;
    const int32 status =
        m_graphics->CreateSurfaceFromImage(&raw, &stream, FMT_PNG, nullptr, nullptr, false, true);
    m_graphics->setMaxSurfaceMemory(savedMax);
    EXPECT_EQ(status, OUT_OF_MEMORY);
    EXPECT_EQ(raw, nullptr);
    // Only the header was read: the decoder, which reads the whole stream, never ran.
    EXPECT_LT(stream.furthest, int64(stream.size()));
    EXPECT_EQ(stream.tell(), 0);

    // With room for it the same image decodes.
    CountingStream again(file("big.png"));
    ASSERT_EQ(
        m_graphics->CreateSurfaceFromImage(&raw, &again, FMT_PNG, nullptr, nullptr, false, true),
        SUCCESS);
    SurfacePtr surface(raw);
    EXPECT_EQ(KeloTest::pixelAt(*raw, 1023, 1023) & 0xFFFFFF, 0x010203u);
}

TEST_F(ImageSurfaceTest, WithoutGeometryOrDecoderTheRequestIsRefused)
{
    Surface* raw = reinterpret_cast<Surface*>(&raw);
    MemoryBufferStream garbage(std::string("definitely not an image"));
    EXPECT_EQ(
        m_graphics->CreateSurfaceFromImage(&raw, &garbage, FMT_PNG, nullptr, nullptr, false, true),
        INVALID_ARGUMENTS);
    EXPECT_EQ(raw, nullptr);
    EXPECT_EQ(
        m_graphics->CreateSurfaceFromImage(&raw, nullptr, FMT_PNG, nullptr, nullptr, false, true),
        INVALID_ARGUMENTS);
    EXPECT_EQ(m_graphics->CreateSurfaceFromImage(nullptr, &garbage, FMT_PNG, nullptr, nullptr,
                                                 false, true),
              INVALID_ARGUMENTS);

    // A GIF has a geometry but only a software decoder could make it a surface.
    MemoryBufferStream gif(file("anim.gif"));
    EXPECT_EQ(
        m_graphics->CreateSurfaceFromImage(&raw, &gif, FMT_UNKNOWN, nullptr, nullptr, false, true),
        NOT_SUPPORTED);
    EXPECT_EQ(raw, nullptr);

    ImageGeometry geometry;
    MemoryBufferStream png(file("rgb.png"));
    EXPECT_EQ(m_graphics->PrepareSurfaceFromImage(&png, FMT_PNG, &geometry), NOT_SUPPORTED);
}
