#ifndef KELO_TESTS_SUPPORT_DFBTESTDRIVER_H
#define KELO_TESTS_SUPPORT_DFBTESTDRIVER_H
// For test programs that link the device port: one DirectFB multimedia driver per test process
// (dummy system, headless), created by the first test that asks for it and destroyed by a
// GoogleTest environment at the end of the run.
#include "GraphicsDfb.h"
#include "MultimediaDriverDfb.h"
#include "SurfaceDfb.h"

#include <gtest/gtest.h>

namespace KeloTest {

class DfbDriverEnvironment : public ::testing::Environment
{
public:
    void TearDown() override { DestroyDfbMultimediaDriver(); }
};

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

inline KELO::GraphicsDfb* dfbTestGraphics()
{
    KELO::MultimediaDriverDfb* driver = dfbTestDriver();
    return driver != nullptr ? driver->graphicsDfb() : nullptr;
}

// The ARGB word at (x, y) of a locked 32-bit surface.
inline uint32 pixelAt(const KELO::Surface& surface, int x, int y)
{
    int pitch = 0;
    surface.GetInfo(nullptr, nullptr, nullptr, &pitch, nullptr);
    auto* base = static_cast<const uint8*>(surface.Lock());
    const uint32 value =
        base == nullptr ? 0xDEADBEEFu : *reinterpret_cast<const uint32*>(base + y * pitch + x * 4);
    surface.Unlock();
    return value;
}

inline uint32 argb(int a, int r, int g, int b)
{
    return (uint32(a) << 24) | (uint32(r) << 16) | (uint32(g) << 8) | uint32(b);
}

} // namespace KeloTest

#endif
