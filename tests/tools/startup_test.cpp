// kelotool startup run as a user runs it: the service graph's start and stop lines on standard
// error, and the exit status for a good, a failing and an unreadable configuration.
#include "support/RunProcess.h"

#include "support/StartupOrder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using KeloTest::binPath;
using KeloTest::ProcessResult;
using KeloTest::runProcess;

namespace {

ProcessResult kelotoolStartup(const std::vector<std::string>& args)
{
    std::vector<std::string> all = {"startup"};
    all.insert(all.end(), args.begin(), args.end());
    return runProcess(binPath("kelotool"), all, "",
                      {"VLOGLEVEL", "VLOGMULTIPLE", "VLOGTOCONSOLE", "KELO_ROOT"});
}

// The text after "<misc_system.info>: " of each console line that has it.
std::vector<std::string> infoLines(const std::string& err)
{
    const std::string marker = "<misc_system.info>: ";
    std::vector<std::string> result;
    std::istringstream in(err);
    std::string line;
    while (std::getline(in, line)) {
        const size_t at = line.find(marker);
        if (at != std::string::npos)
            result.push_back(line.substr(at + marker.size()));
    }
    return result;
}

std::string writeConfig(const std::string& text)
{
    std::string path = testing::TempDir() + "kelotool_startup_" + std::to_string(getpid()) + ".txt";
    std::ofstream(path) << text;
    return path;
}

} // namespace

TEST(KelotoolStartup, LogsEveryNodeStartThenEveryStopInReverse)
{
    const std::vector<std::string> order = KeloTest::documentedStartOrder();
    std::vector<std::string> expected;
    for (const std::string& name : order)
        expected.push_back("Init: " + name + "->start()");
    for (auto it = order.rbegin(); it != order.rend(); ++it)
        expected.push_back("Init: " + *it + "->stop()");

    ProcessResult r = kelotoolStartup({});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(infoLines(r.err), expected);
}

TEST(KelotoolStartup, FailingNodeGivesStatus1AndStopsWhatStarted)
{
    const std::string path = writeConfig("[misc]\ntaskSchedulerIoTasks = 0\n");
    ProcessResult r = kelotoolStartup({path});
    unlink(path.c_str());
    EXPECT_EQ(r.exitStatus, 1) << r.err;
    std::vector<std::string> lines;
    for (const std::string& line : infoLines(r.err)) {
        if (line.rfind("Init: ", 0) == 0)
            lines.push_back(line);
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"Init: WatchdogInit->start()",
                                               "Init: TaskScheduler->start()",
                                               "Init: WatchdogInit->stop()"}));
    EXPECT_NE(r.err.find("kelotool startup: the start-up graph failed to start"),
              std::string::npos);
}

TEST(KelotoolStartup, BadConfigurationOrArgumentsStartNothing)
{
    const std::string path = writeConfig("[misc]\nno equals sign here\n");
    ProcessResult r = kelotoolStartup({path});
    unlink(path.c_str());
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("trouble parsing line #2 'no equals sign here'"), std::string::npos)
        << r.err;
    EXPECT_TRUE(infoLines(r.err).empty());

    r = kelotoolStartup({"/nonexistent/kelo.conf"});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_NE(r.err.find("kelotool: cannot read /nonexistent/kelo.conf"), std::string::npos);

    r = kelotoolStartup({"a", "b"});
    EXPECT_EQ(r.exitStatus, 64);
    EXPECT_NE(r.err.find("usage: kelotool startup [--hold SECONDS] [CONFIG-FILE]"),
              std::string::npos);
    for (const std::vector<std::string>& bad :
         {std::vector<std::string>{"--hold"}, {"--hold", "x"}, {"--hold", "-1"}}) {
        EXPECT_EQ(kelotoolStartup(bad).exitStatus, 64) << bad.back();
    }
}

TEST(KelotoolStartup, HoldKeepsTheServicesUpBeforeTheStop)
{
    ProcessResult r = kelotoolStartup({"--hold", "1"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    const size_t held = r.err.find("holds for 1 s");
    ASSERT_NE(held, std::string::npos) << r.err;
    EXPECT_LT(r.err.find("Init: kelo-app-init-node->start()"), held);
    EXPECT_GT(r.err.find("Init: kelo-app-init-node->stop()"), held);
}
