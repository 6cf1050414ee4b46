// Logging as a whole process sees it: the levels taken from VLOGLEVEL and VLOGMULTIPLE during
// static initialisation, the console and system-log back ends, and the assertion-failure path.
// Each case runs a probe (tests/kapi/probes) in an environment of its own. The syslog probe
// replaces the system logger's entry points with definitions that print what they receive.
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>
#include <vector>

using KeloTest::ProcessResult;
using Lines = std::vector<std::string>;

namespace {

// Runs a probe in this process's environment without any of the variables logging reads.
ProcessResult probe(const std::string& name, Lines env, const Lines& args,
                    const std::string& program = "")
{
    env.insert(env.begin(), {"VLOG*", "KKDEBUGGER", "KKNOQUITONASSERT", "LOGPROBE*"});
    return KeloTest::runProcess(program.empty() ? KeloTest::binPath(name) : program, args, "", env);
}

Lines splitLines(const std::string& text)
{
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The console lines of standard error with their "Mon dd hh:mm:ss [tid] " prefix checked and
// removed; the tid must be the probe's pid (the probes log from their main thread). Lines
// without the prefix are kept whole behind "raw: ".
Lines consoleBodies(const ProcessResult& run)
{
    static const std::regex prefix(
        R"(^(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9] \[([0-9]+)\] )");
    Lines bodies;
    for (const std::string& line : splitLines(run.err)) {
        std::smatch match;
        if (std::regex_search(line, match, prefix)) {
            EXPECT_EQ(match[2].str(), std::to_string(run.pid)) << line;
            bodies.push_back(match.suffix().str());
        } else {
            bodies.push_back("raw: " + line);
        }
    }
    return bodies;
}

const std::string kOpenlog = "openlog ident=(null) option=" + std::to_string(LOG_CONS | LOG_PID) +
                             " facility=" + std::to_string(LOG_LOCAL0) + "\n";

} // namespace

// Each row is one probe run: its environment, its commands, what it prints and the bodies of
// the console lines it writes.
TEST(LogEnvironment, LevelsFromTheEnvironmentAndConsoleLines)
{
    const struct
    {
        Lines env;
        Lines commands;
        std::string out;
        Lines console;
    } rows[] = {
        // Without VLOGLEVEL errors are enabled everywhere but nothing is written.
        {{"VLOGTOCONSOLE=1"},
         {"enabled-count error", "enabled-count warning", "msg app error an error",
          "guarded kapi_os error guarded"},
         "71\n0\n",
         {}},
        {{"VLOGLEVEL=info", "VLOGTOCONSOLE=1"},
         {"enabled app debug", "enabled app info", "guarded app info Starting connection.",
          "msg app debug dropped", "guarded app debug dropped", "msg lua warning %d %s"},
         "0\n1\n",
         {"<app.info>: Starting connection.", "<lua.warning>: 42 arg"}},
        // An unknown level name means none.
        {{"VLOGLEVEL=loud", "VLOGTOCONSOLE=1"}, {"level app", "msg app error x"}, "1\n", {}},
        {{"VLOGLEVEL=INFO", "VLOGTOCONSOLE=1"}, {"level app", "msg app error x"}, "1\n", {}},
        {{"VLOGLEVEL=", "VLOGTOCONSOLE=1"}, {"level app", "msg app error x"}, "1\n", {}},
        // VLOGMULTIPLE refines VLOGLEVEL up to its first bad item.
        {{"VLOGLEVEL=warning", "VLOGMULTIPLE=app=debug,kapi_net=none,core=bogus,lua=debug"},
         {"level app", "level kapi_net", "level core", "level lua", "level kapi_os",
          "enabled kapi_net error", "enabled kapi_net warning"},
         "5\n1\n2\n2\n2\n1\n0\n",
         {}},
        {{"VLOGMULTIPLE=all=info"}, {"enabled-count info", "enabled-count debug"}, "71\n0\n", {}},
        // Static initialisers and exit handlers see the environment's levels.
        {{"LOGPROBE_STATIC=1", "VLOGLEVEL=notice", "VLOGTOCONSOLE=1"},
         {"guarded app notice in main"},
         "",
         {"<core.notice>: logged during static initialisation", "<app.notice>: in main",
          "<core.notice>: logged at exit"}},
        {{"LOGPROBE_STATIC=1", "VLOGLEVEL=warning", "VLOGTOCONSOLE=1"},
         {"guarded app warning in main"},
         "",
         {"<app.warning>: in main"}},
    };
    for (const auto& row : rows) {
        const ProcessResult run = probe("log_probe", row.env, row.commands);
        const std::string context = row.env[0] + " " + row.commands[0];
        EXPECT_EQ(run.exitStatus, 0) << context << "\n" << run.err;
        EXPECT_EQ(run.out, row.out) << context;
        EXPECT_EQ(consoleBodies(run), row.console) << context;
    }
}

TEST(LogConsole, LongFormatsAreCutTo399Bytes)
{
    const ProcessResult console = probe("log_probe", {"VLOGLEVEL=info", "VLOGTOCONSOLE=1"},
                                        {"msg app info " + std::string(500, 'x')});
    // The whole line, prefix included, is 399 bytes: the newline is cut off too.
    ASSERT_EQ(console.err.size(), 399u);
    const Lines bodies = consoleBodies(console);
    ASSERT_EQ(bodies.size(), 1u);
    EXPECT_EQ(bodies[0], "<app.info>: " + std::string(bodies[0].size() - 12, 'x'));

    const ProcessResult sys =
        probe("syslog_probe", {"VLOGLEVEL=info"}, {"msg app info " + std::string(500, 'y')});
    EXPECT_EQ(sys.out, kOpenlog + "syslog 6 <app.info>: " + std::string(387, 'y') +
                           "\nformat <app.info>: " + std::string(387, 'y') + "\ncloselog\n");
}

// The syslog probe prints each call it receives; priorities are LOG_ERR (3) to LOG_DEBUG (7).
TEST(LogSyslog, OpensWithPidAndLocal0AndPassesTheCallersFormat)
{
    const ProcessResult run =
        probe("syslog_probe", {"VLOGLEVEL=debug"},
              {"msg app error e %d %s", "msg app warning w %d", "msg kapi_net notice n",
               "msg core info Starting %d, %s.", "msg lua debug d"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, kOpenlog + "syslog 3 <app.error>: e 42 arg\n"
                                  "format <app.error>: e %d %s\n"
                                  "syslog 4 <app.warning>: w 42\n"
                                  "format <app.warning>: w %d\n"
                                  "syslog 5 <kapi_net.notice>: n\n"
                                  "format <kapi_net.notice>: n\n"
                                  "syslog 6 <core.info>: Starting 42, arg.\n"
                                  "format <core.info>: Starting %d, %s.\n"
                                  "syslog 7 <lua.debug>: d\n"
                                  "format <lua.debug>: d\n"
                                  "closelog\n");

    // _kkSysLog bypasses levels and loggers.
    const ProcessResult direct =
        probe("syslog_probe", {}, {"kksyslog 4 warning mtkpb buffer %d %s", "msg app info no"});
    EXPECT_EQ(direct.out, kOpenlog + "syslog 4 <mtkpb.warning>: buffer 42 arg\n"
                                     "format <mtkpb.warning>: buffer %d %s\ncloselog\n");
}

TEST(LogSyslog, HighResPrefixesTheMonotonicClockAndConsoleCanBeSwitched)
{
    const ProcessResult run = probe("syslog_probe", {"VLOGLEVEL=info", "VLOGHIGHRES=1"},
                                    {"msg app info hi %d", "console 1", "msg app info on console",
                                     "console 0", "highres 0", "msg app info plain"});
    // The prefix is the low 32 bits of the monotonic clock in microseconds, printed signed.
    EXPECT_EQ(run.out.substr(0, kOpenlog.size()), kOpenlog);
    EXPECT_TRUE(std::regex_match(run.out.substr(kOpenlog.size()),
                                 std::regex(R"(syslog 6 \|(-?[0-9]+)\| <app\.info>: hi 42
format \|\1\| <app\.info>: hi %d
syslog 6 <app\.info>: plain
format <app\.info>: plain
closelog
)"))) << run.out;
    EXPECT_EQ(consoleBodies(run), Lines{"<app.info>: on console"});
}

// ---- assertion failure ----

TEST(PanicAssert, ReportsOnLogAndStandardErrorThenAborts)
{
    const ProcessResult run = probe("log_probe", {"VLOGTOCONSOLE=1"},
                                    {"panic file.cpp 12 " + std::to_string(ENOENT) + " x > 0"});
    EXPECT_EQ(run.exitStatus, 128 + SIGABRT);
    // The logged texts end in a newline of their own, so each console line is followed by an
    // empty one.
    EXPECT_EQ(
        consoleBodies(run),
        (Lines{"<kapi_os.error>: file.cpp:12 Assertion failure: x > 0", "raw: ",
               "<kapi_os.error>: errno is " + std::to_string(ENOENT) + ": " + strerror(ENOENT),
               "raw: ", "raw: ", "raw: file.cpp:12 Assertion failure: x > 0",
               "<kapi_os.error>: PanicAssertFail. Can't legally reboot the entire system",
               "raw: "}));

    const ProcessResult sys = probe(
        "syslog_probe", {}, {"panic KapiThing 77 " + std::to_string(EINVAL) + " ptr != NULL"});
    EXPECT_EQ(sys.exitStatus, 128 + SIGABRT);
    EXPECT_EQ(sys.err, "\nKapiThing:77 Assertion failure: ptr != NULL\n");
    // The texts, not how the library splits them into format and arguments.
    std::string texts;
    for (const std::string& line : splitLines(sys.out))
        texts += line.compare(0, 7, "format ") == 0 ? "" : line + "\n";
    EXPECT_EQ(texts, kOpenlog +
                         "syslog 3 <kapi_os.error>: KapiThing:77 Assertion failure: ptr != "
                         "NULL\\n\nsyslog 3 <kapi_os.error>: errno is " +
                         std::to_string(EINVAL) + ": " + strerror(EINVAL) +
                         "\\n\nsyslog 3 <kapi_os.error>: PanicAssertFail. Can't legally reboot "
                         "the entire system\\n\n");
}

namespace {

// Runs log_probe with `args` under a shell that waits (a minute at most: the limit only stops a
// broken run from hanging) until a thread of the probe is named "***KKCRASH***" and its
// standard error holds `waitFor`, and prints "parked" if so and "alive" if the probe still
// runs; then it kills the probe and prints "status=N". The probe's standard error follows.
ProcessResult runParked(const Lines& args, Lines env, const std::string& waitFor)
{
    static const std::string script =
        "e=$(mktemp); \"$0\" \"$@\" 2>\"$e\" & p=$!; i=0\n"
        "while [ $i -lt 1200 ]; do\n"
        "  if grep -qxF '***KKCRASH***' /proc/$p/task/*/comm && grep -qF \"$WAITFOR\" \"$e\"; "
        "then\n"
        "    echo parked; break\n"
        "  fi; i=$((i+1)); sleep 0.05\n"
        "done 2>/dev/null\n"
        "kill -0 $p 2>/dev/null && echo alive; kill -KILL $p; wait $p; echo status=$?\n"
        "cat \"$e\" >&2; rm -f \"$e\"\n";
    Lines all = {"-c", script, KeloTest::binPath("log_probe")};
    all.insert(all.end(), args.begin(), args.end());
    env.push_back("WAITFOR=" + waitFor);
    return probe("", env, all, "/bin/sh");
}

} // namespace

TEST(PanicAssert, NoQuitParksTheFailingThreadRenamed)
{
    const ProcessResult run =
        runParked({"panic f.cpp 1 0 parked"}, {"VLOGTOCONSOLE=1", "KKNOQUITONASSERT=1"}, "");
    EXPECT_EQ(run.out, "parked\nalive\nstatus=137\n");
    EXPECT_NE(run.err.find("\nf.cpp:1 Assertion failure: parked\n"), std::string::npos) << run.err;
}

TEST(PanicAssert, MissingDebuggerIsReportedAndTheThreadStillWaits)
{
    const ProcessResult run = runParked(
        {"panic f.cpp 3 0 no debugger"},
        {"VLOGTOCONSOLE=1", "KKDEBUGGER=/nonexistent/kelo-debugger", "PATH=/usr/bin:/bin"},
        "PATH=/usr/bin:/bin");
    EXPECT_EQ(run.out, "parked\nalive\nstatus=137\n");
    EXPECT_NE(run.err.find("couldn't launch debugger\nPATH=/usr/bin:/bin\n"), std::string::npos)
        << run.err;
}

TEST(PanicAssert, DebuggerIsStartedWithTheThreadImageAndId)
{
    // The "debugger" records its arguments and kills the probe, which must be waiting for it.
    const std::string base = testing::TempDir() + "kelo_debugger_" + std::to_string(getpid());
    const std::string script = base + ".sh", report = base + ".report";
    std::ofstream(script) << "#!/bin/sh\n{ echo \"$1 $2\"; readlink \"$1\"; } > " << report
                          << "\nkill -KILL $PPID\n";
    ASSERT_EQ(chmod(script.c_str(), 0700), 0);

    const ProcessResult run = probe("log_probe", {"VLOGTOCONSOLE=1", "KKDEBUGGER=" + script},
                                    {"panic f.cpp 2 0 debug me"});
    EXPECT_EQ(run.exitStatus, 128 + SIGKILL);
    const std::string pid = std::to_string(run.pid);
    const std::string image = "/proc/" + pid + "/task/" + pid + "/exe";
    EXPECT_NE(
        run.err.find("launching debugger: \"" + script + "\" \"" + image + "\" \"" + pid + "\"\n"),
        std::string::npos)
        << run.err;
    std::stringstream recorded;
    recorded << std::ifstream(report).rdbuf();
    EXPECT_EQ(recorded.str(), image + " " + pid + "\n" + KeloTest::binPath("log_probe") + "\n");
    unlink(report.c_str());
    unlink(script.c_str());
}
