#ifndef CORE_UPDATEDRIVER_H
#define CORE_UPDATEDRIVER_H
// The software update driver: where the software downloader writes a new software image.
// Nothing in the program implements it; a device that can update itself registers one. An
// update is one version written from the first byte not yet held to its end. Results are int
// with 0 for success.
//
// Threads: one update runs at a time, on the downloader's thread.
#include <string>

namespace KELO {

class UpdateDriver
{
public:
    UpdateDriver() = default;
    UpdateDriver(const UpdateDriver&) = delete;
    UpdateDriver& operator=(const UpdateDriver&) = delete;

    // Slot order is fixed.
    virtual ~UpdateDriver() = default;
    // Sets `stored` to the payload bytes already held for `version`.
    virtual int startUpdate(const std::string& version, unsigned long long* stored,
                            unsigned long long payloadSize) = 0;
    virtual int write(const void* data, unsigned length) = 0;
    // Forgets a failed attempt.
    virtual void resetUpdate() = 0;
    // The payload is complete.
    virtual int endUpdate() = 0;
};

} // namespace KELO

#endif
