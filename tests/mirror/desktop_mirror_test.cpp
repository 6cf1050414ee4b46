// The mirror in one process with a headless DirectFB and SDL's dummy video driver: frames
// flipped by the graphics layer appear in the mirror, SDL key events reach the application's
// DirectFB window, and closing or failing the mirror never stops the client.
#include "DesktopMirror.h"
#include "DfbInit.h"
#include "MirrorTestDriver.h"
#include "PortDrivers.h"
#include "UserInputDfb.h"

#include <SDL.h>
#include <directfb.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// DirectFB's and SDL's own leaks are suppressed by tests/lsan.supp.

using namespace KELO;
using SimMirror::DesktopMirror;
using SimMirror::MirrorFrame;
using SimMirror::MirrorOptions;

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kWaitMs = 10000; // only a bound against hanging; the waits end much sooner

// A full-screen UI frame whose every pixel differs from its neighbours, so a wrong pitch, row
// order, channel order or offset shows.
class TestFrame
{
public:
    explicit TestFrame(uint32 seed)
    {
        GraphicsDfb* graphics = MirrorTest::dfbTestDriver()->graphicsDfb();
        if (graphics == nullptr ||
            graphics->CreateSurface(&m_surface, kWidth, kHeight, RGBA8888, true) != SUCCESS)
            return;
        m_graphics = graphics;
        int pitch = 0;
        m_surface->GetInfo(nullptr, nullptr, nullptr, &pitch, nullptr);
        auto* base = static_cast<uint8*>(m_surface->Lock());
        m_expected.resize(size_t(kWidth) * kHeight);
        for (int y = 0; y < kHeight; ++y) {
            auto* row = reinterpret_cast<uint32*>(base + ptrdiff_t(y) * pitch);
            for (int x = 0; x < kWidth; ++x) {
                const uint32 value =
                    0xFF000000u |
                    ((uint32(x) * 2654435761u + uint32(y) * 40503u + seed) & 0xFFFFFF);
                row[x] = value;
                m_expected[size_t(y) * kWidth + size_t(x)] = value;
            }
        }
        m_surface->Unlock();
    }
    ~TestFrame()
    {
        if (m_graphics != nullptr)
            m_graphics->DestroySurface(m_surface);
    }
    TestFrame(const TestFrame&) = delete;
    TestFrame& operator=(const TestFrame&) = delete;

    Surface* surface() const { return m_surface; }
    const std::vector<uint32>& expected() const { return m_expected; }

    // Marks a block transparent (alpha 0, colour kept) in the frame and the expectation.
    void makeTransparent(int x0, int y0, int w, int h)
    {
        int pitch = 0;
        m_surface->GetInfo(nullptr, nullptr, nullptr, &pitch, nullptr);
        auto* base = static_cast<uint8*>(m_surface->Lock());
        for (int y = y0; y < y0 + h; ++y)
            for (int x = x0; x < x0 + w; ++x) {
                auto* pixel = reinterpret_cast<uint32*>(base + ptrdiff_t(y) * pitch) + x;
                *pixel &= 0x00FFFFFFu;
                m_expected[size_t(y) * kWidth + size_t(x)] = *pixel;
            }
        m_surface->Unlock();
    }

private:
    GraphicsDfb* m_graphics = nullptr;
    Surface* m_surface = nullptr;
    std::vector<uint32> m_expected;
};

// Empty when equal, else where the first difference is.
std::string firstDifference(const std::vector<uint32>& actual, const std::vector<uint32>& expected,
                            uint32 mask)
{
    if (actual.size() != expected.size())
        return "size " + std::to_string(actual.size()) + " != " + std::to_string(expected.size());
    for (size_t i = 0; i < actual.size(); ++i)
        if ((actual[i] & mask) != (expected[i] & mask)) {
            char text[96];
            std::snprintf(text, sizeof text, "(%zu,%zu): 0x%08x != 0x%08x", i % kWidth, i / kWidth,
                          actual[i] & mask, expected[i] & mask);
            return text;
        }
    return "";
}

