#ifndef CORE_MULTIMEDIADRIVER_H
#define CORE_MULTIMEDIADRIVER_H
// The multimedia driver: the entry to the device's graphics, display planes, display output,
// media player and conditional access. The objects it hands out belong to it and live until
// it is destroyed. Operations returning int32 give a KELO::Status.
#include "core/DisplayDriver.h"
#include "core/GraphicsDriver.h"
#include "core/MediaPlayerDriver.h"

namespace KELO {

class MultimediaDriver
{
public:
    MultimediaDriver() = default;
    MultimediaDriver(const MultimediaDriver&) = delete;
    MultimediaDriver& operator=(const MultimediaDriver&) = delete;

    // Slot order is fixed.
    virtual ~MultimediaDriver() = default;
    virtual int GetCapabilities() const = 0;
    virtual int32 GetGraphics(Graphics** graphics) = 0;
    virtual int32 GetMixer(Mixer** mixer) = 0;
    virtual int32 GetDisplay(Display** display) = 0;
    virtual int32 GetPlayer(MediaPlayer** player) = 0;
    virtual int32 GetCA(CA** ca) = 0;
};

} // namespace KELO

#endif
