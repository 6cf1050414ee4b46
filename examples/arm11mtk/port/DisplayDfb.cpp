// DisplayDfb: fixed answers and the printed traces of mode and protection changes.
#include "DisplayDfb.h"

#include "CopyProtection.h"
#include "DeviceState.h"
#include "Tv3d.h"

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
    if ((mode.mode & k3DModeMask) == 0) {
        s_3DMode = false;
        kelo_reset3d_videomode();
    } else {
        s_3DMode = true;
    }
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
    // The client's first byte answers whether a sink is connected.
    IMTKCFG_SUPPORT_FORMAT_T format = {};
    info->isConnected = IMtkCfg_Get_Support_Format(hCfgHandle.load(), &format) ==
                            IMTK_CFG_ERROR_CODE_OK &&
                        reinterpret_cast<const uint8*>(&format)[0] != 0;
    if (info->isConnected && kelo_get_tv3dinfo())
        info->supportedModes = kSupportedModes3D;
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
    if (enable)
        kelo_copyprotection_on(standard);
    else
        kelo_copyprotection_off(standard);
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
