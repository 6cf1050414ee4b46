// Prints the developer switches as this process sees them, twice: before and after changing the
// environment, to show that each value is read once per process.
//   developer=<0|1> custom=<0|1> server=<text>
#include "kapi/lua/LuaDebug.h"

#include <cstdio>
#include <cstdlib>

namespace {

void report()
{
    using namespace Kapi::Lua::LuaDebug;
    printf("developer=%d custom=%d server=%s\n", isInDeveloperMode() ? 1 : 0,
           shouldUseCustomServer() ? 1 : 0, getCurrentServer().c_str());
}

} // namespace

int main()
{
    report();
    setenv("KELO_LABS_DEVELOPER_MODE", "0", 1);
    setenv("KELO_LABS_USE_CUSTOM_SERVER", "0", 1);
    setenv("KELO_LABS_SERVER", "changed.example", 1);
    report();
    return 0;
}
