// The minimal multimedia driver and its monitor-less display.
#include "MinimalMultimediaDriver.h"

#include "kapi/vLog.h"

namespace SimDrivers {

int32 MinimalDisplay::AddListener(void* /*context*/, KELO::DisplayListener* listener,
                                  int /*eventMask*/)
{
    return mListener.add(listener);
}

int32 MinimalDisplay::RemoveListener(KELO::DisplayListener* listener)
{
    return mListener.remove(listener);
}

int32 MinimalDisplay::SetVideoMode(const VideoMode& mode)
{
    std::lock_guard<std::mutex> guard(mLock);
    mVideoMode = mode;
    return KELO::SUCCESS;
}

int32 MinimalDisplay::GetVideoMode(VideoMode* mode)
{
    if (mode == nullptr)
        return KELO::INVALID_ARGUMENTS;
    std::lock_guard<std::mutex> guard(mLock);
    *mode = mVideoMode;
    return KELO::SUCCESS;
}

int32 MinimalDisplay::SetAudioMode(const AudioMode& mode)
{
    std::lock_guard<std::mutex> guard(mLock);
    mAudioMode = mode;
    return KELO::SUCCESS;
}

int32 MinimalDisplay::GetAudioMode(AudioMode* mode)
{
    if (mode == nullptr)
        return KELO::INVALID_ARGUMENTS;
    std::lock_guard<std::mutex> guard(mLock);
    *mode = mAudioMode;
    return KELO::SUCCESS;
}

int32 MinimalDisplay::GetMonitorInfo(HDMISetupInfo* info)
{
    if (info == nullptr)
        return KELO::INVALID_ARGUMENTS;
    *info = HDMISetupInfo{}; // no monitor: isConnected false, no supported modes
    return KELO::SUCCESS;
}

int32 MinimalDisplay::EnableConnectors(bool /*enable*/, int /*connectors*/)
{
    return KELO::SUCCESS; // nothing is connected either way
}

int32 MinimalDisplay::EnableCopyProtection(bool /*enable*/, CopyProtectionStandard /*standard*/)
{
    return KELO::NOT_SUPPORTED;
}

int32 MinimalDisplay::EnableWatermarking(bool /*enable*/, unsigned /*mark*/)
{
    return KELO::NOT_SUPPORTED;
}

int32 MinimalDisplay::SetAudioDelay(int delayMs)
{
    std::lock_guard<std::mutex> guard(mLock);
    mAudioDelayMs = delayMs;
    return KELO::SUCCESS;
}

int32 MinimalDisplay::GetAudioDelay(int* delayMs)
{
    if (delayMs == nullptr)
        return KELO::INVALID_ARGUMENTS;
    std::lock_guard<std::mutex> guard(mLock);
    *delayMs = mAudioDelayMs;
    return KELO::SUCCESS;
}

int32 MinimalDisplay::EnableVideoEnhancementsBypass(bool /*enable*/,
                                                    const VideoEnhancementsBypassRegion& /*r*/)
{
    return KELO::NOT_SUPPORTED;
}

MinimalMultimediaDriver::MinimalMultimediaDriver()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_NOTICE))
        vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_NOTICE,
                    "Minimal multimedia driver: no graphics, mixer or CA; the player plays "
                    "nothing; the display has no monitor");
}

// The sub-drivers this driver does not have: null and NOT_SUPPORTED.
template <typename T> static int32 none_i(T** out)
{
    if (out != nullptr)
        *out = nullptr;
    return KELO::NOT_SUPPORTED;
}

int32 MinimalMultimediaDriver::GetGraphics(KELO::Graphics** graphics)
{
    return none_i(graphics);
}

int32 MinimalMultimediaDriver::GetMixer(KELO::Mixer** mixer)
{
    return none_i(mixer);
}

int32 MinimalMultimediaDriver::GetDisplay(KELO::Display** display)
{
    if (display == nullptr)
        return KELO::INVALID_ARGUMENTS;
    *display = &mDisplay;
    return KELO::SUCCESS;
}

int32 MinimalMultimediaDriver::GetPlayer(KELO::MediaPlayer** player)
{
    if (player == nullptr)
        return KELO::INVALID_ARGUMENTS;
    *player = &mPlayer;
    return KELO::SUCCESS;
}

int32 MinimalMultimediaDriver::GetCA(KELO::CA** ca)
{
    return none_i(ca);
}

} // namespace SimDrivers
