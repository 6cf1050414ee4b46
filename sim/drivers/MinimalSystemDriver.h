#ifndef SIM_DRIVERS_MINIMALSYSTEMDRIVER_H
#define SIM_DRIVERS_MINIMALSYSTEMDRIVER_H
// A minimal system driver for running the client without the device port: settings live in
// memory only (lost at exit), the device id is "MINIMAL-" followed by the model id the entry
// set, memory comes from /proc/meminfo and the temporary path is the device's "/tmp".
#include "core/SystemDriver.h"

#include <map>
#include <mutex>
#include <string>

namespace SimDrivers {

// Key/value settings in a map behind a mutex.
class MemorySettings : public KELO::Settings
{
public:
    void reset() override;
    bool get(const std::string& key, std::string& value) override;
    bool set(const std::string& key, const std::string& value) override;

private:
    std::mutex mLock;
    std::map<std::string, std::string> mValues;
};

class MinimalSystemDriver : public KELO::SystemDriver
{
public:
    explicit MinimalSystemDriver(std::string dbPath);

    int32 GetSettings(KELO::Settings** settings) override;
    bool getUID(std::string& uid) override;
    std::string getSoftwareVersion() const override;
    int getSystemMemoryKB() const override;
    std::string getTempPath() const override;

    // The path the entry named for the settings database (kept, never opened).
    const std::string& dbPath() const { return mDbPath; }

private:
    std::string mDbPath;
    MemorySettings mSettings;
};

} // namespace SimDrivers

#endif
