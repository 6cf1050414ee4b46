#ifndef ARM11MTK_PORT_DISPLAYDFB_H
#define ARM11MTK_PORT_DISPLAYDFB_H
// The display output: fixed 720p video mode, the monitor report and the copy-protection switch.
// The 3D-mode flag is process-wide: SetVideoMode sets it for a mode carrying any of the three 3D
// extension bits (mask 0x700) and clears it otherwise; the player reads it.
//
// The monitor report, the return to 2D output and the copy-protection switch go to the
// platform's configuration client (Tv3d.h, CopyProtection.h).
#include "core/DisplayDriver.h"

#include <atomic>

namespace KELO {

class MultimediaDriverDfb;

class DisplayDfb : public Display
{
public:
    static constexpr int32 k3DModeMask = 0x700;
    static constexpr int kCapabilities = 0xEB;
    // The modes reported for a television that shows 3D.
    static constexpr uint32 kSupportedModes3D = 0xEFF;

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