// Key events of the application's window, as the port's input driver reads them.
class WindowKeys
{
public:
    WindowKeys()
    {
        IDirectFBWindow* window = DfbInit::window();
        if (window == nullptr || window->CreateEventBuffer(window, &m_buffer) != DFB_OK)
            m_buffer = nullptr;
    }
    ~WindowKeys()
    {
        if (m_buffer != nullptr)
            m_buffer->Release(m_buffer);
    }
    WindowKeys(const WindowKeys&) = delete;
    WindowKeys& operator=(const WindowKeys&) = delete;

    bool ready() const { return m_buffer != nullptr; }

    // The next key event, skipping the window's other events; false after 10 s without one.
    bool next(DFBWindowEvent* key)
    {
        for (;;) {
            if (m_buffer->WaitForEventWithTimeout(m_buffer, 10, 0) != DFB_OK)
                return false;
            DFBEvent event;
            if (m_buffer->GetEvent(m_buffer, &event) != DFB_OK)
                return false;
            if (event.clazz == DFEC_WINDOW &&
                (event.window.type == DWET_KEYDOWN || event.window.type == DWET_KEYUP)) {
                *key = event.window;
                return true;
            }
        }
    }

    // True when no event of any kind is waiting.
    bool empty() { return m_buffer->HasEvent(m_buffer) != DFB_OK; }

private:
    IDirectFBEventBuffer* m_buffer = nullptr;
};

bool pushKey(SDL_Keycode key, bool down)
{
    SDL_Event event = {};
    event.type = down ? SDL_KEYDOWN : SDL_KEYUP;
    event.key.state = down ? SDL_PRESSED : SDL_RELEASED;
    event.key.keysym.sym = key;
    event.key.keysym.scancode = SDL_GetScancodeFromKey(key);
    return SDL_PushEvent(&event) == 1;
}

// The window's close button (a window event) or the desktop's quit request.
bool pushClose(bool windowEvent)
{
    SDL_Event event = {};
    event.type = windowEvent ? SDL_WINDOWEVENT : SDL_QUIT;
    event.window.event = windowEvent ? SDL_WINDOWEVENT_CLOSE : 0;
    return SDL_PushEvent(&event) == 1;
}

class DesktopMirrorTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        MirrorTest::useHeadlessSdl();
        m_layer = MirrorTest::graphicsLayer();
        ASSERT_NE(m_layer, nullptr);
        m_layer->SetWindow({0, 0, kWidth, kHeight});
    }

    Layer* m_layer = nullptr;
};

} // namespace

TEST_F(DesktopMirrorTest, ShowsEveryFlippedFrameExactly)
{
    DesktopMirror mirror;
    MirrorOptions options;
    options.keepPresented = true;
    ASSERT_TRUE(mirror.start(options));
    EXPECT_TRUE(mirror.running());
    MirrorFrame frame;
    EXPECT_FALSE(mirror.lastShownFrame(&frame));

    TestFrame first(0);
    ASSERT_NE(first.surface(), nullptr);
    ASSERT_EQ(m_layer->Update(first.surface()), SUCCESS);
    ASSERT_TRUE(mirror.waitForFramesShown(1, kWaitMs));
    ASSERT_TRUE(mirror.lastShownFrame(&frame));
    EXPECT_EQ(frame.width, kWidth);
    EXPECT_EQ(frame.height, kHeight);
    EXPECT_EQ(firstDifference(frame.pixels, first.expected(), 0xFFFFFFFF), "");
    // What the renderer drew is the same picture, channel for channel.
    MirrorFrame presented;
    ASSERT_TRUE(mirror.lastPresentedFrame(&presented));
    EXPECT_EQ(firstDifference(presented.pixels, first.expected(), 0x00FFFFFF), "");

    // The next frame replaces it. Transparent UI pixels: an ARGB screen keeps their alpha and
    // they are drawn black, where the video plane would show; an RGB32 screen has no alpha, so
    // the mirror shows them opaque, as the screen does.
    TestFrame second(0x5A5A5A);
    second.makeTransparent(100, 50, 64, 32);
    DFBSurfacePixelFormat format = DSPF_UNKNOWN;
    DfbInit::primarySurface()->GetPixelFormat(DfbInit::primarySurface(), &format);
    const bool opaqueScreen = format == DSPF_RGB32;
    std::vector<uint32> onScreen = second.expected();
    if (opaqueScreen)
        for (uint32& pixel : onScreen)
            pixel |= 0xFF000000u;
    ASSERT_EQ(m_layer->Update(second.surface()), SUCCESS);
    ASSERT_TRUE(mirror.waitForFramesShown(2, kWaitMs));
    ASSERT_TRUE(mirror.lastShownFrame(&frame));
    EXPECT_EQ(firstDifference(frame.pixels, onScreen, 0xFFFFFFFF), "");
    ASSERT_TRUE(mirror.lastPresentedFrame(&presented));
    std::vector<uint32> drawn = onScreen;
    for (uint32& pixel : drawn)
        if ((pixel >> 24) == 0)
            pixel = 0;
    EXPECT_EQ(firstDifference(presented.pixels, drawn, 0x00FFFFFF), "");
    EXPECT_EQ(mirror.framesCopied(), 2u);
    mirror.stop();
    EXPECT_FALSE(mirror.running());

    // Once stopped the mirror no longer copies frames.
    ASSERT_EQ(m_layer->Update(first.surface()), SUCCESS);
    EXPECT_EQ(mirror.framesCopied(), 2u);
}

