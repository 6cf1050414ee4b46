#ifndef CORE_REMUXERDRIVER_H
#define CORE_REMUXERDRIVER_H
// The platform remuxer driver, made by the platform's remuxer library. It converts a
// downloaded container into the transport stream the player accepts; its demuxer and muxer
// operations are declared with the remuxing transform that uses them. The core only keeps the
// registered driver.
namespace KELO {

class RemuxerDriver
{
public:
    RemuxerDriver() = default;
    RemuxerDriver(const RemuxerDriver&) = delete;
    RemuxerDriver& operator=(const RemuxerDriver&) = delete;
    virtual ~RemuxerDriver() = default;
};

} // namespace KELO

#endif
