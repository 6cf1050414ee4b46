// The screen path: the graphics layer presents a frame on the primary surface, the screenshot
// writer saves it, and `file`, `pngcheck` and PIL judge the PNG. Also the mixer, display and
// player answers of the multimedia driver.
#include "support/DfbTestDriver.h"

#include "DisplayDfb.h"
#include "MediaPlayerDfb.h"
#include "ScreenshotPng.h"
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <cstdio>
#include <filesystem>
#include <unistd.h>

using namespace KELO;
using KeloTest::runProcess;

namespace {

std::string tempPath(const std::string& name)
{
    return (std::filesystem::temp_directory_path() /
            ("kelo_gfx_" + std::to_string(getpid()) + "_" + name))
        .string();
}

struct FlipCounter : LayerListener
{
    int flips = 0;
    void* context = nullptr;
    void Callback(void* ctx, Event event) override
    {
        if (event == LayerFlipped)
            ++flips;
        context = ctx;
    }
};

Layer* graphicsLayer()
{
    Mixer* mixer = nullptr;
    KeloTest::dfbTestDriver()->GetMixer(&mixer);
    Layer* layer = nullptr;
    if (mixer != nullptr)
        mixer->GetLayer(Layer::GraphicsMain, &layer);
    return layer;
}

// PIL prints "w h" then the RGBA of each listed point.
std::string pilProbe(const std::string& png, const std::string& points)
{
    const std::string script = "import sys\nfrom PIL import Image\nim = Image.open(sys.argv[1])\n"
                               "print(im.size[0], im.size[1], im.mode)\n"
                               "for p in [" +
                               points + "]:\n    print(*im.getpixel(p))\n";
    auto result = runProcess("/usr/bin/python3", {"-c", script, png});
    return result.exitStatus == 0 ? result.out : "error: " + result.err;
}

} // namespace

TEST(GraphicsScreen, UpdateFlipsAndScreenshotIsAValidPng)
{
    GraphicsDfb* graphics = KeloTest::dfbTestGraphics();
    ASSERT_NE(graphics, nullptr);
    Layer* layer = graphicsLayer();
    ASSERT_NE(layer, nullptr);
    FlipCounter counter;
    int context = 0;
    layer->AddListener(&context, &counter, LayerListener::LayerFlipped);

    Surface* frame = nullptr;
    ASSERT_EQ(graphics->CreateSurface(&frame, 1280, 720, RGBA8888, true), SUCCESS);
    frame->Fill({0, 0, 1280, 720}, Pixel{0, 0, 0, 255});
    frame->Fill({0, 0, 640, 360}, Pixel{255, 0, 0, 255});
    frame->Fill({640, 360, 640, 360}, Pixel{0, 200, 100, 255});
    ASSERT_EQ(layer->SetWindow({0, 0, 1280, 720}), SUCCESS);
    ASSERT_EQ(layer->Update(frame), SUCCESS);
    EXPECT_EQ(counter.flips, 1);
    EXPECT_EQ(counter.context, &context);

    const std::string png = tempPath("full.png");
    std::string error;
    ASSERT_TRUE(saveScreenshotPng(png, &error)) << error;
    auto fileResult = runProcess("/usr/bin/file", {"-b", png});
    EXPECT_NE(fileResult.out.find("PNG image data, 1280 x 720, 8-bit/color RGBA"),
              std::string::npos)
        << fileResult.out;
    auto check = runProcess("/usr/bin/pngcheck", {png});
    EXPECT_EQ(check.exitStatus, 0) << check.out << check.err;
    EXPECT_EQ(pilProbe(png, "(0,0),(639,359),(640,360),(1279,719),(1279,0)"),
              "1280 720 RGBA\n255 0 0 255\n255 0 0 255\n0 200 100 255\n0 200 100 255\n0 0 0 255\n");

    // A half-size window: the frame is scaled into it and the rest of the screen is cleared.
    ASSERT_EQ(layer->SetWindow({640, 0, 640, 360}), SUCCESS);
    Rectangle window;
    layer->GetWindow(&window);
    EXPECT_EQ(window.x, 640);
    EXPECT_EQ(window.width, 640);
    ASSERT_EQ(layer->Update(frame), SUCCESS);
    ASSERT_TRUE(saveScreenshotPng(png, &error)) << error;
    EXPECT_EQ(pilProbe(png, "(0,0),(640,0),(959,179),(960,180),(1279,359),(700,400)"),
              "1280 720 RGBA\n0 0 0 255\n255 0 0 255\n255 0 0 255\n0 200 100 255\n"
              "0 200 100 255\n0 0 0 255\n");
    // The second update after SetWindow clears the other buffer too, which still held the
    // full frame.
    ASSERT_EQ(layer->Update(frame), SUCCESS);
    ASSERT_TRUE(saveScreenshotPng(png, &error)) << error;
    EXPECT_EQ(pilProbe(png, "(0,0),(640,0),(960,180),(700,400),(1279,719)"),
              "1280 720 RGBA\n0 0 0 255\n255 0 0 255\n0 200 100 255\n0 0 0 255\n0 0 0 255\n");
    EXPECT_EQ(counter.flips, 3);
    layer->RemoveListener(&counter);
    layer->SetWindow({0, 0, 1280, 720});
    graphics->DestroySurface(frame);
    std::remove(png.c_str());
}