TEST_F(DesktopMirrorTest, DesktopKeysArriveAsWindowKeyEvents)
{
    WindowKeys keys;
    ASSERT_TRUE(keys.ready());
    DesktopMirror mirror;
    ASSERT_TRUE(mirror.start());

    const struct
    {
        SDL_Keycode key;
        uint32 symbol;
    } cases[] = {{SDLK_a, 0xf601},      {SDLK_5, 0x35},      {SDLK_KP_ENTER, 0xf00c},
                 {SDLK_ESCAPE, 0xf048}, {SDLK_LEFT, 0xf000}, {SDLK_F5, 0xf051}};
    DFBWindowID windowId = 0;
    DfbInit::window()->GetID(DfbInit::window(), &windowId);
    for (const auto& c : cases) {
        ASSERT_TRUE(pushKey(c.key, true));
        ASSERT_TRUE(pushKey(c.key, false));
        DFBWindowEvent event;
        ASSERT_TRUE(keys.next(&event)) << SDL_GetKeyName(c.key);
        EXPECT_EQ(event.type, DWET_KEYDOWN);
        EXPECT_EQ(uint32(event.key_symbol), c.symbol) << SDL_GetKeyName(c.key);
        EXPECT_EQ(event.window_id, windowId);
        ASSERT_TRUE(keys.next(&event));
        EXPECT_EQ(event.type, DWET_KEYUP);
        EXPECT_EQ(uint32(event.key_symbol), c.symbol);
    }
    ASSERT_TRUE(mirror.waitForKeysHandled(12, kWaitMs));
    EXPECT_EQ(mirror.keysSent(), 12u);

    // Unmapped keys post nothing: the next event is the mapped key pushed after them.
    ASSERT_TRUE(pushKey(SDLK_TAB, true));
    ASSERT_TRUE(pushKey(SDLK_TAB, false));
    ASSERT_TRUE(pushKey(SDLK_F1, true));
    ASSERT_TRUE(mirror.waitForKeysHandled(15, kWaitMs));
    DFBWindowEvent event;
    ASSERT_TRUE(keys.next(&event));
    EXPECT_EQ(event.type, DWET_KEYDOWN);
    EXPECT_EQ(uint32(event.key_symbol), 0xf042u);
    EXPECT_EQ(mirror.keysIgnored(), 2u);
    EXPECT_EQ(mirror.keysSent(), 13u);

    ASSERT_TRUE(pushKey(SDLK_CAPSLOCK, true));
    ASSERT_TRUE(mirror.waitForKeysHandled(16, kWaitMs));
    mirror.stop();
    EXPECT_TRUE(keys.empty());
}

