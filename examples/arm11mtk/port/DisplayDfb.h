#ifndef ARM11MTK_PORT_DISPLAYDFB_H
#define ARM11MTK_PORT_DISPLAYDFB_H
// The display output: fixed 720p video mode, the monitor report and the copy-protection switch.
// The 3D-mode flag is process-wide: SetVideoMode sets it for a mode carrying any of the three 3D
// extension bits (mask 0x700) and clears it otherwise; the player reads it.
//
// This build has no platform configuration service linked into the port, so the monitor is
// reported as not connected and the 2D output-mode and copy-protection routines are not called.
#include "core/DisplayDriver.h"

#include <atomic>

namespace KELO {

class MultimediaDriverDfb;

class DisplayDfb : public Display
{
public:
    static constexpr int32 k3DModeMask = 0x700;
    static constexpr int kCapabilities = 0xEB;

    explicit DisplayDfb(MultimediaDriverDfb* driver);

    static bool is3DMode() { return s_3DMode.load(); }

    int GetCapabilities() const override;
    int32 AddListener(void* context, DisplayListener* listener, int eventMask) override;
    int32 RemoveListener(DisplayListener* listener) override;
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
    [[maybe_unused]] MultimediaDriverDfb* m_pDriver; // used once the platform routines are linked
    void* m_listenerContext = nullptr;
    DisplayListener* m_listener = nullptr;

    static std::atomic<bool> s_3DMode;
};

} // namespace KELO

#endif