TEST(GraphicsScreen, SurfacePngMatchesPixelsAndBadPathLosesNothing)
{
    GraphicsDfb* graphics = KeloTest::dfbTestGraphics();
    ASSERT_NE(graphics, nullptr);
    Surface* surface = nullptr;
    ASSERT_EQ(graphics->CreateSurface(&surface, 3, 2, RGBA8888, true), SUCCESS);
    surface->Fill({0, 0, 3, 2}, Pixel{1, 2, 3, 4});
    surface->Fill({2, 1, 1, 1}, Pixel{250, 128, 0, 77});
    const std::string png = tempPath("small.png");
    std::string error;
    ASSERT_TRUE(saveSurfacePng(*surface, png, &error)) << error;
    EXPECT_EQ(runProcess("/usr/bin/pngcheck", {png}).exitStatus, 0);
    EXPECT_EQ(pilProbe(png, "(0,0),(2,1)"), "3 2 RGBA\n1 2 3 4\n250 128 0 77\n");

    const std::string bad = "/nonexistent-dir/shot.png";
    EXPECT_FALSE(saveSurfacePng(*surface, bad, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(std::filesystem::exists(bad));

    Surface* small = nullptr;
    ASSERT_EQ(graphics->CreateSurface(&small, 4, 4, RGB565, true), SUCCESS);
    EXPECT_FALSE(saveSurfacePng(*small, png + "2", &error));
    EXPECT_NE(error.find("format"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(png + "2"));
    graphics->DestroySurface(small);
    graphics->DestroySurface(surface);
    std::remove(png.c_str());
}

TEST(GraphicsDriver, MixerDisplayAndPlayerAnswers)
{
    MultimediaDriverDfb* driver = KeloTest::dfbTestDriver();
    ASSERT_NE(driver, nullptr);
    ASSERT_TRUE(driver->started());
    EXPECT_EQ(CreateDfbMultimediaDriver(), driver); // one per process

    Mixer* mixer = nullptr;
    ASSERT_EQ(driver->GetMixer(&mixer), SUCCESS);
    Layer* layer = reinterpret_cast<Layer*>(0x1);
    EXPECT_EQ(mixer->GetLayer(Layer::GraphicsOverlay, &layer), NOT_SUPPORTED);
    EXPECT_EQ(layer, nullptr);
    ASSERT_EQ(mixer->GetLayer(Layer::VideoMain, &layer), SUCCESS);
    EXPECT_EQ(layer->GetCapabilities().type, Layer::VideoMain);
    ASSERT_EQ(mixer->GetLayer(Layer::GraphicsMain, &layer), SUCCESS);
    EXPECT_EQ(layer->GetCapabilities().type, Layer::GraphicsMain);
    EXPECT_EQ(layer->GetCapabilities().pixelFormats, RGBA8888);
    Layer::Format format;
    layer->GetFormat(&format);
    EXPECT_EQ(format.width, 1280u);
    EXPECT_EQ(format.height, 720u);

    Display* display = nullptr;
    ASSERT_EQ(driver->GetDisplay(&display), SUCCESS);
    EXPECT_EQ(display->GetCapabilities(), 0xEB);
    Display::VideoMode mode;
    mode.mode = static_cast<Display::OutputMode>(Display::OUTPUT_MODE_1080P_24 |
                                                 Display::EXT_MODE_3D_SIDE_BY_SIDE);
    EXPECT_EQ(display->SetVideoMode(mode), SUCCESS);
    EXPECT_TRUE(DisplayDfb::is3DMode());
    mode.mode = Display::OUTPUT_MODE_1080I;
    display->SetVideoMode(mode);
    EXPECT_FALSE(DisplayDfb::is3DMode());
    display->GetVideoMode(&mode);
    EXPECT_EQ(mode.mode, Display::OUTPUT_MODE_720P);
    Display::VideoEnhancementsBypassRegion region;
    EXPECT_EQ(display->EnableVideoEnhancementsBypass(true, region), NOT_SUPPORTED);

    MediaPlayer* player = nullptr;
    ASSERT_EQ(driver->GetPlayer(&player), SUCCESS);
    EXPECT_EQ(player->FrameAdvance(), NOT_SUPPORTED);
    int position = -1, speed = -1;
    EXPECT_EQ(player->GetPosAndSpeed(&position, &speed), FAILURE);
    EXPECT_EQ(position, 0);
    CA* ca = nullptr;
    ASSERT_EQ(driver->GetCA(&ca), SUCCESS);
    EXPECT_EQ(ca->Load(CA::KeyPair{}), NOT_SUPPORTED);
}

TEST(GraphicsDriver, FreeMemoryRule)
{
    const std::string path = tempPath("meminfo");
    KeloTest::writeFile(path, "MemTotal: 100000 kB\nMemFree:    9000 kB\n");
    EXPECT_EQ(MediaPlayerDfb::freeMemoryKBFrom(path.c_str()), 9000 - 5120);
    KeloTest::writeFile(path, "MemFree: 5000 kB\n");
    EXPECT_EQ(MediaPlayerDfb::freeMemoryKBFrom(path.c_str()), 0);
    KeloTest::writeFile(path, "MemTotal: 1 kB\n");
    EXPECT_EQ(MediaPlayerDfb::freeMemoryKBFrom(path.c_str()), -1);
    std::remove(path.c_str());
    EXPECT_EQ(MediaPlayerDfb::freeMemoryKBFrom(path.c_str()), -1);
}
