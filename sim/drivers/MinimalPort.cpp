// The port's driver factories (PortDrivers.h) over the minimal drivers: one instance of each
// kind, created on the first Create... call and deleted by Destroy....
#include "MinimalLinkStatusDriver.h"
#include "MinimalMultimediaDriver.h"
#include "MinimalSystemDriver.h"
#include "MinimalUserInputDriver.h"
#include "PortDrivers.h"

#include "kapi/vLog.h"

#include <memory>

namespace {

std::unique_ptr<SimDrivers::MinimalSystemDriver> s_system;
std::unique_ptr<SimDrivers::MinimalMultimediaDriver> s_multimedia;
std::unique_ptr<SimDrivers::MinimalUserInputDriver> s_userInput;
std::unique_ptr<SimDrivers::MinimalLinkStatusDriver> s_linkStatus;

template <typename T, typename... Args> T* single_i(std::unique_ptr<T>& slot, Args&&... args)
{
    if (!slot)
        slot = std::make_unique<T>(std::forward<Args>(args)...);
    return slot.get();
}

void logName_i(const char* name)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_OS, VLOG_INFO, "%s", name);
}

} // namespace

KELO::SystemDriver* CreateArm11mtkSystemDriver(const char* dbPath)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_OS, VLOG_INFO, "%s: dbPath=%s (minimal, in memory)",
                    "CreateArm11mtkSystemDriver", dbPath != nullptr ? dbPath : "(null)");
    return single_i(s_system, dbPath != nullptr ? dbPath : "");
}

void DestroyArm11mtkSystemDriver()
{
    s_system.reset();
}

KELO::MultimediaDriver* CreateDfbMultimediaDriver()
{
    return single_i(s_multimedia);
}

void DestroyDfbMultimediaDriver()
{
    s_multimedia.reset();
}

KELO::UserInputDriver* CreateDfbUserInputDriver()
{
    return single_i(s_userInput);
}

void DestroyDfbUserInputDriver()
{
    s_userInput.reset();
}

KELO::LinkStatusDriver* CreateGenericLinkStatusDriver()
{
    return single_i(s_linkStatus);
}

void DestroyGenericLinkStatusDriver()
{
    s_linkStatus.reset();
}

void platformInitArm11mtk()
{
    logName_i("platformInitArm11mtk");
}

void platformUninitArm11mtk()
{
    logName_i("platformUninitArm11mtk");
}
