#ifndef CORE_DISPLAYDRIVER_H
#define CORE_DISPLAYDRIVER_H
// The display driver interface: video and audio output modes, the connected monitor, copy
// protection, and display events. Operations returning int32 give a KELO::Status. The display
// belongs to the multimedia driver.
//
// Threads: listener callbacks arrive on the driver's own thread; receivers only post work.
#include "core/DriverTypes.h"
#include "core/KeloStatus.h"

namespace KELO {

class DisplayListener
{
public:
    enum Event : int32
    {
        HDCPStatusUpdate = 1,
        HDMIConnect = 2,
        HDMIDisconnect = 4,
        HDCPSuccess = 8,
        HDCPFailure = 16,
        ModeSelect480I = 32,
        ModeSelect480P = 64,
        DisplayHidden = 128,
        DisplayRevealed = 256
    };
    virtual ~DisplayListener() = default;
    virtual void Callback(void* context, Event event) = 0;
};

class Display
{
public:
    enum OutputMode : int32
    {
        OUTPUT_MODE_480I = 1,
        OUTPUT_MODE_480P = 2,
        OUTPUT_MODE_720P = 8,
        OUTPUT_MODE_1080I = 16,
        OUTPUT_MODE_1080P_24 = 32,
        OUTPUT_MODE_1080P_30 = 64,
        OUTPUT_MODE_1080P_60 = 128,
        EXT_MODE_3D_FRAME_PACKED = 256,
        EXT_MODE_3D_SIDE_BY_SIDE = 512,
        EXT_MODE_3D_TOP_AND_BOTTOM = 1024
    };
    enum AudioOutputMode : int32
    {
        AOUT_AC3 = 1,
        AOUT_PCM_STEREO = 2,
        AOUT_PCM_6_CHANNEL = 4
    };
    enum AspectRatio : int32
    {
        TV_ASPECT_16_9 = 0,
        TV_ASPECT_4_3 = 1
    };
    enum DolbyDrcMode : int32
    {
        DRC_MAX_RANGE = 0,
        DRC_STD_RANGE = 1,
        DRC_MIN_RANGE = 2
    };
    enum Capabilities : int32
    {
        hasAvSyncDelay = 1,
        hasFilmGrain = 2,
        hasWatermarking = 4,
        hasHDCPNotifications = 8,
        has3DFramePacked = 16,
        has3DSideBySide = 32,
        has3DTopAndBottom = 64,
        hasSOCSupport = 128
    };
    enum CopyProtectionStandard : int32
    {
        CP_MV_AGC = 1,
        CP_MV_AGC_2LINE = 2,
        CP_MV_AGC_4LINE = 3,
        CP_HDCP = 16,
        CP_DCS = 32,
        CP_SOC = 64,
        CP_CGMS_A_ONE_COPY = 256,
        CP_CGMS_A_NO_COPY = 512,
        CP_SPDIF = 4096,
        CP_DEMO_MODE = 8192
    };

    struct VideoMode
    {
        OutputMode mode = OUTPUT_MODE_720P;
        Level filmGrain = LEVEL_OFF;
    };
    struct AudioMode
    {
        AudioOutputMode hdmiAudioMode = AOUT_PCM_STEREO;
        AudioOutputMode preferredMode = AOUT_PCM_STEREO;
        DolbyDrcMode drcMode = DRC_MAX_RANGE;
    };
    struct HDMISetupInfo
    {
        OutputMode preferredMode = OUTPUT_MODE_720P;
        OutputMode preferred3DMode = OUTPUT_MODE_720P;
        AudioOutputMode preferredAudioMode = AOUT_PCM_STEREO;
        AspectRatio aspectRatio = TV_ASPECT_16_9;
        bool isConnected = false;
        uint32 supportedModes = 0; // OutputMode bits
    };
    struct VideoEnhancementsBypassRegion
    {
        int32 id = 0;
        Rectangle rect;
    };

    Display() = default;
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    // Slot order is fixed.
    virtual ~Display() = default;
    virtual int GetCapabilities() const = 0; // Capabilities bits
    virtual int32 AddListener(void* context, DisplayListener* listener, int eventMask) = 0;
    virtual int32 RemoveListener(DisplayListener* listener) = 0;
    virtual int32 SetVideoMode(const VideoMode& mode) = 0;
    virtual int32 GetVideoMode(VideoMode* mode) = 0;
    virtual int32 SetAudioMode(const AudioMode& mode) = 0;
    virtual int32 GetAudioMode(AudioMode* mode) = 0;
    virtual int32 GetMonitorInfo(HDMISetupInfo* info) = 0;
    virtual int32 EnableConnectors(bool enable, int connectors) = 0;
    virtual int32 EnableCopyProtection(bool enable, CopyProtectionStandard standard) = 0;
    virtual int32 EnableWatermarking(bool enable, unsigned mark) = 0;
    virtual int32 SetAudioDelay(int delayMs) = 0;
    virtual int32 GetAudioDelay(int* delayMs) = 0;
    virtual int32 EnableVideoEnhancementsBypass(bool enable,
                                                const VideoEnhancementsBypassRegion& region) = 0;
};

} // namespace KELO

#endif
