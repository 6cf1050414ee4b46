// Developer switches: each environment value is captured by a function-local static, which
// C++ initialises exactly once even when several threads ask first at the same time.
#include "kapi/lua/LuaDebug.h"

#include "kapi/FileUtil.h"
#include "kapi/StringUtil.h"
#include "kapi/SystemUtil.h"
#include "kapi/vLog.h"

#include <atomic>
#include <cstdlib>

namespace Kapi {
namespace Lua {
namespace LuaDebug {
namespace {

std::atomic<RebootFunction> g_reboot{nullptr};

std::string environment(const char* name)
{
    const char* value = getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

std::string getForcePath()
{
    return "";
}

bool isInDeveloperMode()
{
    const std::string forcePath = getForcePath();
    if (!forcePath.empty() && FileUtil::exists(forcePath)) {
        if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_INFO))
            vLogMessage(VLOGSRC_LUA, VLOG_INFO, "Forcing developer mode");
        return true;
    }
    static const bool s_developerMode = environment("KELO_LABS_DEVELOPER_MODE") == "1";
    return s_developerMode;
}

bool shouldUseCustomServer()
{
    static const bool s_customServer = environment("KELO_LABS_USE_CUSTOM_SERVER") == "1";
    return s_customServer;
}

std::string getCurrentServer()
{
    const std::string forcePath = getForcePath();
    if (!forcePath.empty()) {
        std::string forced;
        if (FileUtil::toString(forcePath, forced)) {
            forced = StringUtil::trimWhiteSpace(forced);
        } else {
            forced.clear();
        }
        if (!forced.empty()) {
            if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_INFO))
                vLogMessage(VLOGSRC_LUA, VLOG_INFO, "Forcing lua server with '%s'", forced.c_str());
            return forced;
        }
    }
    if (!shouldUseCustomServer()) {
        return "";
    }
    static const std::string s_server = environment("KELO_LABS_SERVER");
    if (s_server.empty()) {
        return "";
    }
    if (StringUtil::startsWith(s_server, "http", true)) {
        return s_server;
    }
    return (StringUtil::endsWith(s_server, ":443") ? "https://" : "http://") + s_server;
}

void setRebootFunction(RebootFunction reboot)
{
    g_reboot.store(reboot);
}

void returnToOldWorld()
{
    static const char* const kReason = "Returning to the old world.";
    FileUtil::remove(SystemUtil::devicePath("/var/kelo-new-world"));
    const RebootFunction reboot = g_reboot.load();
    if (reboot != nullptr) {
        reboot(kReason);
    } else if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_ERROR)) {
        vLogMessage(VLOGSRC_LUA, VLOG_ERROR, "No reboot function to call: %s", kReason);
    }
}

void dumpAllLuaObjects(lua_State* /*L*/, const char* /*label*/) {}

} // namespace LuaDebug
} // namespace Lua
} // namespace Kapi
