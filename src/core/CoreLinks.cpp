// The process-wide link slots: one atomic pointer each, null until a subsystem installs itself.
#include "core/CoreLinks.h"

#include <atomic>

namespace KELO {

namespace {
std::atomic<ScriptEngineLink*> g_scriptEngine{nullptr};
std::atomic<CoreLinks::ScreenMaker> g_screenMaker{nullptr};
std::atomic<PlayerControllerLink*> g_playerController{nullptr};
std::atomic<ProvisioningLink*> g_provisioning{nullptr};
std::atomic<NetLoggerLink*> g_netLogger{nullptr};
std::atomic<ConnectionLink*> g_connection{nullptr};
} // namespace

void CoreLinks::setScriptEngine(ScriptEngineLink* link)
{
    g_scriptEngine.store(link);
}
ScriptEngineLink* CoreLinks::scriptEngine()
{
    return g_scriptEngine.load();
}
void CoreLinks::setScreenMaker(ScreenMaker maker)
{
    g_screenMaker.store(maker);
}
CoreLinks::ScreenMaker CoreLinks::screenMaker()
{
    return g_screenMaker.load();
}
void CoreLinks::setPlayerController(PlayerControllerLink* link)
{
    g_playerController.store(link);
}
PlayerControllerLink* CoreLinks::playerController()
{
    return g_playerController.load();
}
void CoreLinks::setProvisioning(ProvisioningLink* link)
{
    g_provisioning.store(link);
}
ProvisioningLink* CoreLinks::provisioning()
{
    return g_provisioning.load();
}
void CoreLinks::setNetLogger(NetLoggerLink* link)
{
    g_netLogger.store(link);
}
NetLoggerLink* CoreLinks::netLogger()
{
    return g_netLogger.load();
}
void CoreLinks::setConnection(ConnectionLink* link)
{
    g_connection.store(link);
}
ConnectionLink* CoreLinks::connection()
{
    return g_connection.load();
}

void CoreLinks::clear()
{
    setScriptEngine(nullptr);
    setScreenMaker(nullptr);
    setPlayerController(nullptr);
    setProvisioning(nullptr);
    setNetLogger(nullptr);
    setConnection(nullptr);
}

} // namespace KELO
