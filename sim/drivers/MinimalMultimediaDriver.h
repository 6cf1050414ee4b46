#ifndef SIM_DRIVERS_MINIMALMULTIMEDIADRIVER_H
#define SIM_DRIVERS_MINIMALMULTIMEDIADRIVER_H
// A minimal multimedia driver for running the client without the device port: there is no
// graphics, mixer or conditional access (their getters give NOT_SUPPORTED and null), the
// player plays nothing (MinimalMediaPlayer.h) and the display has no monitor connected. The display
// keeps the modes and the audio delay it is given so that callers read back what they set; copy
// protection and watermarking are not supported.
#include "ListenerSlot.h"
#include "MinimalMediaPlayer.h"
#include "core/MultimediaDriver.h"

#include <mutex>

namespace SimDrivers {

class MinimalDisplay : public KELO::Display
{
public:
    int GetCapabilities() const override { return 0; }
    int32 AddListener(void* context, KELO::DisplayListener* listener, int eventMask) override;
    int32 RemoveListener(KELO::DisplayListener* listener) override;
    int32 SetVideoMode(const VideoMode& mode) override;
    int32 GetVideoMode(VideoMode* mode) override;
    int32 SetAudioMode(const AudioMode& mode) override;
    int32 GetAudioMode(AudioMode* mode) override;
    int32 GetMonitorInfo(HDMISetupInfo* info) override;
    int32 EnableConnectors(bool enable, int connectors) override;
    int32 EnableCopyProtection(bool enable, CopyProtectionStandard standard) override;
    int32 EnableWatermarking(bool enable, unsigned mark) override;
    int32 SetAudioDelay(int delayMs) override;
    int32 GetAudioDelay(int* delayMs) override;
    int32 EnableVideoEnhancementsBypass(bool enable,
                                        const VideoEnhancementsBypassRegion& region) override;

private:
    std::mutex mLock;
    VideoMode mVideoMode;
    AudioMode mAudioMode;
    int mAudioDelayMs = 0;
    ListenerSlot<KELO::DisplayListener> mListener; // never called: nothing changes
};

class MinimalMultimediaDriver : public KELO::MultimediaDriver
{
public:
    MinimalMultimediaDriver();

    int GetCapabilities() const override { return 0; }
    int32 GetGraphics(KELO::Graphics** graphics) override;
    int32 GetMixer(KELO::Mixer** mixer) override;
    int32 GetDisplay(KELO::Display** display) override;
    int32 GetPlayer(KELO::MediaPlayer** player) override;
    int32 GetCA(KELO::CA** ca) override;

private:
    MinimalDisplay mDisplay;
    MinimalMediaPlayer mPlayer;
};

} // namespace SimDrivers

#endif
