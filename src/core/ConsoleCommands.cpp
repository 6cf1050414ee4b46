// The twelve maintenance commands. Each one forwards to its subsystem through CoreLinks or the
// UI application; a subsystem that is not linked in makes the command fail with a log line
// naming what is missing.
#include "core/ConsoleCommands.h"

#include "core/CoreLinks.h"
#include "core/UICoreApplication.h"
#include "kapi/KeyValueMap.h"
#include "kapi/SystemEvent.h"
#include "kapi/SystemUtil.h"
#include "kapi/vLog.h"

namespace KELO {

const char* const CommandScreenshot::kDefaultPath = "/var/screenshot.jpg";

namespace {

bool missing(const char* command, const char* what)
{
    if (vLogLevelEnabled(VLOGSRC_CONNECTION, VLOG_ERROR))
        vLogMessage(VLOGSRC_CONNECTION, VLOG_ERROR, "%s: %s is not available", command, what);
    return false;
}

const char kScriptEngine[] = "the script engine";
const char kProvisioning[] = "the provisioning helper";

} // namespace

bool CommandReturnToOldWorld::execute(const Kapi::StringVector&)
{
    ScriptEngineLink* engine = CoreLinks::scriptEngine();
    if (engine == nullptr)
        return missing("returnToOldWorld", kScriptEngine);
    engine->returnToOldWorld();
    return true;
}

bool CommandLuaRestart::execute(const Kapi::StringVector&)
{
    ScriptEngineLink* engine = CoreLinks::scriptEngine();
    if (engine == nullptr)
        return missing("luaRestart", kScriptEngine);
    engine->restart();
    return true;
}

bool CommandSystemRestart::execute(const Kapi::StringVector&)
{
    if (!UICore::Application::postRestartEvent())
        return missing("systemRestart", "a running UI application");
    return true;
}

bool CommandSystemStop::execute(const Kapi::StringVector&)
{
    if (!UICore::Application::postStopEvent())
        return missing("systemStop", "a running UI application");
    return true;
}

bool CommandScreenshot::execute(const Kapi::StringVector& args)
{
    const std::string path = args.empty() ? Kapi::SystemUtil::devicePath(kDefaultPath) : args[0];
    return UICore::Application::takeScreenshotOnCurrent(path);
}

bool CommandFlushNetLogBuffer::execute(const Kapi::StringVector&)
{
    NetLoggerLink* logger = CoreLinks::netLogger();
    if (logger == nullptr)
        return missing("flushNetLogBuffer", "the network logger");
    logger->pushBuffer();
    return true;
}

bool CommandUnprovision::execute(const Kapi::StringVector&)
{
    ProvisioningLink* provisioning = CoreLinks::provisioning();
    if (provisioning == nullptr)
        return missing("unprovision", kProvisioning);
    const bool ok = provisioning->unprovision();
    if (ok) {
        if (mConnection != nullptr)
            mConnection->doDisconnect();
        else if (vLogLevelEnabled(VLOGSRC_CONNECTION, VLOG_INFO))
            vLogMessage(VLOGSRC_CONNECTION, VLOG_INFO, "unprovision: no connection to disconnect");
    }
    return ok;
}

bool CommandResetHwId::execute(const Kapi::StringVector&)
{
    ProvisioningLink* provisioning = CoreLinks::provisioning();
    if (provisioning == nullptr)
        return missing("resetHwId", kProvisioning);
    if (provisioning->unprovision())
        provisioning->generateHwId();
    return true;
}

bool CommandCorruptProvisioning::execute(const Kapi::StringVector&)
{
    ProvisioningLink* provisioning = CoreLinks::provisioning();
    if (provisioning == nullptr)
        return missing("corruptProvisioning", kProvisioning);
    if (vLogLevelEnabled(VLOGSRC_SETTINGS, VLOG_INFO))
        vLogMessage(VLOGSRC_SETTINGS, VLOG_INFO, "Corrupting the provisioning data on purpose");
    return provisioning->corruptProvisioning();
}

bool CommandPostSystemEvent::execute(const Kapi::StringVector& args)
{
    if (args.size() < 2) {
        if (vLogLevelEnabled(VLOGSRC_CONNECTION, VLOG_ERROR))
            vLogMessage(VLOGSRC_CONNECTION, VLOG_ERROR,
                        "usage: postSystemEvent source type [ k1=v1;k2=v2;kn=vn ]");
        return false;
    }
    Kapi::StringVector rest;
    rest.assign(args.begin() + 2, args.end());
    Kapi::KeyValueMap values;
    Kapi::KeyValueMap::parse(rest.join(";"), values);
    Kapi::SystemEvent::post(args[0].c_str(), args[1].c_str(), values);
    return true;
}

bool CommandSetDeactivateFlag::execute(const Kapi::StringVector&)
{
    ProvisioningLink* provisioning = CoreLinks::provisioning();
    if (provisioning == nullptr)
        return missing("setDeactivateFlag", kProvisioning);
    ScriptEngineLink* engine = CoreLinks::scriptEngine();
    if (engine == nullptr)
        return missing("setDeactivateFlag", kScriptEngine);
    provisioning->setDeactivateFlag();
    engine->restart();
    return true;
}

bool CommandTestController::execute(const Kapi::StringVector& args)
{
    if (args.empty()) {
        if (vLogLevelEnabled(VLOGSRC_CONNECTION, VLOG_ERROR))
            vLogMessage(VLOGSRC_CONNECTION, VLOG_ERROR,
                        "usage: testcontroller <enabled | disable | syncup>");
        return false;
    }
    ScriptEngineLink* engine = CoreLinks::scriptEngine();
    if (engine == nullptr)
        return missing("testcontroller", kScriptEngine);
    engine->doTestControllerCommand(args[0]);
    return true;
}

std::vector<std::shared_ptr<ConsoleCommandHandler>>
makeCoreConsoleCommands(ConnectionLink* connection)
{
    return {
        std::make_shared<CommandReturnToOldWorld>(),
        std::make_shared<CommandLuaRestart>(),
        std::make_shared<CommandSystemRestart>(),
        std::make_shared<CommandSystemStop>(),
        std::make_shared<CommandScreenshot>(),
        std::make_shared<CommandFlushNetLogBuffer>(),
        std::make_shared<CommandUnprovision>(connection),
        std::make_shared<CommandResetHwId>(),
        std::make_shared<CommandCorruptProvisioning>(),
        std::make_shared<CommandPostSystemEvent>(),
        std::make_shared<CommandSetDeactivateFlag>(),
        std::make_shared<CommandTestController>(),
    };
}

} // namespace KELO
