// Fill and blit costs for one full 1280 x 720 ARGB frame on DirectFB (dummy system, software
// rendering), one benchmark per flag combination the surface code produces:
//   Fill (no blending), BlendedFill (DSDRAW_BLEND), Copy 1:1 (no blending), Blit with global
//   alpha (alpha channel + colour alpha), Blit premultiplied (alpha channel, source and
//   destination premultiply, demultiply), the same plus colorize, scaled Copy (stretch, no
//   blending), scaled Blit (stretch into the temporary surface, then blend 1:1), and a
//   graphics-layer Update (blit to the primary surface and flip). Baselines in the same run:
//   MemcpyFrame (the frame's bytes copied by the C library) beside Copy, and LibpngDecode (the
//   same 1280 x 720 PNG decoded straight by libpng) beside ImageSurface (CreateSurfaceFromImage:
//   header read, budget charge and DirectFB's PNG provider).
// Built only when the benchmark program is linked with the port library.
#if __has_include("MultimediaDriverDfb.h")
#include "GraphicsDfb.h"
#include "MultimediaDriverDfb.h"
#include "ScreenshotPng.h"
#include "SurfaceDfb.h"
#include "core/MemoryBufferStream.h"
#include "kapi/FileUtil.h"

#include <benchmark/benchmark.h>
#include <png.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace KELO;

constexpr Rectangle kFrame{0, 0, 1280, 720};

struct Frames
{
    Surface* target = nullptr;
    Surface* source = nullptr;
    Surface* half = nullptr;

    Frames()
    {
        CreateDfbMultimediaDriver();
        Graphics* graphics = nullptr;
        MultimediaDriverDfb::instance()->GetGraphics(&graphics);
        graphics->CreateSurface(&target, 1280, 720, RGBA8888, true);
        graphics->CreateSurface(&source, 1280, 720, RGBA8888, true);
        graphics->CreateSurface(&half, 640, 360, RGBA8888, true);
        target->Fill(kFrame, Pixel{0, 0, 255, 255});
        source->Fill(kFrame, Pixel{255, 0, 0, 128});
        half->Fill({0, 0, 640, 360}, Pixel{0, 255, 0, 200});
    }

    // Runs at exit before DirectFB's own exit check, which was registered during the driver's
    // start-up inside this constructor.
    ~Frames()
    {
        Graphics* graphics = nullptr;
        MultimediaDriverDfb::instance()->GetGraphics(&graphics);
        graphics->DestroySurface(target);
        graphics->DestroySurface(source);
        graphics->DestroySurface(half);
        DestroyDfbMultimediaDriver();
    }
};

Frames& frames()
{
    static Frames s_frames;
    return s_frames;
}

void resetSource(Surface* source, uint8 alpha, Pixel colour)
{
    source->SetAlpha(alpha);
    source->SetColor(colour);
}

void BM_Fill(benchmark::State& state)
{
    Frames& f = frames();
    for (auto _ : state)
        f.target->Fill(kFrame, Pixel{10, 20, 30, 255});
}
BENCHMARK(BM_Fill)->Unit(benchmark::kMillisecond);

void BM_BlendedFill(benchmark::State& state)
{
    Frames& f = frames();
    for (auto _ : state)
        f.target->BlendedFill(kFrame, Pixel{10, 20, 30, 128});
}
BENCHMARK(BM_BlendedFill)->Unit(benchmark::kMillisecond);

void BM_Copy(benchmark::State& state)
{
    Frames& f = frames();
    for (auto _ : state)
        f.target->Copy(kFrame, *f.source, kFrame);
}
BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond);

void BM_BlitColourAlpha(benchmark::State& state)
{
    Frames& f = frames();
    resetSource(f.source, 128, Pixel{});
    for (auto _ : state)
        f.target->Blit(kFrame, *f.source, kFrame);
    resetSource(f.source, 0, Pixel{});
}
BENCHMARK(BM_BlitColourAlpha)->Unit(benchmark::kMillisecond);

void BM_BlitPremultiplied(benchmark::State& state)
{
    Frames& f = frames();
    resetSource(f.source, 0, Pixel{});
    for (auto _ : state)
        f.target->Blit(kFrame, *f.source, kFrame);
}
BENCHMARK(BM_BlitPremultiplied)->Unit(benchmark::kMillisecond);

