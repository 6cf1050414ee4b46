// Developer switches come from the environment, once per process (a child process per case);
// the return to the old world removes its marker and asks for a reboot.
#include "kapi/FileUtil.h"
#include "kapi/lua/LuaDebug.h"

#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>

using KeloTest::binPath;
using KeloTest::runProcess;

namespace {

// The probe's first line under `env`, and checks that the second (after the probe changed its
// environment) is the same.
std::string switchesWith(const std::vector<std::string>& env)
{
    std::vector<std::string> all = {"KELO_LABS_*"};
    all.insert(all.end(), env.begin(), env.end());
    const auto probe = runProcess(binPath("lua_debug_probe"), {}, "", all);
    EXPECT_EQ(probe.exitStatus, 0) << probe.err;
    const size_t end = probe.out.find('\n');
    const std::string first = probe.out.substr(0, end);
    EXPECT_EQ(probe.out, first + "\n" + first + "\n");
    return first;
}

TEST(LuaDebug, SwitchesAndServerComeFromTheEnvironmentOnce)
{
    EXPECT_EQ(switchesWith({}), "developer=0 custom=0 server=");
    EXPECT_EQ(switchesWith({"KELO_LABS_DEVELOPER_MODE=1"}), "developer=1 custom=0 server=");
    EXPECT_EQ(switchesWith({"KELO_LABS_DEVELOPER_MODE=yes"}), "developer=0 custom=0 server=");
    // Without the custom-server switch the server is ignored.
    EXPECT_EQ(switchesWith({"KELO_LABS_SERVER=host:443"}), "developer=0 custom=0 server=");
    EXPECT_EQ(switchesWith({"KELO_LABS_USE_CUSTOM_SERVER=1"}), "developer=0 custom=1 server=");
    EXPECT_EQ(switchesWith({"KELO_LABS_USE_CUSTOM_SERVER=1", "KELO_LABS_SERVER=lab.example:443"}),
              "developer=0 custom=1 server=https://lab.example:443");
    EXPECT_EQ(switchesWith({"KELO_LABS_USE_CUSTOM_SERVER=1", "KELO_LABS_SERVER=lab.example:8080"}),
              "developer=0 custom=1 server=http://lab.example:8080");
    EXPECT_EQ(switchesWith({"KELO_LABS_USE_CUSTOM_SERVER=1", "KELO_LABS_SERVER=HTTP://x:443"}),
              "developer=0 custom=1 server=HTTP://x:443");
    EXPECT_EQ(switchesWith({"KELO_LABS_USE_CUSTOM_SERVER=1", "KELO_LABS_SERVER=Https://y"}),
              "developer=0 custom=1 server=Https://y");
    EXPECT_EQ(switchesWith({"KELO_LABS_USE_CUSTOM_SERVER=1", "KELO_LABS_SERVER=z:443/"}),
              "developer=0 custom=1 server=http://z:443/");
}

std::string g_rebootReason;

void recordReboot(const char* reason)
{
    g_rebootReason = reason;
}

TEST(LuaDebug, ReturnToOldWorldRemovesTheMarkerAndReboots)
{
    using namespace Kapi::Lua::LuaDebug;
    EXPECT_EQ(getForcePath(), "");
    const std::string root = Kapi::FileUtil::makeUniqueTempFilename("oldworld");
    ASSERT_TRUE(Kapi::FileUtil::ensureDirectory(root + "/var"));
    ASSERT_TRUE(Kapi::FileUtil::write(root + "/var/kelo-new-world", "1"));
    setenv("KELO_ROOT", root.c_str(), 1);
    setRebootFunction(recordReboot);
    returnToOldWorld();
    setRebootFunction(nullptr);
    unsetenv("KELO_ROOT");
    EXPECT_FALSE(Kapi::FileUtil::exists(root + "/var/kelo-new-world"));
    EXPECT_EQ(g_rebootReason, "Returning to the old world.");
    Kapi::FileUtil::removeDir(root);
}

} // namespace
