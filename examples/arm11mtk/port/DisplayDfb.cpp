// DisplayDfb: fixed answers and the printed traces of mode and protection changes.
#include "DisplayDfb.h"

#include <cstdio>

namespace KELO {

std::atomic<bool> DisplayDfb::s_3DMode{false};

DisplayDfb::DisplayDfb(MultimediaDriverDfb* driver) : m_pDriver(driver) {}

int DisplayDfb::GetCapabilities() const
{
    return kCapabilities;
}

int32 DisplayDfb::AddListener(void* context, DisplayListener* listener, int)
{
    m_listenerContext = context;
    m_listener = listener;
    return SUCCESS;
}

int32 DisplayDfb::RemoveListener(DisplayListener* listener)
{
    if (listener != m_listener)
        return INVALID_ARGUMENTS;
    m_listener = nullptr;
    m_listenerContext = nullptr;
    return SUCCESS;
}

int32 DisplayDfb::SetVideoMode(const VideoMode& mode)
{
    std::printf("SetVideoMode: mode=%x\n", static_cast<unsigned>(mode.mode));
    s_3DMode = (mode.mode & k3DModeMask) != 0;
    return SUCCESS;
}

int32 DisplayDfb::GetVideoMode(VideoMode* mode)
{
    if (mode == nullptr)
        return INVALID_ARGUMENTS;
    mode->mode = OUTPUT_MODE_720P;
    return SUCCESS;
}

int32 DisplayDfb::SetAudioMode(const AudioMode&)
{
    return SUCCESS;
}

int32 DisplayDfb::GetAudioMode(AudioMode*)
{
    return SUCCESS;
}

int32 DisplayDfb::GetMonitorInfo(HDMISetupInfo* info)
{
    if (info == nullptr)
        return INVALID_ARGUMENTS;
    info->preferredMode = OUTPUT_MODE_720P;
    info->isConnected = false;
    std::printf("[kelo test]GetMonitorInfo hdmi_connected = %s, supportedmode(0xeff)=%X\n",
                info->isConnected ? "on" : "off", info->supportedModes);
    return SUCCESS;
}

int32 DisplayDfb::EnableConnectors(bool, int)
{
    return SUCCESS;
}

int32 DisplayDfb::EnableCopyProtection(bool enable, CopyProtectionStandard standard)
{
    std::printf("[kelostub] EnableCopyProtection: copy=%s   standard=%d\n", enable ? "on" : "off",
                static_cast<int>(standard));
    return SUCCESS;
}

int32 DisplayDfb::EnableWatermarking(bool, unsigned)
{
    return NOT_SUPPORTED;
}

int32 DisplayDfb::SetAudioDelay(int)
{
    return SUCCESS;
}

int32 DisplayDfb::GetAudioDelay(int*)
{
    return SUCCESS;
}

int32 DisplayDfb::EnableVideoEnhancementsBypass(bool, const VideoEnhancementsBypassRegion&)
{
    return NOT_SUPPORTED;
}

} // namespace KELO
