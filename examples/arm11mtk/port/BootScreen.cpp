// BootScreen: draws its frame with fills and blended fills and presents it through the layer.
#include "BootScreen.h"

#include "MultimediaDriverDfb.h"
#include "ScreenshotPng.h"

#include "kapi/vLog.h"

namespace KELO {

namespace {
constexpr int kWidth = 1280;
constexpr int kHeight = 720;
} // namespace

BootScreen::BootScreen(MultimediaDriver* driver) : m_driver(driver) {}

BootScreen::~BootScreen()
{
    close();
}

std::unique_ptr<ScreenLink> BootScreen::make(Display*)
{
    return std::make_unique<BootScreen>(MultimediaDriverDfb::instance());
}

bool BootScreen::create()
{
    Mixer* mixer = nullptr;
    if (m_driver == nullptr || m_driver->GetGraphics(&m_graphics) != SUCCESS ||
        m_driver->GetMixer(&mixer) != SUCCESS ||
        mixer->GetLayer(Layer::GraphicsMain, &m_layer) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "BootScreen: no graphics driver or layer");
        m_graphics = nullptr;
        m_layer = nullptr;
        return false;
    }
    if (m_frame == nullptr &&
        m_graphics->CreateSurface(&m_frame, kWidth, kHeight, RGBA8888, false) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "BootScreen: no surface for the frame");
        m_frame = nullptr;
        return false;
    }
    return draw_i();
}

bool BootScreen::draw_i()
{
    m_frame->Fill(Rectangle{0, 0, kWidth, kHeight}, Pixel{0x14, 0x18, 0x28, 0xff});
    // A translucent panel, blended, so the frame shows the blending path too.
    m_frame->BlendedFill(Rectangle{240, 180, 800, 360}, Pixel{0xff, 0xff, 0xff, 0x30});
    const Pixel keys[] = {{0xd0, 0x20, 0x20, 0xff},
                          {0x20, 0xb0, 0x30, 0xff},
                          {0xe0, 0xc0, 0x20, 0xff},
                          {0x20, 0x50, 0xd0, 0xff}};
    for (int i = 0; i < 4; ++i)
        m_frame->Fill(Rectangle{320 + i * 168, 460, 136, 24}, keys[i]);
    m_layer->SetWindow(m_window);
    return m_layer->Update(m_frame) == SUCCESS;
}

void BootScreen::setOverscan(int32 top, int32 left, int32 bottom, int32 right)
{
    const int32 width = kWidth - left - right;
    const int32 height = kHeight - top - bottom;
    if (width <= 0 || height <= 0)
        return;
    m_window = Rectangle{left, top, width, height};
    if (m_frame != nullptr && m_layer != nullptr)
        draw_i();
}

bool BootScreen::takeScreenshot(const std::string& path)
{
    std::string error;
    if (!saveScreenshotPng(path, &error)) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "screenshot to %s failed: %s", path.c_str(),
                        error.c_str());
        return false;
    }
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "screenshot written to %s", path.c_str());
    return true;
}

void BootScreen::close()
{
    if (m_frame != nullptr && m_graphics != nullptr)
        m_graphics->DestroySurface(m_frame);
    m_frame = nullptr;
}

} // namespace KELO
