#ifndef ARM11MTK_PORT_MULTIMEDIADRIVERDFB_H
#define ARM11MTK_PORT_MULTIMEDIADRIVERDFB_H
// The DirectFB multimedia driver: one per process (CreateDfbMultimediaDriver /
// DestroyDfbMultimediaDriver). It owns the DirectFB start-up and the sub-drivers, created in the
// order graphics, mixer, display, player, conditional access and destroyed in the order player,
// mixer, display, conditional access, graphics before DirectFB is released.
//
// m_gfxBlitMutex serialises every DirectFB call on surfaces and the layer update, so the UI
// thread, image threads and the video layer never use DirectFB at the same time. Surfaces reach
// the driver through instance(), which is null while no driver exists.
#include "core/MultimediaDriver.h"

#include <directfb.h>

#include <memory>
#include <mutex>

namespace KELO {

class CADfb;
class DfbInit;
class DisplayDfb;
class GraphicsDfb;
class MediaPlayerDfb;
class MixerDfb;

class MultimediaDriverDfb : public MultimediaDriver
{
public:
    MultimediaDriverDfb();
    ~MultimediaDriverDfb() override;

    static MultimediaDriverDfb* instance() { return s_instance; }

    int GetCapabilities() const override;
    int32 GetGraphics(Graphics** graphics) override;
    int32 GetMixer(Mixer** mixer) override;
    int32 GetDisplay(Display** display) override;
    int32 GetPlayer(MediaPlayer** player) override;
    int32 GetCA(CA** ca) override;

    // False when DirectFB could not be started: every sub-driver is then absent.
    bool started() const { return m_dfb != nullptr; }
    std::mutex& gfxBlitMutex() { return m_gfxBlitMutex; }
    IDirectFB* dfb() const { return m_dfb; }
    IDirectFBSurface* frameBuffer() const { return m_frameBuffer; }
    GraphicsDfb* graphicsDfb() const { return m_keloGraphics.get(); }

private:
    void startupPlatform();
    void shutdownPlatform();

    std::mutex m_gfxBlitMutex;
    std::unique_ptr<GraphicsDfb> m_keloGraphics;
    std::unique_ptr<MixerDfb> m_keloMixer;
    std::unique_ptr<DisplayDfb> m_keloDisplay;
    std::unique_ptr<MediaPlayerDfb> m_keloPlayer;
    std::unique_ptr<CADfb> m_keloCA;
    IDirectFB* m_dfb = nullptr;
    IDirectFBDisplayLayer* m_layer = nullptr;
    IDirectFBSurface* m_frameBuffer = nullptr;
    IDirectFBWindow* m_graphicsWindow = nullptr;
    std::unique_ptr<DfbInit> m_dfbInit;

    static MultimediaDriverDfb* s_instance;
};

} // namespace KELO

// The process's single driver, created on the first call.
KELO::MultimediaDriver* CreateDfbMultimediaDriver();
void DestroyDfbMultimediaDriver();

#endif
