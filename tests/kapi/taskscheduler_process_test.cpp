// The scheduler's tunables as a whole process sees them: read from the environment at start,
// and the overfull queue that ends the process, with and without the queue dump. Each case runs
// tests/kapi/probes/scheduler_probe with the p2p_client messages on standard error.
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sstream>
#include <string>
#include <vector>

using KeloTest::ProcessResult;

namespace {

const std::vector<std::string> kFlood = {"KKTASKWARNINGTHRESHOLD=2", "KKTASKASSERTTHRESHOLD=8"};

// Runs the probe; `lines` receives the messages of standard error from "<source.level>: " on.
ProcessResult probe(std::vector<std::string> env, const std::vector<std::string>& args,
                    std::vector<std::string>& lines)
{
    env.insert(env.begin(), {"KK*", "VLOG*", "VLOGTOCONSOLE=1", "VLOGMULTIPLE=p2p_client=info"});
    ProcessResult run = KeloTest::runProcess(KeloTest::binPath("scheduler_probe"), args, "", env);
    std::istringstream in(run.err);
    for (std::string line; std::getline(in, line);)
        if (line.find(">: ") != std::string::npos && line.find('<') != std::string::npos)
            lines.push_back(line.substr(line.find('<')));
    return run;
}

size_t count(const std::vector<std::string>& lines, const std::string& prefix)
{
    size_t found = 0;
    for (const std::string& line : lines)
        found += line.rfind(prefix, 0) == 0 ? 1 : 0;
    return found;
}

const std::string kSettings = "<p2p_client.info>: TaskScheduler: TASK_WARNING_THRESHOLD=";

} // namespace

TEST(TaskSchedulerProcess, TunablesComeFromTheEnvironment)
{
    for (const auto& [env, expected] :
         std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{}, "200, TASK_ASSERT_THRESHOLD=10000, DUMPTASKQUEUE=no, DUMPTASKQUEUEBACKTRACE=no"},
             {{"KKTASKWARNINGTHRESHOLD=7", "KKTASKASSERTTHRESHOLD=99",
               "KKDUMPTASKQUEUE=", "KKDUMPTASKQUEUEBACKTRACE=0"},
              "7, TASK_ASSERT_THRESHOLD=99, DUMPTASKQUEUE=yes, DUMPTASKQUEUEBACKTRACE=yes"},
             {{"KKTASKWARNINGTHRESHOLD=lots", "KKTASKASSERTTHRESHOLD=-3"},
              "200, TASK_ASSERT_THRESHOLD=10000, DUMPTASKQUEUE=no, DUMPTASKQUEUEBACKTRACE=no"}}) {
        std::vector<std::string> lines;
        ProcessResult run = probe(env, {"settings"}, lines);
        ASSERT_EQ(run.exitStatus, 0) << run.err;
        EXPECT_EQ(run.out, "first id 2\n");
        EXPECT_EQ(
            count(lines, "<p2p_client.info>: TaskScheduler: concurrency set to: CPU=1, I/O=1"), 1u);
        EXPECT_EQ(count(lines, kSettings + expected), 1u) << run.err;
    }
}

TEST(TaskSchedulerProcess, BelowTheAssertLevelTheQueueOnlyWarns)
{
    std::vector<std::string> lines;
    ProcessResult run = probe(kFlood, {"flood", "7"}, lines);
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, "survived\n");
    EXPECT_EQ(count(lines, "<p2p_client.warning>: TaskScheduler::schedule_i(): number of tasks "
                           "increased to 4"),
              1u);
    EXPECT_EQ(count(lines, "<p2p_client.error>"), 0u) << run.err;
}

TEST(TaskSchedulerProcess, TheAssertLevelEndsTheProcessWithTheOptionalDump)
{
    for (const char* dump : {"", "KKDUMPTASKQUEUE=1", "KKDUMPTASKQUEUEBACKTRACE=1"}) {
        std::vector<std::string> env = kFlood;
        if (dump[0] != '\0')
            env.insert(env.end(), {"KKDUMPTASKQUEUE=1", dump});
        const bool dumped = dump[0] != '\0';
        const bool traced = std::string(dump).find("BACKTRACE") != std::string::npos;
        std::vector<std::string> lines;
        ProcessResult run = probe(env, {"flood", "20"}, lines);
        EXPECT_EQ(run.exitStatus, 128 + SIGABRT) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(count(lines, "<p2p_client.warning>: TaskScheduler::schedule_i(): number of tasks "
                               "increased to 8"),
                  1u);
        EXPECT_EQ(count(lines, "<p2p_client.error>: TaskScheduler:: critical limit reached (number "
                               "of tasks is 8, assert level is 8)"),
                  1u)
            << run.err;
        EXPECT_EQ(count(lines, "<p2p_client.warning>: TaskScheduler:: dumping task info"),
                  dumped ? 1u : 0u);
        for (int i = 0; i < 8; ++i) {
            const std::string task = "<p2p_client.warning>: Task[" + std::to_string(i) + "]";
            EXPECT_EQ(count(lines, task + ": [Task: category=1, type=5, due="), dumped ? 1u : 0u);
            EXPECT_EQ(count(lines, task + " Backtrace:"), traced ? 1u : 0u) << run.err;
        }
        EXPECT_EQ(count(lines, "<p2p_client.warning>: Task[8]"), 0u);
        // The thread list (the probe's main thread and its two workers), then the assertion.
        EXPECT_GE(count(lines, "<kapi_os.error>: thread "), 3u) << run.err;
        EXPECT_EQ(count(lines, "<kapi_os.error>: vTask:337 Assertion failure: false && "
                               "\"TASK_ASSERT_THRESHOLD hit\""),
                  1u)
            << run.err;
    }
}
