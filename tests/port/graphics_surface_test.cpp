// Surface drawing over real DirectFB (dummy system): pixels are read back by locking the
// surface and compared with values worked out here.
#include "support/DfbTestDriver.h"

#include "DfbResult.h"

#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

// DirectFB keeps module and arena bookkeeping for the life of the process. Reports about
// DirectFB's own internals are suppressed by tests/lsan.supp and tests/tsan.supp, which the
// sanitizer runs pass to every test program.

using namespace KELO;
using KeloTest::argb;
using KeloTest::pixelAt;

namespace {

struct SurfaceDeleter
{
    void operator()(Surface* surface) const
    {
        KeloTest::dfbTestGraphics()->DestroySurface(surface);
    }
};
using SurfacePtr = std::unique_ptr<Surface, SurfaceDeleter>;

SurfacePtr makeSurface(unsigned width, unsigned height, PixelFormat format = RGBA8888)
{
    Surface* surface = nullptr;
    GraphicsDfb* graphics = KeloTest::dfbTestGraphics();
    if (graphics == nullptr ||
        graphics->CreateSurface(&surface, width, height, format, true) != SUCCESS)
        return nullptr;
    return SurfacePtr(surface);
}

int channel(uint32 pixel, int shift)
{
    return static_cast<int>((pixel >> shift) & 0xFF);
}

void expectNear(uint32 actual, int a, int r, int g, int b)
{
    EXPECT_NEAR(channel(actual, 24), a, 2) << std::hex << actual;
    EXPECT_NEAR(channel(actual, 16), r, 2) << std::hex << actual;
    EXPECT_NEAR(channel(actual, 8), g, 2) << std::hex << actual;
    EXPECT_NEAR(channel(actual, 0), b, 2) << std::hex << actual;
}

} // namespace

TEST(GraphicsClip, SourceFollowsTheCutDestination)
{
    Rectangle clip{0, 0, 100, 100};
    Rectangle dst{-10, 0, 20, 10};
    Rectangle src{0, 0, 40, 10};
    ASSERT_TRUE(clipBlitRectangles(clip, dst, src));
    EXPECT_EQ(dst.x, 0);
    EXPECT_EQ(dst.width, 10);
    EXPECT_EQ(src.x, 20);
    EXPECT_EQ(src.width, 20);
    EXPECT_EQ(src.height, 10);

    // Rounding to nearest: 1 of 4 destination pixels cut from 10 source pixels is 2.5 -> 3.
    dst = {0, 0, 4, 1};
    src = {0, 0, 10, 1};
    ASSERT_TRUE(clipBlitRectangles(Rectangle{1, 0, 3, 1}, dst, src));
    EXPECT_EQ(src.x, 3);
    EXPECT_EQ(src.width, 7);

    // Both ends cut: the scaled cuts may not exceed the source, and an empty span is a no-op.
    dst = {-1, 0, 3, 1};
    src = {0, 0, 2, 1};
    EXPECT_FALSE(clipBlitRectangles(Rectangle{0, 0, 1, 1}, dst, src));
    dst = {-1, 0, 3, 1};
    src = {5, 0, 1, 1};
    ASSERT_TRUE(clipBlitRectangles(Rectangle{0, 0, 1, 1}, dst, src));
    EXPECT_EQ(src.x, 5);
    EXPECT_EQ(src.width, 1);

    dst = {200, 200, 5, 5};
    src = {0, 0, 5, 5};
    EXPECT_FALSE(clipBlitRectangles(clip, dst, src));
}

TEST(GraphicsFormats, MappingBothWays)
{
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(RGBA8888), DSPF_ARGB);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(RGB888), DSPF_ARGB);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(RGB565), DSPF_RGB16);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(RGBA5551), DSPF_ARGB1555);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(RGBA4444), DSPF_ARGB4444);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(YCBCR), DSPF_UYVY);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(CLUT8), DSPF_LUT8);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(ALPHA8), DSPF_A8);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(YUV444), DSPF_AYUV);
    EXPECT_EQ(SurfaceDfb::KELOToDfbPixelFormat(static_cast<PixelFormat>(3)), DSPF_ARGB);
    EXPECT_EQ(SurfaceDfb::DfbToKELOPixelFormat(DSPF_RGB32), RGBA8888);
    EXPECT_EQ(SurfaceDfb::DfbToKELOPixelFormat(DSPF_ARGB), RGBA8888);
    EXPECT_EQ(SurfaceDfb::DfbToKELOPixelFormat(DSPF_RGB16), RGB565);
    EXPECT_EQ(SurfaceDfb::DfbToKELOPixelFormat(DSPF_YV12), RGBA8888);
    EXPECT_EQ(SurfaceDfb::bytesPerPixel(RGB565), 2u);
    EXPECT_EQ(SurfaceDfb::bytesPerPixel(ALPHA8), 1u);
    EXPECT_EQ(SurfaceDfb::bytesPerPixel(YUV444), 4u);
}

