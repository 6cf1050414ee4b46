// The entry's mirror sequence in a fresh process: create the multimedia driver, start the mirror
// if the environment asks for it, present frames as the UI does, stop the mirror, destroy the
// driver. "nodfb" instead starts a mirror while DirectFB is not running. Prints one line per step.
#include "DesktopMirror.h"
#include "GraphicsDfb.h"
#include "MultimediaDriverDfb.h"

#include <cstdio>
#include <string>

// DirectFB's and SDL's own leaks are suppressed by tests/lsan.supp.

using namespace KELO;

int main(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "entry";
    if (mode == "nodfb") {
        SimMirror::DesktopMirror mirror;
        std::printf("started=%d\n", mirror.start() ? 1 : 0);
        return 0;
    }
    CreateDfbMultimediaDriver();
    MultimediaDriverDfb* driver = MultimediaDriverDfb::instance();
    if (driver == nullptr || !driver->started()) {
        std::printf("no DirectFB\n");
        return 2;
    }
    std::printf("mirror=%d\n", SimMirror::startDesktopMirrorIfRequested() ? 1 : 0);

    Mixer* mixer = nullptr;
    Layer* layer = nullptr;
    Surface* frame = nullptr;
    driver->GetMixer(&mixer);
    if (mixer != nullptr)
        mixer->GetLayer(Layer::GraphicsMain, &layer);
    int updates = 0;
    if (layer != nullptr &&
        driver->graphicsDfb()->CreateSurface(&frame, 1280, 720, RGBA8888, true) == SUCCESS) {
        for (int i = 0; i < 3; ++i) {
            frame->Fill({0, 0, 1280, 720}, Pixel{uint8(40 * i), 80, 160, 255});
            if (layer->Update(frame) == SUCCESS)
                ++updates;
        }
        driver->graphicsDfb()->DestroySurface(frame);
    }
    std::printf("updates=%d\n", updates);
    SimMirror::stopDesktopMirror();
    DestroyDfbMultimediaDriver();
    std::printf("done\n");
    return 0;
}