// The whole path the desktop user takes: an SDL key, the mirror, the window, the port's user
// input, the event the core receives.
TEST_F(DesktopMirrorTest, DesktopKeysComeOutOfThePortsUserInput)
{
    KELO::UserInputDriver* driver = CreateDfbUserInputDriver();
    ASSERT_NE(driver, nullptr);
    UserInput* input = nullptr;
    ASSERT_EQ(driver->GetUserInput(&input), SUCCESS);
    DesktopMirror mirror;
    ASSERT_TRUE(mirror.start());

    ASSERT_TRUE(pushKey(SDLK_a, true));
    ASSERT_TRUE(pushKey(SDLK_UP, false));
    UserInput::Event event;
    ASSERT_EQ(input->wait(&event, kWaitMs), SUCCESS);
    EXPECT_EQ(event.device_id, 4);
    EXPECT_EQ(event.evCategory, UserInput::UNICODE_BUTTON);
    EXPECT_EQ(event.arg.unicode.action, UserInput::BUTTON_PRESS);
    EXPECT_EQ(event.arg.unicode.keyValue, 0xf601);
    EXPECT_STREQ(event.arg.unicode.label, "a");
    ASSERT_EQ(input->wait(&event, kWaitMs), SUCCESS);
    EXPECT_EQ(event.evCategory, UserInput::BUTTON);
    EXPECT_EQ(event.arg.button.action, UserInput::BUTTON_RELEASE);
    EXPECT_EQ(event.arg.button.code, UserInput::EVENT_TYPE_DIRECTION_UP);

    mirror.stop();
    DestroyDfbUserInputDriver();
}

TEST_F(DesktopMirrorTest, ClosingTheWindowStopsMirroringButNotTheClient)
{
    DesktopMirror mirror;
    ASSERT_TRUE(mirror.start());
    ASSERT_TRUE(pushClose(true));
    ASSERT_TRUE(mirror.waitUntilClosed(kWaitMs));
    EXPECT_FALSE(mirror.running());

    TestFrame frame(7);
    EXPECT_EQ(m_layer->Update(frame.surface()), SUCCESS);
    EXPECT_EQ(mirror.framesCopied(), 0u);
    mirror.stop();
    mirror.stop();

    // A closed mirror can be started again.
    ASSERT_TRUE(mirror.start());
    ASSERT_EQ(m_layer->Update(frame.surface()), SUCCESS);
    ASSERT_TRUE(mirror.waitForFramesShown(1, kWaitMs));
    MirrorFrame shown;
    ASSERT_TRUE(mirror.lastShownFrame(&shown));
    EXPECT_EQ(firstDifference(shown.pixels, frame.expected(), 0xFFFFFFFF), "");
    ASSERT_TRUE(pushClose(false));
    ASSERT_TRUE(mirror.waitUntilClosed(kWaitMs));
}

TEST_F(DesktopMirrorTest, StartsAndStopsRepeatedlyWithOrWithoutFrames)
{
    struct sigaction before = {};
    sigaction(SIGINT, nullptr, &before);
    {
        DesktopMirror mirror;
        mirror.stop(); // never started
        ASSERT_TRUE(mirror.start());
        EXPECT_TRUE(mirror.start()); // already running
        // The client's signal handling stays its own.
        struct sigaction during = {};
        sigaction(SIGINT, nullptr, &during);
        EXPECT_EQ(during.sa_handler, before.sa_handler);
        mirror.stop();
        EXPECT_EQ(mirror.framesShown(), 0u);
        MirrorFrame frame;
        EXPECT_FALSE(mirror.lastShownFrame(&frame));

        ASSERT_TRUE(mirror.start());
        TestFrame shown(3);
        ASSERT_EQ(m_layer->Update(shown.surface()), SUCCESS);
        ASSERT_TRUE(mirror.waitForFramesShown(1, kWaitMs));
        mirror.stop();
        mirror.stop();
        ASSERT_TRUE(mirror.start());
        EXPECT_EQ(mirror.framesShown(), 0u); // counts restart with the mirror
    }                                        // the destructor stops a running mirror
}
