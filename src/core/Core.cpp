// KELO::Core: forwards to its detail; driver registration goes to KELO::Services and is
// refused while the core runs.
#include "core/Core.h"

#include "core/CoreDetail.h"
#include "core/Drivers.h"

#include <cstdio>

namespace KELO {

namespace {
const char kCannotRegister[] = "Cannot register drivers while running.";
const char kCannotUnregister[] = "Cannot unregister drivers while running.";
} // namespace

Core::Core(const std::string& configText) : mDetail(CoreDetail::New(configText)) {}

Core::~Core() = default;

bool Core::start(const std::string& appName, const CommandArgs& args)
{
    return mDetail->start(appName, args);
}

void Core::stop()
{
    mDetail->stop();
}

bool Core::isRunning() const
{
    return mDetail->isRunning();
}

void Core::post(const Event& event)
{
    mDetail->post(event);
}

bool Core::refuseWhileRunning_i(const char* message) const
{
    if (!mDetail->isRunning())
        return false;
    fprintf(stderr, "%s\n", message);
    return true;
}

#define KELO_CORE_DRIVER_OPS(Kind, Service)                                                        \
    bool Core::register##Kind##Driver(Kind##Driver* driver)                                        \
    {                                                                                              \
        if (refuseWhileRunning_i(kCannotRegister))                                                 \
            return false;                                                                          \
        return Services::getInstance().get##Service().registerDriver(driver) == SUCCESS;           \
    }                                                                                              \
    bool Core::unregister##Kind##Driver()                                                          \
    {                                                                                              \
        if (refuseWhileRunning_i(kCannotUnregister))                                               \
            return false;                                                                          \
        return Services::getInstance().get##Service().unregisterDriver() == SUCCESS;               \
    }

KELO_CORE_DRIVER_OPS(Crypto, CryptoService)
KELO_CORE_DRIVER_OPS(System, SystemService)
KELO_CORE_DRIVER_OPS(Multimedia, MultimediaService)
KELO_CORE_DRIVER_OPS(UserInput, UserInputService)
KELO_CORE_DRIVER_OPS(LinkStatus, LinkStatusService)
KELO_CORE_DRIVER_OPS(Update, UpdateService)
KELO_CORE_DRIVER_OPS(Remuxer, RemuxerService)

#undef KELO_CORE_DRIVER_OPS

void Core::setEventListener(EventListener* listener)
{
    mDetail->setListener(listener);
}

void Core::setOEMScreenSaverState(bool on)
{
    mDetail->setOEMScreenSaverState(on);
}

bool Core::executeConsoleCommand(const std::string& command, const Kapi::StringVector& args)
{
    return mDetail->executeConsoleCommand(command, args);
}

std::vector<std::string> Core::consoleCommandNames() const
{
    return mDetail->consoleCommandNames();
}

} // namespace KELO
