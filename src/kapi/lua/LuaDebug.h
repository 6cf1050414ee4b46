#ifndef KAPI_LUA_LUADEBUG_H
#define KAPI_LUA_LUADEBUG_H
// Developer switches read from the environment, and the return-to-old-world action.
//
// The environment variables KELO_LABS_DEVELOPER_MODE, KELO_LABS_USE_CUSTOM_SERVER and
// KELO_LABS_SERVER are each read once, at first use, and kept for the life of the process.
// The force-path file is compiled out in this build (getForcePath() is ""), which turns off both
// the forced developer mode and the forced server. Safe from any thread.
#include <string>

struct lua_State;

namespace Kapi {
namespace Lua {
namespace LuaDebug {

// The file that would force developer mode and name the script server; "" in this build.
std::string getForcePath();
// Forced by the force-path file, else KELO_LABS_DEVELOPER_MODE == "1".
bool isInDeveloperMode();
// KELO_LABS_USE_CUSTOM_SERVER == "1".
bool shouldUseCustomServer();
// The forced server, else (with the custom server switch on) KELO_LABS_SERVER, given a scheme
// when it has none: "https://" when it ends with ":443", else "http://". "" otherwise.
std::string getCurrentServer();

// What returnToOldWorld() calls to reboot; the core sets it to the system control's reboot.
typedef void (*RebootFunction)(const char* reason);
void setRebootFunction(RebootFunction reboot);
// Removes the marker file "/var/kelo-new-world" (under KELO_ROOT) and reboots with the reason
// "Returning to the old world.". Without a reboot function the request is only logged.
void returnToOldWorld();
// Does nothing in this build.
void dumpAllLuaObjects(lua_State* L, const char* label);

} // namespace LuaDebug
} // namespace Lua
} // namespace Kapi

#endif
