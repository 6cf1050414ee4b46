#ifndef CORE_CORELINKS_H
#define CORE_CORELINKS_H
// The core's links to the subsystems it drives but does not contain: the UI script engine,
// the screen, the player controller, the provisioning and settings helper, and the network
// logger. Each link is an interface that the subsystem installs in CoreLinks when it exists;
// until then the slot is null and the core, the UI application and the console commands say
// in the log what is missing and report failure where a result is expected, never a made-up
// success.
//
// Threads: links are installed before the core starts and removed after it has stopped; any
// thread may read the slots (they are atomic). Each interface states where it is called.
#include "core/Core.h"
#include "kapi/KapiTypes.h"

#include <memory>
#include <string>

namespace KELO {

class Display;
class MediaPlayer;

// The screen the UI draws on, one per UI application run.
class ScreenLink
{
public:
    virtual ~ScreenLink() = default;
    // Brings up the on-screen surfaces (UI main thread).
    virtual bool create() = 0;
    virtual void setOverscan(int32 top, int32 left, int32 bottom, int32 right) = 0;
    // Writes a screenshot of the current frame to `path`.
    virtual bool takeScreenshot(const std::string& path) = 0;
    // Releases the on-screen surfaces.
    virtual void close() = 0;
};

// The script engine; every call is made on the UI main thread unless stated otherwise.
class ScriptEngineLink
{
public:
    typedef void (*CoreEventHandler)(const Core::Event& event, void* context);
    typedef void (*RestartedCallback)(void* context);

    virtual ~ScriptEngineLink() = default;
    // Any thread (the core calls it under its lock while starting).
    virtual void setLaunchCommand(const std::string& command, const Core::CommandArgs& args) = 0;
    // Any thread; a null handler removes it.
    virtual void setCoreEventHandler(CoreEventHandler handler, void* context) = 0;
    virtual void addRestartedCallback(RestartedCallback callback, void* context) = 0;
    virtual void removeRestartedCallback(RestartedCallback callback, void* context) = 0;
    virtual bool initialize(ScreenLink* screen) = 0;
    virtual void shutdown() = 0;
    // Any thread: asks the engine to restart its scripts.
    virtual void restart() = 0;
    virtual void doTestControllerCommand(const std::string& subcommand) = 0;
    // Any thread: the script host's switch back to its previous environment.
    virtual void returnToOldWorld() = 0;
};

// The player controller of the playback subsystem (UI main thread).
class PlayerControllerLink
{
public:
    virtual ~PlayerControllerLink() = default;
    virtual void setPlayer(MediaPlayer* player) = 0;
    virtual void setScreen(ScreenLink* screen) = 0;
};

// The provisioning record and the settings helper that keeps it (any thread).
class ProvisioningLink
{
public:
    virtual ~ProvisioningLink() = default;
    virtual std::string getHardwareId() = 0;
    virtual std::string getEstablishedCountryCode() = 0;
    virtual bool setEstablishedCountryCode(const std::string& country) = 0;
    virtual bool unprovision() = 0;
    virtual bool generateHwId() = 0;
    virtual bool corruptProvisioning() = 0;
    virtual bool setDeactivateFlag() = 0;
};

// The network logger's buffer of lines waiting for upload (any thread).
class NetLoggerLink
{
public:
    virtual ~NetLoggerLink() = default;
    virtual bool pushBuffer() = 0;
};

// The service connection a console command acts on (any thread).
class ConnectionLink
{
public:
    virtual ~ConnectionLink() = default;
    virtual void doDisconnect() = 0;
};

// The process-wide slots. Nothing is owned.
class CoreLinks
{
public:
    typedef std::unique_ptr<ScreenLink> (*ScreenMaker)(Display* display);

    static void setScriptEngine(ScriptEngineLink* link);
    static ScriptEngineLink* scriptEngine();
    static void setScreenMaker(ScreenMaker maker);
    static ScreenMaker screenMaker();
    static void setPlayerController(PlayerControllerLink* link);
    static PlayerControllerLink* playerController();
    static void setProvisioning(ProvisioningLink* link);
    static ProvisioningLink* provisioning();
    static void setNetLogger(NetLoggerLink* link);
    static NetLoggerLink* netLogger();
    static void setConnection(ConnectionLink* link);
    static ConnectionLink* connection();
    // Empties every slot.
    static void clear();
};

} // namespace KELO

#endif
