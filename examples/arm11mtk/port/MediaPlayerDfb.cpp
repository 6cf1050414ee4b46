// MediaPlayerDfb: fixed answers and the free-memory query; playback operations fail plainly.
#include "MediaPlayerDfb.h"

#include "kapi/vLog.h"

#include <cstdio>
#include <cstring>

namespace KELO {

MediaPlayerDfb::MediaPlayerDfb(MultimediaDriverDfb* driver) : m_pDriver(driver) {}

MediaPlayer::Capabilities MediaPlayerDfb::GetCapabilities() const
{
    Capabilities capabilities;
    capabilities.containers = CONTAINER_TS;
    capabilities.keloContent = true;
    capabilities.trickplay = false;
    return capabilities;
}

int MediaPlayerDfb::GetSupportedVideoCodecs(Containers container) const
{
    return container == CONTAINER_TS ? VIDEO_CODEC_H264 : VIDEO_CODEC_UNKNOWN;
}

int MediaPlayerDfb::GetSupportedAudioCodecs(Containers container) const
{
    return container == CONTAINER_TS ? (AUDIO_CODEC_DDP | AUDIO_CODEC_AAC | AUDIO_CODEC_DD)
                                     : AUDIO_CODEC_UNKNOWN;
}

int32 MediaPlayerDfb::AddListener(void* context, MediaPlayerListener* listener, int)
{
    m_listenerContext = context;
    m_listener = listener;
    return SUCCESS;
}

int32 MediaPlayerDfb::RemoveListener(MediaPlayerListener* listener)
{
    if (listener != m_listener)
        return INVALID_ARGUMENTS;
    m_listener = nullptr;
    m_listenerContext = nullptr;
    return SUCCESS;
}

int32 MediaPlayerDfb::SetSource(MediaBuffer* buffer)
{
    if (buffer == nullptr)
        return SUCCESS;
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_PLAYER, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_MEDIA_PLAYER, VLOG_ERROR,
                    "KELO-MediaPlayerDfb: push playback is not available in this build");
    return NOT_SUPPORTED;
}

int32 MediaPlayerDfb::SetOutput(Layer*)
{
    return SUCCESS;
}

int32 MediaPlayerDfb::SetPosAndSpeed(int, int, int)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_PLAYER, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_MEDIA_PLAYER, VLOG_ERROR,
                    "[kelo tester] SetPosAndSpeed: invalid status");
    return FAILURE;
}

int32 MediaPlayerDfb::GetPosAndSpeed(int* position, int* speed)
{
    if (position != nullptr)
        *position = 0;
    if (speed != nullptr)
        *speed = m_speed;
    return FAILURE;
}

int32 MediaPlayerDfb::FrameAdvance()
{
    return NOT_SUPPORTED;
}

int32 MediaPlayerDfb::FrameReverse()
{
    return NOT_SUPPORTED;
}

int MediaPlayerDfb::getSystemFreeMemoryKB() const
{
    return freeMemoryKBFrom("/proc/meminfo");
}

int MediaPlayerDfb::freeMemoryKBFrom(const char* path)
{
    FILE* file = std::fopen(path, "r");
    if (file == nullptr)
        return -1;
    char line[256];
    long freeKB = -1;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, "MemFree:", 8) == 0) {
            if (std::sscanf(line + 8, "%ld", &freeKB) != 1)
                freeKB = -1;
            break;
        }
    }
    std::fclose(file);
    if (freeKB < 0)
        return -1;
    return freeKB < 5120 ? 0 : static_cast<int>(freeKB - 5120);
}

} // namespace KELO
