#ifndef KELO_TESTS_MIRROR_MIRRORTESTDRIVER_H
#define KELO_TESTS_MIRROR_MIRRORTESTDRIVER_H
// The mirror tests' process setup: one DirectFB multimedia driver per test process (dummy
// system, headless), created by the first test that asks for it and destroyed by a GoogleTest
// environment at the end of the run; SDL on its dummy video driver with the software renderer,
// so no display is needed. (The offscreen driver works too but loads and unloads the GL stack on
// every start, whose leaks the leak checker can no longer attribute.)
#include "GraphicsDfb.h"
#include "MultimediaDriverDfb.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace MirrorTest {

class DfbDriverEnvironment : public ::testing::Environment
{
public:
    void TearDown() override { DestroyDfbMultimediaDriver(); }
};

inline void useHeadlessSdl()
{
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    setenv("SDL_RENDER_DRIVER", "software", 1);
}

inline KELO::MultimediaDriverDfb* dfbTestDriver()
{
    static const bool registered = [] {
        ::testing::AddGlobalTestEnvironment(new DfbDriverEnvironment);
        return true;
    }();
    (void)registered;
    CreateDfbMultimediaDriver();
    return KELO::MultimediaDriverDfb::instance();
}

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
