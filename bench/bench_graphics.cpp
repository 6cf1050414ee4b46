// Fill and blit costs for one full 1280 x 720 ARGB frame on DirectFB (dummy system, software
// rendering), one benchmark per flag combination the surface code produces:
//   Fill (no blending), BlendedFill (DSDRAW_BLEND), Copy 1:1 (no blending), Blit with global
//   alpha (alpha channel + colour alpha), Blit premultiplied (alpha channel, source and
//   destination premultiply, demultiply), the same plus colorize, scaled Copy (stretch, no
//   blending), scaled Blit (stretch into the temporary surface, then blend 1:1), and a
//   graphics-layer Update (blit to the primary surface and flip).
// Built only when the benchmark program is linked with the port library.
#if __has_include("MultimediaDriverDfb.h")
#include "GraphicsDfb.h"
#include "MultimediaDriverDfb.h"
#include "SurfaceDfb.h"

#include <benchmark/benchmark.h>

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

} // namespace
#endif
