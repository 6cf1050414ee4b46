#ifndef CORE_CORE_H
#define CORE_CORE_H
// KELO::Core: the one object an embedding program drives the whole client through. It is
// built from a configuration text, receives the platform drivers (kept in KELO::Services),
// is started with an application name and launch arguments, reports user-level events to an
// EventListener and is stopped. Everything behind it lives in the owned CoreDetail.
//
// Threads: start(), stop() and the driver (un)registration are called by the embedding
// program's thread; start and stop serialise on the core's process-wide lock. post() and
// setOEMScreenSaverState() may be called from any thread. The listener is called on the UI
// main thread "kelo-app-main". setEventListener() is an unsynchronised store: set it before
// start() and clear it after stop().
#include "kapi/KapiTypes.h"
#include "kapi/StringVector.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace KELO {

class CoreDetail;
class CryptoDriver;
class SystemDriver;
class MultimediaDriver;
class UserInputDriver;
class LinkStatusDriver;
class UpdateDriver;
class RemuxerDriver;

class Core
{
public:
    // Launch arguments: key to value in byte-wise key order.
    class CommandArgs : public std::map<std::string, std::string>
    {
    public:
        using std::map<std::string, std::string>::map;
        // "k=v" pairs in key order joined with ";"; empty for an empty map.
        std::string toString() const;
    };

    // Arguments of a named event, in byte-wise key order.
    class EventArgs : public std::map<std::string, std::string>
    {
    public:
        using std::map<std::string, std::string>::map;
    };

    // A user-level event. Kinds 1..4 are fixed events without a name; kind 6 is a named
    // event with arguments. The kind is an int32 so that unknown kinds pass through.
    struct Event
    {
        enum Kind : int32
        {
            EVENT_USER_REQUESTED_QUIT = 1,
            EVENT_USER_IS_IDLE = 2,
            EVENT_CUSTOM_USER_IDLE_TIMEOUT = 3,
            EVENT_USER_REQUESTED_GOTO_NETWORK_CONFIG = 4,
            EVENT_NAMED = 6
        };

        Event() = default;
        explicit Event(int32 kind) : type(kind) {}
        Event(std::string eventName, EventArgs eventArgs)
            : type(EVENT_NAMED), name(std::move(eventName)), args(std::move(eventArgs))
        {
        }

        // Kinds 1..4: their names ("EVENT_USER_IS_IDLE" ...); kind 6: the name, then, when
        // there are arguments, "(" + "k=v" pairs joined with ", " + ")"; any other kind: its
        // decimal number.
        std::string toString() const;

        int32 type = 0;
        std::string name;
        EventArgs args;
    };

    class EventListener
    {
    public:
        virtual ~EventListener() = default;
        // On the UI main thread; must not call start(), stop() or restart the core.
        virtual void Callback(const Event& event) = 0;
    };

    explicit Core(const std::string& configText);
    ~Core();
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    // True when the core runs afterwards (also when it was running already, in which case
    // only the launch command is updated).
    bool start(const std::string& appName, const CommandArgs& args);
    void stop();
    bool isRunning() const;
    // Posts the event to the scripts as the system event "coreEvent"/name with the arguments;
    // the kind is not carried.
    void post(const Event& event);

    // Refused (false, a line on standard error) while the core runs.
    bool registerCryptoDriver(CryptoDriver* driver);
    bool registerSystemDriver(SystemDriver* driver);
    bool registerMultimediaDriver(MultimediaDriver* driver);
    bool registerUserInputDriver(UserInputDriver* driver);
    bool registerLinkStatusDriver(LinkStatusDriver* driver);
    bool registerUpdateDriver(UpdateDriver* driver);
    bool registerRemuxerDriver(RemuxerDriver* driver);
    bool unregisterCryptoDriver();
    bool unregisterSystemDriver();
    bool unregisterMultimediaDriver();
    bool unregisterUserInputDriver();
    bool unregisterLinkStatusDriver();
    bool unregisterUpdateDriver();
    bool unregisterRemuxerDriver();

    // Not owned; null removes it.
    void setEventListener(EventListener* listener);
    // Posts "screensaver"/"stateChanged" with "on" = the state.
    void setOEMScreenSaverState(bool on);

    // Runs the maintenance (console) command `command` with `args` as the service connection
    // would: true when the command ran and succeeded. Commands exist only while the core
    // runs; an unknown command or a stopped core gives false with a log line.
    bool executeConsoleCommand(const std::string& command, const Kapi::StringVector& args);
    // The registered command words in registration order (empty while stopped).
    std::vector<std::string> consoleCommandNames() const;

private:
    bool refuseWhileRunning_i(const char* message) const;

    std::unique_ptr<CoreDetail> mDetail;
};

} // namespace KELO

#endif
