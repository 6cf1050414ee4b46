#ifndef CORE_SERVICES_H
#define CORE_SERVICES_H
// KELO::Services: the process-wide registry of platform drivers, made on the first
// getInstance() and destroyed at exit. It holds one service per driver kind; each service is a
// single pointer slot (the driver is not owned) that registerDriver() fills, replacing any
// earlier driver, and unregisterDriver() clears. getDriver() gives FAILURE (4) for a null
// out-pointer or an empty slot, else stores the driver and gives SUCCESS (0).
//
// The embedding program registers drivers while the core is stopped; any thread may then read
// them. Slots are atomic, so a reader sees either the old or the new driver, never a torn one.
#include "core/KeloStatus.h"
#include "kapi/KapiTypes.h"

#include <atomic>

namespace KELO {

class CryptoDriver;
class SystemDriver;
class MultimediaDriver;
class UserInputDriver;
class LinkStatusDriver;
class UpdateDriver;
class RemuxerDriver;

template <typename Driver> class DriverService
{
public:
    DriverService() = default;
    DriverService(const DriverService&) = delete;
    DriverService& operator=(const DriverService&) = delete;

    int32 registerDriver(Driver* driver)
    {
        mDriver.store(driver);
        return SUCCESS;
    }
    int32 unregisterDriver()
    {
        mDriver.store(nullptr);
        return SUCCESS;
    }
    int32 getDriver(Driver** driver) const
    {
        Driver* current = mDriver.load();
        if (driver == nullptr || current == nullptr)
            return FAILURE;
        *driver = current;
        return SUCCESS;
    }

private:
    std::atomic<Driver*> mDriver{nullptr};
};

class CryptoService : public DriverService<CryptoDriver>
{
};
class SystemService : public DriverService<SystemDriver>
{
};
class UserInputService : public DriverService<UserInputDriver>
{
};
class LinkStatusService : public DriverService<LinkStatusDriver>
{
};
class UpdateService : public DriverService<UpdateDriver>
{
};
class RemuxerService : public DriverService<RemuxerDriver>
{
};

// Also carries the budget of surface memory the graphics may use.
class MultimediaService : public DriverService<MultimediaDriver>
{
public:
    static constexpr unsigned kDefaultSurfaceMemoryLimit = 25165824; // 24 MiB

    void setSurfaceMemoryLimit(unsigned bytes) { mSurfaceMemoryLimit.store(bytes); }
    unsigned getSurfaceMemoryLimit() const { return mSurfaceMemoryLimit.load(); }

private:
    std::atomic<unsigned> mSurfaceMemoryLimit{kDefaultSurfaceMemoryLimit};
};

class Services
{
public:
    static Services& getInstance()
    {
        static Services s_instance;
        return s_instance;
    }
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    CryptoService& getCryptoService() { return mCrypto; }
    SystemService& getSystemService() { return mSystem; }
    MultimediaService& getMultimediaService() { return mMultimedia; }
    UserInputService& getUserInputService() { return mUserInput; }
    LinkStatusService& getLinkStatusService() { return mLinkStatus; }
    UpdateService& getUpdateService() { return mUpdate; }
    RemuxerService& getRemuxerService() { return mRemuxer; }

private:
    Services() = default;

    CryptoService mCrypto;
    SystemService mSystem;
    MultimediaService mMultimedia;
    UserInputService mUserInput;
    LinkStatusService mLinkStatus;
    UpdateService mUpdate;
    RemuxerService mRemuxer;
};

} // namespace KELO

#endif
