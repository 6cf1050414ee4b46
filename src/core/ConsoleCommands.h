#ifndef CORE_CONSOLECOMMANDS_H
#define CORE_CONSOLECOMMANDS_H
// The device's twelve maintenance commands. Each forwards to the subsystem that does the work;
// where that subsystem is not linked in (see CoreLinks), the command logs what is missing
// (source "connection") and fails. makeCoreConsoleCommands() lists them in the order the core
// registers them.
#include "core/ConsoleCommandHandler.h"

#include <memory>
#include <string>
#include <vector>

namespace KELO {

class ConnectionLink;

// "returnToOldWorld": the script host's switch back to its previous environment.
class CommandReturnToOldWorld : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "returnToOldWorld"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "luaRestart": restarts the script engine.
class CommandLuaRestart : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "luaRestart"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "systemRestart": posts a restart event to the UI application.
class CommandSystemRestart : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "systemRestart"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "systemStop": posts a quit event to the UI application.
class CommandSystemStop : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "systemStop"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "screenshot [path]": the UI application writes a screenshot, by default to
// "/var/screenshot.jpg" under the device root.
class CommandScreenshot : public ConsoleCommandHandler
{
public:
    static const char* const kDefaultPath;
    std::string getName() const override { return "screenshot"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "flushNetLogBuffer": uploads the network logger's buffered lines now.
class CommandFlushNetLogBuffer : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "flushNetLogBuffer"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "unprovision": removes the provisioning; on success disconnects the connection it was
// registered with (not owned, may be null).
class CommandUnprovision : public ConsoleCommandHandler
{
public:
    explicit CommandUnprovision(ConnectionLink* connection) : mConnection(connection) {}
    std::string getName() const override { return "unprovision"; }
    bool execute(const Kapi::StringVector& args) override;

private:
    ConnectionLink* mConnection;
};

// "resetHwId": unprovisions and, when that worked, makes a new hardware id.
class CommandResetHwId : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "resetHwId"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "corruptProvisioning": damages the stored provisioning on purpose (recovery testing).
class CommandCorruptProvisioning : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "corruptProvisioning"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "postSystemEvent source type [k=v ...]": the words after the type are joined with ";" and
// read as a compact key-value text.
class CommandPostSystemEvent : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "postSystemEvent"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "setDeactivateFlag": leaves the deactivation marker, then restarts the script engine.
class CommandSetDeactivateFlag : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "setDeactivateFlag"; }
    bool execute(const Kapi::StringVector& args) override;
};

// "testcontroller <sub-command>": hands the first word to the script engine's test controller.
class CommandTestController : public ConsoleCommandHandler
{
public:
    std::string getName() const override { return "testcontroller"; }
    bool execute(const Kapi::StringVector& args) override;
};

// The twelve commands in registration order; "unprovision" is bound to `connection`.
std::vector<std::shared_ptr<ConsoleCommandHandler>>
makeCoreConsoleCommands(ConnectionLink* connection);

} // namespace KELO

#endif
