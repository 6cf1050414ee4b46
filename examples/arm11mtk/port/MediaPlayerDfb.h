#ifndef ARM11MTK_PORT_MEDIAPLAYERDFB_H
#define ARM11MTK_PORT_MEDIAPLAYERDFB_H
// The media player object of the DirectFB driver. Push playback into the platform's playback
// controller is not built yet: SetSource, SetPosAndSpeed and GetPosAndSpeed answer
// NOT_SUPPORTED / FAILURE and the status stays CREATED, so the media-player wrapper sees a
// plain failure. Capabilities, codec answers, the listener slot and the free-memory query work.
#include "core/MediaPlayerDriver.h"

namespace KELO {

class MultimediaDriverDfb;

class MediaPlayerDfb : public MediaPlayer
{
public:
    enum PlayerStatus : int32
    {
        CREATED = 0,
        STOPPED = 1,
        SELECTED = 2,
        PLAYING = 3,
        PAUSED = 4,
        TRICKMODE = 5,
        EMERGENCY_PAUSE = 6
    };

    explicit MediaPlayerDfb(MultimediaDriverDfb* driver);

    Capabilities GetCapabilities() const override;
    int GetSupportedVideoCodecs(Containers container) const override;
    int GetSupportedAudioCodecs(Containers container) const override;
    int32 AddListener(void* context, MediaPlayerListener* listener, int eventMask) override;
    int32 RemoveListener(MediaPlayerListener* listener) override;
    int32 SetSource(MediaBuffer* buffer) override;
    int32 SetOutput(Layer* layer) override;
    int32 SetPosAndSpeed(int speed, int position, int flags) override;
    int32 GetPosAndSpeed(int* position, int* speed) override;
    int32 FrameAdvance() override;
    int32 FrameReverse() override;
    // "MemFree:" of /proc/meminfo minus 5120 kB (0 when below), -1 when it cannot be read.
    virtual int getSystemFreeMemoryKB() const;

    PlayerStatus status() const { return m_status; }

    // The same rule over `path` (a meminfo-format file), for other sources of the figure.
    static int freeMemoryKBFrom(const char* path);

private:
    [[maybe_unused]] MultimediaDriverDfb* m_pDriver; // used once the platform routines are linked
    PlayerStatus m_status = CREATED;
    int m_speed = 0;
    void* m_listenerContext = nullptr;
    MediaPlayerListener* m_listener = nullptr;
};

} // namespace KELO

#endif