TEST(GraphicsFormats, ResultNames)
{
    EXPECT_STREQ(DFBResultToString(DFB_OK), "DFB_OK");
    EXPECT_STREQ(DFBResultToString(DFB_FAILURE), "DFB_FAILURE");
    EXPECT_STREQ(DFBResultToString(DFB_THIZNULL), "DFB_THIZNULL");
    EXPECT_STREQ(DFBResultToString(DFB_NOSYSTEMMEMORY), "DFB_NOSYSTEMMEMORY");
    EXPECT_STREQ(DFBResultToString(DFB_NOVIDEOMEMORY), "DFB_NOVIDEOMEMORY");
    EXPECT_STREQ(DFBResultToString(DFB_NOBUFFER), "DFB_NOBUFFER");
    EXPECT_STREQ(DFBResultToString(static_cast<DFBResult>(-5)), "DFB_UNKNOWN");
}

TEST(GraphicsSurface, FillReplacesAndRespectsClipping)
{
    SurfacePtr surface = makeSurface(64, 32);
    ASSERT_TRUE(surface);
    int width = 0, height = 0, pitch = 0, size = 0;
    PixelFormat format = RGB565;
    surface->GetInfo(&width, &height, &format, &pitch, &size);
    EXPECT_EQ(width, 64);
    EXPECT_EQ(height, 32);
    EXPECT_EQ(format, RGBA8888);
    EXPECT_GE(pitch, 256);
    EXPECT_EQ(size, pitch * 32);

    ASSERT_EQ(surface->Fill({0, 0, 64, 32}, Pixel{10, 20, 30, 40}), SUCCESS);
    EXPECT_EQ(pixelAt(*surface, 0, 0), argb(40, 10, 20, 30));
    EXPECT_EQ(pixelAt(*surface, 63, 31), argb(40, 10, 20, 30));

    // Fill replaces alpha too, though blending is on for the surface.
    ASSERT_EQ(surface->Fill({0, 0, 8, 8}, Pixel{255, 0, 0, 0}), SUCCESS);
    EXPECT_EQ(pixelAt(*surface, 7, 7), argb(0, 255, 0, 0));
    EXPECT_EQ(pixelAt(*surface, 8, 8), argb(40, 10, 20, 30));

    ASSERT_EQ(surface->SetClippingRectangle({16, 0, 16, 16}), SUCCESS);
    EXPECT_EQ(surface->Fill({40, 20, 10, 10}, Pixel{1, 2, 3, 4}), SUCCESS); // wholly outside
    EXPECT_EQ(pixelAt(*surface, 45, 25), argb(40, 10, 20, 30));
    EXPECT_EQ(surface->Fill({10, 10, 10, 10}, Pixel{1, 2, 3, 4}), SUCCESS); // partly inside
    EXPECT_EQ(pixelAt(*surface, 15, 15), argb(40, 10, 20, 30));
    EXPECT_EQ(pixelAt(*surface, 16, 15), argb(4, 1, 2, 3));
    EXPECT_EQ(pixelAt(*surface, 19, 15), argb(4, 1, 2, 3));
    EXPECT_EQ(pixelAt(*surface, 16, 16), argb(40, 10, 20, 30));
}

TEST(GraphicsSurface, BlendedFillBlendsBySourceAlpha)
{
    SurfacePtr surface = makeSurface(16, 16);
    ASSERT_TRUE(surface);
    surface->Fill({0, 0, 16, 16}, Pixel{0, 0, 255, 255});
    ASSERT_EQ(surface->BlendedFill({0, 0, 8, 16}, Pixel{255, 0, 0, 128}), SUCCESS);
    // c = src * a + dst * (1 - a), a = 128 / 255, on every channel.
    expectNear(pixelAt(*surface, 0, 0), 128 * 128 / 255 + 255 * 127 / 255, 255 * 128 / 255, 0,
               255 * 127 / 255);
    EXPECT_EQ(pixelAt(*surface, 8, 0), argb(255, 0, 0, 255));
}

