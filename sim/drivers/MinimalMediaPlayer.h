#ifndef SIM_DRIVERS_MINIMALMEDIAPLAYER_H
#define SIM_DRIVERS_MINIMALMEDIAPLAYER_H
// A minimal media player for running the client without the device port: it plays nothing.
// It supports no container or codec, refuses every source (NOT_SUPPORTED; a null source
// detaches and succeeds), and with no source selected it has no position or speed (FAILURE).
// It keeps one listener, which it never calls.
#include "ListenerSlot.h"
#include "core/MediaPlayerDriver.h"

namespace SimDrivers {

class MinimalMediaPlayer : public KELO::MediaPlayer
{
public:
    Capabilities GetCapabilities() const override { return Capabilities{}; }
    int GetSupportedVideoCodecs(KELO::Containers) const override { return 0; }
    int GetSupportedAudioCodecs(KELO::Containers) const override { return 0; }
    int32 AddListener(void* context, KELO::MediaPlayerListener* listener, int eventMask) override;
    int32 RemoveListener(KELO::MediaPlayerListener* listener) override;
    int32 SetSource(KELO::MediaBuffer* buffer) override;
    int32 SetOutput(KELO::Layer* layer) override;
    int32 SetPosAndSpeed(int speed, int position, int flags) override;
    int32 GetPosAndSpeed(int* position, int* speed) override;
    int32 FrameAdvance() override { return KELO::NOT_SUPPORTED; }
    int32 FrameReverse() override { return KELO::NOT_SUPPORTED; }

private:
    ListenerSlot<KELO::MediaPlayerListener> mListener;
};

} // namespace SimDrivers

#endif