void BM_BlitPremultipliedColorize(benchmark::State& state)
{
    Frames& f = frames();
    resetSource(f.source, 0, Pixel{200, 100, 50, 255});
    for (auto _ : state)
        f.target->Blit(kFrame, *f.source, kFrame);
    resetSource(f.source, 0, Pixel{});
}
BENCHMARK(BM_BlitPremultipliedColorize)->Unit(benchmark::kMillisecond);

void BM_ScaledCopy(benchmark::State& state)
{
    Frames& f = frames();
    for (auto _ : state)
        f.target->Copy(kFrame, *f.half, {0, 0, 640, 360});
}
BENCHMARK(BM_ScaledCopy)->Unit(benchmark::kMillisecond);

void BM_ScaledBlit(benchmark::State& state)
{
    Frames& f = frames();
    for (auto _ : state)
        f.target->Blit(kFrame, *f.half, {0, 0, 640, 360});
}
BENCHMARK(BM_ScaledBlit)->Unit(benchmark::kMillisecond);

void BM_LayerUpdate(benchmark::State& state)
{
    Frames& f = frames();
    Mixer* mixer = nullptr;
    MultimediaDriverDfb::instance()->GetMixer(&mixer);
    Layer* layer = nullptr;
    mixer->GetLayer(Layer::GraphicsMain, &layer);
    for (auto _ : state)
        layer->Update(f.target);
}
BENCHMARK(BM_LayerUpdate)->Unit(benchmark::kMillisecond);

void BM_MemcpyFrame(benchmark::State& state)
{
    std::vector<uint8> from(1280 * 720 * 4, 0x5a), to(from.size());
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), from.size());
        benchmark::DoNotOptimize(to.data());
    }
}
BENCHMARK(BM_MemcpyFrame)->Unit(benchmark::kMillisecond);

// A 1280 x 720 PNG of a frame with gradients, as the image cache would hold it.
const std::string& framePng()
{
    static const std::string s_png = [] {
        Frames& f = frames();
        uint8* pixels = static_cast<uint8*>(const_cast<void*>(f.source->Lock()));
        int pitch = 0;
        f.source->GetInfo(nullptr, nullptr, nullptr, &pitch, nullptr);
        for (int y = 0; y < 720; ++y)
            for (int x = 0; x < 1280; ++x) {
                uint8* p = pixels + y * pitch + x * 4;
                p[0] = uint8(x);
                p[1] = uint8(y);
                p[2] = uint8(x + y);
                p[3] = 255;
            }
        f.source->Unlock();
        const std::string path = "/tmp/kelo-bench-frame-" + std::to_string(getpid()) + ".png";
        std::string bytes;
        if (saveSurfacePng(*f.source, path))
            Kapi::FileUtil::toString(path, bytes);
        std::remove(path.c_str());
        return bytes;
    }();
    return s_png;
}

void BM_ImageSurface(benchmark::State& state)
{
    const std::string& png = framePng();
    Graphics* graphics = nullptr;
    MultimediaDriverDfb::instance()->GetGraphics(&graphics);
    for (auto _ : state) {
        MemoryBufferStream stream(png);
        Surface* surface = nullptr;
        if (graphics->CreateSurfaceFromImage(&surface, &stream, FMT_PNG, nullptr, nullptr, false,
                                             false) != SUCCESS) {
            state.SkipWithError("decode failed");
            break;
        }
        graphics->DestroySurface(surface);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(png.size()));
}
BENCHMARK(BM_ImageSurface)->Unit(benchmark::kMillisecond);

void BM_LibpngDecode(benchmark::State& state)
{
    const std::string& png = framePng();
    std::vector<uint8> pixels(1280 * 720 * 4);
    for (auto _ : state) {
        png_image image;
        std::memset(&image, 0, sizeof image);
        image.version = PNG_IMAGE_VERSION;
        if (!png_image_begin_read_from_memory(&image, png.data(), png.size())) {
            state.SkipWithError("libpng refused the image");
            break;
        }
        image.format = PNG_FORMAT_BGRA;
        png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
        benchmark::DoNotOptimize(pixels.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(png.size()));
}
BENCHMARK(BM_LibpngDecode)->Unit(benchmark::kMillisecond);

} // namespace
#endif
