#ifndef CORE_SYSTEMDRIVER_H
#define CORE_SYSTEMDRIVER_H
// The system driver: the device's persistent settings store and its identity. The settings
// store (KELO::Settings) maps string keys to string values and belongs to the driver; callers
// never delete it. Operations returning int32 give a KELO::Status.
//
// Threads: any thread may call the driver; the store serialises its own operations.
#include "core/KeloStatus.h"
#include "kapi/KapiTypes.h"

#include <string>

namespace KELO {

class Settings
{
public:
    Settings() = default;
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    // Slot order is fixed.
    virtual ~Settings() = default;
    // Removes every setting.
    virtual void reset() = 0;
    // True with `value` set when the key exists; `value` is cleared otherwise.
    virtual bool get(const std::string& key, std::string& value) = 0;
    // True when the value was stored persistently.
    virtual bool set(const std::string& key, const std::string& value) = 0;
};

class SystemDriver
{
public:
    // Where a device keeps the owner's deactivation request: the driver asks it whether a
    // request stands and tells it when the client has acknowledged one.
    class DeactivationDelegate
    {
    public:
        virtual ~DeactivationDelegate() = default;
        virtual bool deactivateRequested() const = 0;
        virtual void deactivateAcknowledged() = 0;
    };

    SystemDriver() = default;
    SystemDriver(const SystemDriver&) = delete;
    SystemDriver& operator=(const SystemDriver&) = delete;

    // Slot order is fixed.
    virtual ~SystemDriver() = default;
    virtual int32 GetSettings(Settings** settings) = 0;
    // The unique device id; false when none can be made.
    virtual bool getUID(std::string& uid) = 0;
    // A text naming the device software, e.g. "<driver name> 1.0".
    virtual std::string getSoftwareVersion() const = 0;
    // Total memory in KiB, -1 when unknown.
    virtual int getSystemMemoryKB() const = 0;
    virtual std::string getTempPath() const = 0;
    // Base: no deactivation requested, acknowledgements ignored, the delegate stored.
    virtual bool deactivateRequested() const { return false; }
    virtual void deactivateAcknowledged() {}
    virtual void setDeactivationDelegate(DeactivationDelegate* delegate)
    {
        mDeactivationDelegate = delegate;
    }

protected:
    DeactivationDelegate* mDeactivationDelegate = nullptr; // not owned
};

} // namespace KELO

#endif
