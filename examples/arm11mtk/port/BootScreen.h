#ifndef ARM11MTK_PORT_BOOTSCREEN_H
#define ARM11MTK_PORT_BOOTSCREEN_H
// The screen the device shows before a UI application draws its own: one full-screen RGBA8888
// frame drawn through the graphics driver (opaque background, a translucent panel blended over
// it, a bar of the remote's four colour keys) and presented once on the main graphics layer.
// Screenshots are PNG files of the primary surface, i.e. of what is on screen after the last
// flip, whatever drew it.
//
// Threads: create(), setOverscan() and close() on the UI main thread; takeScreenshot() from any
// thread (it reads the primary surface under the driver's mutex).
#include "core/CoreLinks.h"
#include "core/GraphicsDriver.h"

#include <string>

namespace KELO {

class MultimediaDriver;

class BootScreen : public ScreenLink
{
public:
    explicit BootScreen(MultimediaDriver* driver);
    ~BootScreen() override;

    bool create() override;
    void setOverscan(int32 top, int32 left, int32 bottom, int32 right) override;
    bool takeScreenshot(const std::string& path) override;
    void close() override;

    // The installable maker: a boot screen over the process's DirectFB multimedia driver.
    static std::unique_ptr<ScreenLink> make(Display* display);

private:
    bool draw_i();

    MultimediaDriver* m_driver;
    Graphics* m_graphics = nullptr;
    Layer* m_layer = nullptr;
    Surface* m_frame = nullptr; // owned through m_graphics
    Rectangle m_window = {0, 0, 1280, 720};
};

} // namespace KELO

#endif