TEST(GraphicsSurface, CopyIsExactAndClipScalesTheSource)
{
    SurfacePtr source = makeSurface(8, 8);
    SurfacePtr target = makeSurface(16, 16);
    ASSERT_TRUE(source && target);
    int pitch = 0;
    source->GetInfo(nullptr, nullptr, nullptr, &pitch, nullptr);
    auto* bytes = static_cast<uint8*>(source->Lock());
    ASSERT_NE(bytes, nullptr);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            *reinterpret_cast<uint32*>(bytes + y * pitch + x * 4) = argb(x * 30, y * 30, 7, 200);
    source->Unlock();

    target->Fill({0, 0, 16, 16}, Pixel{0, 0, 0, 255});
    ASSERT_EQ(target->Copy({4, 4, 8, 8}, *source, {0, 0, 8, 8}), SUCCESS);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            ASSERT_EQ(pixelAt(*target, 4 + x, 4 + y), argb(x * 30, y * 30, 7, 200))
                << x << "," << y;
    EXPECT_EQ(pixelAt(*target, 3, 3), argb(255, 0, 0, 0));

    // Destination cut on the left by 2: the source starts 2 pixels in.
    target->Fill({0, 0, 16, 16}, Pixel{0, 0, 0, 255});
    target->SetClippingRectangle({2, 0, 14, 16});
    ASSERT_EQ(target->Copy({0, 0, 8, 8}, *source, {0, 0, 8, 8}), SUCCESS);
    EXPECT_EQ(pixelAt(*target, 2, 0), argb(2 * 30, 0, 7, 200));
    EXPECT_EQ(pixelAt(*target, 1, 0), argb(255, 0, 0, 0));
}

TEST(GraphicsSurface, ScaledCopyDoublesEachPixel)
{
    SurfacePtr source = makeSurface(2, 2);
    SurfacePtr target = makeSurface(4, 4);
    ASSERT_TRUE(source && target);
    source->Fill({0, 0, 1, 1}, Pixel{255, 0, 0, 255});
    source->Fill({1, 0, 1, 1}, Pixel{0, 255, 0, 255});
    source->Fill({0, 1, 1, 1}, Pixel{0, 0, 255, 255});
    source->Fill({1, 1, 1, 1}, Pixel{9, 9, 9, 9});
    ASSERT_EQ(target->Copy({0, 0, 4, 4}, *source, {0, 0, 2, 2}), SUCCESS);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(pixelAt(*target, x, y), pixelAt(*source, x / 2, y / 2)) << x << "," << y;
}

TEST(GraphicsSurface, BlitWithGlobalAlphaUsesColourAlpha)
{
    SurfacePtr source = makeSurface(4, 4);
    SurfacePtr target = makeSurface(4, 4);
    ASSERT_TRUE(source && target);
    source->Fill({0, 0, 4, 4}, Pixel{255, 0, 0, 255});
    source->SetAlpha(128);
    target->Fill({0, 0, 4, 4}, Pixel{0, 0, 255, 255});
    ASSERT_EQ(target->Blit({0, 0, 4, 4}, *source, {0, 0, 4, 4}), SUCCESS);
    // Source-over with the source's alpha scaled to 128: source factor one, destination 1 - a.
    expectNear(pixelAt(*target, 1, 1), 255, 255, 0, 127);
}

TEST(GraphicsSurface, BlitWithoutAlphaPremultipliesAndScaledBlendMatches)
{
    SurfacePtr source = makeSurface(2, 2);
    SurfacePtr target = makeSurface(8, 8);
    ASSERT_TRUE(source && target);
    source->Fill({0, 0, 2, 2}, Pixel{255, 0, 0, 128});
    target->Fill({0, 0, 8, 8}, Pixel{0, 0, 255, 255});
    // Unscaled: premultiplied source-over, r = 255 * 128 / 255, b = 255 * (1 - 128 / 255).
    ASSERT_EQ(target->Blit({0, 0, 2, 2}, *source, {0, 0, 2, 2}), SUCCESS);
    const uint32 unscaled = pixelAt(*target, 0, 0);
    expectNear(unscaled, 255, 128, 0, 127);
    // Scaled 2x through the temporary surface: every pixel gets the same blend.
    ASSERT_EQ(target->Blit({4, 4, 4, 4}, *source, {0, 0, 2, 2}), SUCCESS);
    for (int y = 4; y < 8; ++y)
        for (int x = 4; x < 8; ++x)
            EXPECT_EQ(pixelAt(*target, x, y), unscaled);
    EXPECT_EQ(pixelAt(*target, 3, 3), argb(255, 0, 0, 255));
}

