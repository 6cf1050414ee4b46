#ifndef CORE_COREDETAIL_H
#define CORE_COREDETAIL_H
// KELO::CoreDetail: what stands behind KELO::Core. New() always makes the set-top
// implementation (STBCoreDetail). The listener pointer is not owned and is read on the UI
// main thread without a lock (see Core::setEventListener).
#include "core/Core.h"

#include <memory>
#include <string>
#include <vector>

namespace Kapi {
class SystemEvent;
}

namespace KELO {

class CoreDetail
{
public:
    static std::unique_ptr<CoreDetail> New(const std::string& configText);

    CoreDetail() = default;
    CoreDetail(const CoreDetail&) = delete;
    CoreDetail& operator=(const CoreDetail&) = delete;

    // Slot order is fixed up to deviceIdUpdated(); the console-command operations follow.
    virtual ~CoreDetail() = default;
    virtual bool start(const std::string& appName, const Core::CommandArgs& args) = 0;
    virtual void stop() = 0;
    virtual void post(const Core::Event& event) = 0;
    virtual bool isRunning() const = 0;
    virtual void setOEMScreenSaverState(bool on) = 0;
    virtual void postSystemEvent(const Kapi::SystemEvent& event) = 0;
    virtual void deviceIdUpdated(unsigned id) = 0;
    virtual bool executeConsoleCommand(const std::string& command,
                                       const Kapi::StringVector& args) = 0;
    virtual std::vector<std::string> consoleCommandNames() const = 0;

    void setListener(Core::EventListener* listener) { mListener = listener; }
    Core::EventListener* getListener() const { return mListener; }

protected:
    Core::EventListener* mListener = nullptr; // not owned
};

} // namespace KELO

#endif
