// MultimediaDriverDfb: start-up and shut-down order of DirectFB and the sub-drivers.
#include "MultimediaDriverDfb.h"

#include "CADfb.h"
#include "DfbInit.h"
#include "DisplayDfb.h"
#include "GraphicsDfb.h"
#include "MediaPlayerDfb.h"
#include "MixerDfb.h"
#include "kapi/vLog.h"

namespace KELO {

MultimediaDriverDfb* MultimediaDriverDfb::s_instance = nullptr;

MultimediaDriverDfb::MultimediaDriverDfb()
{
    s_instance = this;
    startupPlatform();
}

MultimediaDriverDfb::~MultimediaDriverDfb()
{
    shutdownPlatform();
    s_instance = nullptr;
}

void MultimediaDriverDfb::startupPlatform()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_INFO,
                    "Entered MultimediaDriverDfb::startupPlatform()");
    m_dfbInit = std::make_unique<DfbInit>();
    if (!m_dfbInit->ok()) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_ERROR,
                        "MultimediaDriverDfb: DirectFB could not be started");
        m_dfbInit.reset();
        return;
    }
    m_dfb = DfbInit::dfb();
    m_layer = DfbInit::displayLayer();
    m_graphicsWindow = DfbInit::window();
    m_frameBuffer = DfbInit::primarySurface();

    m_keloGraphics = std::make_unique<GraphicsDfb>();
    m_keloGraphics->CreateTemporarySurface();
    m_keloMixer = std::make_unique<MixerDfb>(this);
    m_keloDisplay = std::make_unique<DisplayDfb>(this);
    m_keloPlayer = std::make_unique<MediaPlayerDfb>(this);
    m_keloCA = std::make_unique<CADfb>();
}

void MultimediaDriverDfb::shutdownPlatform()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_MEDIA_SURFACE, VLOG_INFO,
                    "Entered MultimediaDriverDfb::shutdownPlatform()");
    m_keloPlayer.reset();
    m_keloMixer.reset();
    m_keloDisplay.reset();
    m_keloCA.reset();
    if (m_keloGraphics) {
        m_keloGraphics->DestroyTemporarySurface();
        m_keloGraphics.reset();
    }
    m_dfbInit.reset();
    m_frameBuffer = nullptr;
    m_graphicsWindow = nullptr;
    m_layer = nullptr;
    m_dfb = nullptr;
}

int MultimediaDriverDfb::GetCapabilities() const
{
    return 0;
}

int32 MultimediaDriverDfb::GetGraphics(Graphics** graphics)
{
    if (graphics == nullptr)
        return INVALID_ARGUMENTS;
    *graphics = m_keloGraphics.get();
    return *graphics != nullptr ? SUCCESS : FAILURE;
}

int32 MultimediaDriverDfb::GetMixer(Mixer** mixer)
{
    if (mixer == nullptr)
        return INVALID_ARGUMENTS;
    *mixer = m_keloMixer.get();
    return *mixer != nullptr ? SUCCESS : FAILURE;
}

int32 MultimediaDriverDfb::GetDisplay(Display** display)
{
    if (display == nullptr)
        return INVALID_ARGUMENTS;
    *display = m_keloDisplay.get();
    return *display != nullptr ? SUCCESS : FAILURE;
}

int32 MultimediaDriverDfb::GetPlayer(MediaPlayer** player)
{
    if (player == nullptr)
        return INVALID_ARGUMENTS;
    *player = m_keloPlayer.get();
    return *player != nullptr ? SUCCESS : FAILURE;
}

int32 MultimediaDriverDfb::GetCA(CA** ca)
{
    if (ca == nullptr)
        return INVALID_ARGUMENTS;
    *ca = m_keloCA.get();
    return *ca != nullptr ? SUCCESS : FAILURE;
}

} // namespace KELO

namespace {
std::unique_ptr<KELO::MultimediaDriverDfb> g_multimediaDriver;
}

KELO::MultimediaDriver* CreateDfbMultimediaDriver()
{
    if (!g_multimediaDriver)
        g_multimediaDriver = std::make_unique<KELO::MultimediaDriverDfb>();
    return g_multimediaDriver.get();
}

void DestroyDfbMultimediaDriver()
{
    g_multimediaDriver.reset();
}
