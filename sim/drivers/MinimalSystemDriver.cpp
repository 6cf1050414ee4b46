// The minimal system driver and its in-memory settings.
#include "MinimalSystemDriver.h"

#include "DeviceState.h" // modelId, set by the entry from its model table
#include "kapi/SystemUtil.h"

#include <cstdio>
#include <cstring>

namespace SimDrivers {

void MemorySettings::reset()
{
    std::lock_guard<std::mutex> guard(mLock);
    mValues.clear();
}

bool MemorySettings::get(const std::string& key, std::string& value)
{
    std::lock_guard<std::mutex> guard(mLock);
    auto it = mValues.find(key);
    if (it == mValues.end()) {
        value.clear();
        return false;
    }
    value = it->second;
    return true;
}

bool MemorySettings::set(const std::string& key, const std::string& value)
{
    std::lock_guard<std::mutex> guard(mLock);
    mValues[key] = value;
    return true;
}

MinimalSystemDriver::MinimalSystemDriver(std::string dbPath) : mDbPath(std::move(dbPath)) {}

int32 MinimalSystemDriver::GetSettings(KELO::Settings** settings)
{
    if (settings == nullptr)
        return KELO::INVALID_ARGUMENTS;
    *settings = &mSettings;
    return KELO::SUCCESS;
}

bool MinimalSystemDriver::getUID(std::string& uid)
{
    if (modelId[0] == '\0')
        return false;
    uid = std::string("MINIMAL-") + modelId;
    return true;
}

std::string MinimalSystemDriver::getSoftwareVersion() const
{
    return "MinimalSystemDriver 1.0";
}

int MinimalSystemDriver::getSystemMemoryKB() const
{
    FILE* f = fopen("/proc/meminfo", "r");
    if (f == nullptr)
        return -1;
    char line[128];
    int kb = -1;
    while (fgets(line, sizeof(line), f) != nullptr)
        if (sscanf(line, "MemTotal: %d kB", &kb) == 1)
            break;
    fclose(f);
    return kb;
}

std::string MinimalSystemDriver::getTempPath() const
{
    return Kapi::SystemUtil::devicePath("/tmp");
}

} // namespace SimDrivers