TEST(GraphicsBudget, OverBudgetFailsBeforeDirectFbAndChargesAreReturned)
{
    ASSERT_NE(KeloTest::dfbTestDriver(), nullptr);
    GraphicsDfb graphics(1000);
    Surface* surface = reinterpret_cast<Surface*>(0x1);
    // 16 x 16 x 4 = 1024 > 1000: refused though DirectFB could make it.
    EXPECT_EQ(graphics.CreateSurface(&surface, 16, 16, RGBA8888, true), OUT_OF_MEMORY);
    EXPECT_EQ(surface, nullptr);
    EXPECT_EQ(graphics.usedSurfaceSpace(), 0u);
    // 31 x 16 x 2 = 992 fits; the charge becomes the real stride x height.
    ASSERT_EQ(graphics.CreateSurface(&surface, 31, 16, RGB565, true), SUCCESS);
    ASSERT_NE(surface, nullptr);
    int size = 0;
    surface->GetInfo(nullptr, nullptr, nullptr, nullptr, &size);
    EXPECT_EQ(graphics.usedSurfaceSpace(), static_cast<unsigned>(size));
    Surface* second = nullptr;
    EXPECT_EQ(graphics.CreateSurface(&second, 1, 1, ALPHA8, true),
              size < 1000 ? SUCCESS : OUT_OF_MEMORY);
    if (second != nullptr)
        graphics.DestroySurface(second);
    graphics.DestroySurface(surface);
    EXPECT_EQ(graphics.usedSurfaceSpace(), 0u);
    EXPECT_EQ(graphics.CreateSurface(nullptr, 1, 1, RGBA8888, true), INVALID_ARGUMENTS);
    // DirectFB refuses an empty surface: the factory reports it and keeps no charge.
    surface = reinterpret_cast<Surface*>(0x1);
    EXPECT_EQ(graphics.CreateSurface(&surface, 0, 0, RGBA8888, true), OUT_OF_MEMORY);
    EXPECT_EQ(surface, nullptr);
    EXPECT_EQ(graphics.usedSurfaceSpace(), 0u);
}

TEST(GraphicsBudget, DriverBudgetHoldsTheTemporarySurface)
{
    GraphicsDfb* graphics = KeloTest::dfbTestGraphics();
    ASSERT_NE(graphics, nullptr);
    {
        // Another factory neither takes over nor releases the driver's temporary surface.
        GraphicsDfb other(GraphicsDfb::kTempCharge * 2);
        EXPECT_FALSE(other.CreateTemporarySurface());
        EXPECT_EQ(other.usedSurfaceSpace(), 0u);
    }
    ASSERT_NE(GraphicsDfb::temporarySurface(), nullptr);
    const unsigned before = graphics->usedSurfaceSpace();
    EXPECT_GE(before, GraphicsDfb::kTempCharge);
    {
        SurfacePtr surface = makeSurface(100, 10);
        ASSERT_TRUE(surface);
        EXPECT_EQ(graphics->usedSurfaceSpace(), before + 100 * 4 * 10);
    }
    EXPECT_EQ(graphics->usedSurfaceSpace(), before);
}

TEST(GraphicsSurface, DestinationAlphaModeKeepsAnOpaqueDestination)
{
    SurfacePtr source = makeSurface(4, 4);
    SurfacePtr target = makeSurface(4, 4);
    ASSERT_TRUE(source && target);
    source->Fill({0, 0, 4, 4}, Pixel{255, 0, 0, 255});
    target->Fill({0, 0, 4, 4}, Pixel{0, 0, 255, 255});
    target->Fill({0, 0, 2, 4}, Pixel{0, 0, 0, 0});
    ASSERT_EQ(target->SetBlendingMode(Surface::destinationAlpha), SUCCESS);
    ASSERT_EQ(target->Blit({0, 0, 4, 4}, *source, {0, 0, 4, 4}), SUCCESS);
    // Destination over: the source shows only where the destination is transparent.
    EXPECT_EQ(pixelAt(*target, 3, 0), argb(255, 0, 0, 255));
    expectNear(pixelAt(*target, 0, 0), 255, 255, 0, 0);
}

TEST(GraphicsThreads, ParallelDrawingOnSeparateSurfaces)
{
    ASSERT_NE(KeloTest::dfbTestGraphics(), nullptr);
    constexpr int kThreads = 3;
    constexpr int kRounds = 50;
    std::vector<int> wrong(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &wrong] {
            SurfacePtr source = makeSurface(32, 32);
            SurfacePtr target = makeSurface(32, 32);
            if (!source || !target) {
                wrong[t] = -1;
                return;
            }
            for (int round = 0; round < kRounds; ++round) {
                const uint8 shade = static_cast<uint8>(t * 60 + round);
                source->Fill({0, 0, 32, 32}, Pixel{shade, 1, 2, 255});
                target->Copy({0, 0, 32, 32}, *source, {0, 0, 16, 16});
                if (pixelAt(*target, 31, 31) != argb(255, shade, 1, 2))
                    ++wrong[t];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int t = 0; t < kThreads; ++t)
        EXPECT_EQ(wrong[t], 0) << "thread " << t;
}
