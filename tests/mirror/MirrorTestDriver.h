#ifndef KELO_TESTS_MIRROR_MIRRORTESTDRIVER_H
#define KELO_TESTS_MIRROR_MIRRORTESTDRIVER_H
// The mirror tests' process setup: the shared DirectFB test driver, and SDL on its dummy video
// driver with the software renderer, so no display is needed. (The offscreen driver works too
// but loads and unloads the GL stack on every start, whose leaks the leak checker cannot
// attribute.)
#include "support/DfbTestDriver.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace MirrorTest {

inline void useHeadlessSdl()
{
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    setenv("SDL_RENDER_DRIVER", "software", 1);
}

using KeloTest::dfbTestDriver;

inline KELO::Layer* graphicsLayer()
{
    KELO::Mixer* mixer = nullptr;
    KELO::MultimediaDriverDfb* driver = dfbTestDriver();
    if (driver != nullptr)
        driver->GetMixer(&mixer);
    KELO::Layer* layer = nullptr;
    if (mixer != nullptr)
        mixer->GetLayer(KELO::Layer::GraphicsMain, &layer);
    return layer;
}

} // namespace MirrorTest

#endif
