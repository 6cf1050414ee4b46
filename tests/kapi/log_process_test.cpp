// Logging as a whole process sees it: the levels taken from VLOGLEVEL and VLOGMULTIPLE during
// static initialisation, the console and system-log back ends, and the assertion-failure path.
// Each case runs a probe (tests/kapi/probes) in an environment of its own. The syslog probe
// replaces the system logger's entry points with definitions that print what they receive.
#include "probe_runner.h"

#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>
#include <vector>

namespace {

const std::vector<std::string> kDropped = {"VLOG", "KKDEBUGGER", "KKNOQUITONASSERT", "LOGPROBE"};

struct ProbeRun
{
    std::string out;
    std::string err;
    int exitCode;
    int termSignal;
    pid_t pid;
};

ProbeRun runProbe(const std::string& probe, const std::vector<std::string>& env,
                  const std::vector<std::string>& args)
{
    ProbeProcess process(probe, args, env, kDropped);
    EXPECT_TRUE(process.wait(120)) << probe << " did not finish";
    return ProbeRun{process.out(), process.err(), process.exitCode(), process.termSignal(),
                    process.pid()};
}

std::vector<std::string> splitLines(const std::string& text)
{
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            end = text.size();
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// The console lines of standard error with their "Mon dd hh:mm:ss [tid] " prefix checked and
// removed; the tid must be `pid` (the probes log from their main thread). Lines without the
// prefix are kept whole behind "raw: ".
std::vector<std::string> consoleBodies(const std::string& err, pid_t pid)
{
    static const std::regex prefix(
        R"(^(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9] \[([0-9]+)\] )");
    std::vector<std::string> bodies;
    for (const std::string& line : splitLines(err)) {
        std::smatch match;
        if (std::regex_search(line, match, prefix)) {
            EXPECT_EQ(match[2].str(), std::to_string(pid)) << line;
            bodies.push_back(match.suffix().str());
        } else {
            bodies.push_back("raw: " + line);
        }
    }
    return bodies;
}

using Lines = std::vector<std::string>;

// What the syslog probe reports, one entry per call, e.g.
//   "openlog ident=(null) option=3 facility=128", "syslog 6 <app.info>: hi", "closelog".
// For syslog records the expanded text is given; formatOf() gives the formats.
struct SyslogRecords
{
    Lines calls;
    Lines formats;
};

SyslogRecords parseSyslog(const std::string& out)
{
    SyslogRecords records;
    size_t pos = 0;
    auto takeCounted = [&](const char* label) {
        const size_t at = out.find(label, pos);
        EXPECT_EQ(at, pos) << "expected " << label << " at " << out.substr(pos, 40);
        pos = at + strlen(label);
        const size_t colon = out.find(':', pos);
        const size_t length = std::stoul(out.substr(pos, colon - pos));
        std::string text = out.substr(colon + 1, length);
        pos = colon + 1 + length;
        return text;
    };
    while (pos < out.size()) {
        if (out.compare(pos, 16, "syslog priority=") == 0) {
            pos += 16;
            const size_t space = out.find(' ', pos);
            const std::string priority = out.substr(pos, space - pos);
            pos = space;
            const std::string format = takeCounted(" format=");
            const std::string text = takeCounted(" text=");
            EXPECT_EQ(out[pos], '\n');
            ++pos;
            records.calls.push_back("syslog " + priority + " " + text);
            records.formats.push_back(format);
        } else {
            size_t end = out.find('\n', pos);
            if (end == std::string::npos) {
                end = out.size();
            }
            records.calls.push_back(out.substr(pos, end - pos));
            pos = end + 1;
        }
    }
    return records;
}

std::string openlogLine()
{
    return "openlog ident=(null) option=" + std::to_string(LOG_CONS | LOG_PID) +
           " facility=" + std::to_string(LOG_LOCAL0);
}

std::string syslogCall(int priority, const std::string& text)
{
    return "syslog " + std::to_string(priority) + " " + text;
}

} // namespace

// ---- levels from the environment ----

TEST(LogEnvironment, WithoutVlogLevelErrorsAreEnabledButNothingIsWritten)
{
    const ProbeRun run =
        runProbe("log_probe", {"VLOGTOCONSOLE=1"},
                 {"enabled-count", "error", "enabled-count", "warning", "msg", "app", "error",
                  "an error", "guarded", "kapi_os", "error", "guarded"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "71\n0\n");
    EXPECT_EQ(run.err, "");
}

TEST(LogEnvironment, InfoLevelWritesInfoAndDropsDebug)
{
    const ProbeRun run =
        runProbe("log_probe", {"VLOGLEVEL=info", "VLOGTOCONSOLE=1"},
                 {"enabled", "app",     "debug",   "enabled", "app",
                  "info",    "guarded", "app",     "info",    "Starting connection.",
                  "msg",     "app",     "debug",   "dropped", "guarded",
                  "app",     "debug",   "dropped", "msg",     "lua",
                  "warning", "%d %s"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "0\n1\n");
    EXPECT_EQ(consoleBodies(run.err, run.pid),
              (Lines{"<app.info>: Starting connection.", "<lua.warning>: 42 arg"}));
}

TEST(LogEnvironment, UnknownLevelNameMeansNone)
{
    for (const char* value : {"VLOGLEVEL=loud", "VLOGLEVEL=INFO", "VLOGLEVEL="}) {
        const ProbeRun run = runProbe("log_probe", {value, "VLOGTOCONSOLE=1"},
                                      {"level", "app", "msg", "app", "error", "dropped"});
        EXPECT_EQ(run.out, "1\n") << value;
        EXPECT_EQ(run.err, "") << value;
    }
}

TEST(LogEnvironment, VlogMultipleRefinesVlogLevelUpToItsFirstBadItem)
{
    const ProbeRun run =
        runProbe("log_probe",
                 {"VLOGLEVEL=warning", "VLOGMULTIPLE=app=debug,kapi_net=none,core=bogus,lua=debug"},
                 {"level", "app", "level", "kapi_net", "level", "core", "level", "lua", "level",
                  "kapi_os", "enabled", "kapi_net", "error", "enabled", "kapi_net", "warning"});
    EXPECT_EQ(run.out, "5\n1\n2\n2\n2\n1\n0\n");

    const ProbeRun all = runProbe("log_probe", {"VLOGMULTIPLE=all=info"},
                                  {"enabled-count", "info", "enabled-count", "debug"});
    EXPECT_EQ(all.out, "71\n0\n");
}

TEST(LogEnvironment, StaticInitialisersAndExitSeeTheEnvironmentLevels)
{
    const ProbeRun on =
        runProbe("log_probe", {"LOGPROBE_STATIC=1", "VLOGLEVEL=notice", "VLOGTOCONSOLE=1"},
                 {"guarded", "app", "notice", "in main"});
    EXPECT_EQ(consoleBodies(on.err, on.pid),
              (Lines{"<core.notice>: logged during static initialisation", "<app.notice>: in main",
                     "<core.notice>: logged at exit"}));

    const ProbeRun off =
        runProbe("log_probe", {"LOGPROBE_STATIC=1", "VLOGLEVEL=warning", "VLOGTOCONSOLE=1"},
                 {"guarded", "app", "warning", "in main"});
    EXPECT_EQ(consoleBodies(off.err, off.pid), (Lines{"<app.warning>: in main"}));
}

// ---- console back end ----

TEST(LogConsole, OddLevelsAreErrorsAndUnknownSourcesAreNamed)
{
    const ProbeRun run = runProbe(
        "log_probe", {"VLOGTOCONSOLE=1"},
        {"msg",      "app",   "0",    "zero %d",  "msg",     "app",    "9",          "dropped",
         "setlevel", "app",   "9",    "msg",      "app",     "9",      "nine %d %s", "msg",
         "app",      "debug", "five", "setlevel", "kapi_os", "info",   "msg",        "71",
         "info",     "far",   "msg",  "-3",       "debug",   "dropped"});
    EXPECT_EQ(consoleBodies(run.err, run.pid),
              (Lines{"<app.error>: zero 42", "<app.error>: nine 42 arg", "<app.debug>: five",
                     "<unknownSource.info>: far"}));
}

TEST(LogConsole, LongFormatsAreCutTo399Bytes)
{
    const std::string longFormat(500, 'x');
    const ProbeRun run = runProbe("log_probe", {"VLOGLEVEL=info", "VLOGTOCONSOLE=1"},
                                  {"msg", "app", "info", longFormat});
    // The whole line, prefix included, is 399 bytes: the newline is cut off too.
    ASSERT_EQ(run.err.size(), 399u);
    const Lines bodies = consoleBodies(run.err, run.pid);
    ASSERT_EQ(bodies.size(), 1u);
    const std::string head = "<app.info>: ";
    ASSERT_GT(bodies[0].size(), head.size());
    EXPECT_EQ(bodies[0], head + std::string(bodies[0].size() - head.size(), 'x'));
}

// ---- system log back end ----

TEST(LogSyslog, OpensWithPidAndLocal0AndFormatsEachPriority)
{
    const ProbeRun run = runProbe("syslog_probe", {"VLOGLEVEL=debug"},
                                  {"msg",     "app",  "error", "e %d %s",          "msg",    "app",
                                   "warning", "w %d", "msg",   "kapi_net",         "notice", "n",
                                   "msg",     "core", "info",  "Starting %d, %s.", "msg",    "lua",
                                   "debug",   "d"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    const SyslogRecords records = parseSyslog(run.out);
    EXPECT_EQ(records.calls, (Lines{openlogLine(), syslogCall(LOG_ERR, "<app.error>: e 42 arg"),
                                    syslogCall(LOG_WARNING, "<app.warning>: w 42"),
                                    syslogCall(LOG_NOTICE, "<kapi_net.notice>: n"),
                                    syslogCall(LOG_INFO, "<core.info>: Starting 42, arg."),
                                    syslogCall(LOG_DEBUG, "<lua.debug>: d"), "closelog"}));
    // The caller's conversions travel inside the format handed to the system logger.
    ASSERT_EQ(records.formats.size(), 5u);
    EXPECT_EQ(records.formats[3], "<core.info>: Starting %d, %s.");
}

TEST(LogSyslog, HighResPrefixesTheMonotonicClockAndConsoleCanBeSwitched)
{
    const ProbeRun run =
        runProbe("syslog_probe", {"VLOGLEVEL=info", "VLOGHIGHRES=1"},
                 {"msg", "app", "info", "hi %d", "console", "1", "msg", "app", "info", "on console",
                  "console", "0", "highres", "0", "msg", "app", "info", "plain"});
    const SyslogRecords records = parseSyslog(run.out);
    ASSERT_EQ(records.calls.size(), 4u) << run.out;
    EXPECT_TRUE(std::regex_match(records.calls[1],
                                 std::regex(R"(syslog 6 \|-?[0-9]+\| <app\.info>: hi 42)")))
        << records.calls[1];
    EXPECT_TRUE(
        std::regex_match(records.formats[0], std::regex(R"(\|-?[0-9]+\| <app\.info>: hi %d)")));
    EXPECT_EQ(records.calls[2], syslogCall(LOG_INFO, "<app.info>: plain"));
    EXPECT_EQ(consoleBodies(run.err, run.pid), (Lines{"<app.info>: on console"}));
}

TEST(LogSyslog, LongFormatsAreCutTo399Bytes)
{
    const std::string longFormat(500, 'y');
    const ProbeRun run =
        runProbe("syslog_probe", {"VLOGLEVEL=info"}, {"msg", "app", "info", longFormat});
    const SyslogRecords records = parseSyslog(run.out);
    ASSERT_EQ(records.formats.size(), 1u);
    const std::string prefix = "<app.info>: ";
    EXPECT_EQ(records.formats[0], prefix + std::string(399 - prefix.size(), 'y'));
}

TEST(LogSyslog, KkSysLogBypassesLevelsAndLoggers)
{
    const ProbeRun run =
        runProbe("syslog_probe", {},
                 {"kksyslog", "4", "warning", "mtkpb", "buffer %d %s", "msg", "app", "info", "no"});
    const SyslogRecords records = parseSyslog(run.out);
    EXPECT_EQ(records.calls,
              (Lines{openlogLine(), syslogCall(LOG_WARNING, "<mtkpb.warning>: buffer 42 arg"),
                     "closelog"}));
}

// ---- assertion failure ----

TEST(PanicAssert, ReportsOnLogAndStandardErrorThenAborts)
{
    const ProbeRun run = runProbe("log_probe", {"VLOGTOCONSOLE=1"},
                                  {"panic", "x > 0", "file.cpp", "12", std::to_string(ENOENT)});
    EXPECT_EQ(run.termSignal, SIGABRT);
    // The logged texts end in a newline of their own, so each console line is followed by an
    // empty one.
    EXPECT_EQ(
        consoleBodies(run.err, run.pid),
        (Lines{"<kapi_os.error>: file.cpp:12 Assertion failure: x > 0", "raw: ",
               "<kapi_os.error>: errno is " + std::to_string(ENOENT) + ": " + strerror(ENOENT),
               "raw: ", "raw: ", "raw: file.cpp:12 Assertion failure: x > 0",
               "<kapi_os.error>: PanicAssertFail. Can't legally reboot the entire system",
               "raw: "}));
}

TEST(PanicAssert, GoesToTheSystemLogAtErrorPriority)
{
    const ProbeRun run = runProbe(
        "syslog_probe", {}, {"panic", "ptr != NULL", "KapiThing", "77", std::to_string(EINVAL)});
    EXPECT_EQ(run.termSignal, SIGABRT);
    EXPECT_EQ(run.err, "\nKapiThing:77 Assertion failure: ptr != NULL\n");
    const SyslogRecords records = parseSyslog(run.out);
    EXPECT_EQ(records.calls,
              (Lines{openlogLine(),
                     syslogCall(LOG_ERR, "<kapi_os.error>: KapiThing:77 Assertion failure: ptr "
                                         "!= NULL\n"),
                     syslogCall(LOG_ERR, "<kapi_os.error>: errno is " + std::to_string(EINVAL) +
                                             ": " + strerror(EINVAL) + "\n"),
                     syslogCall(LOG_ERR, "<kapi_os.error>: PanicAssertFail. Can't legally "
                                         "reboot the entire system\n")}));
}

TEST(PanicAssert, UnlockFailureOfAMutexIsAnAssertion)
{
    KELO_SKIP_UNDER_TSAN();
    const ProbeRun run = runProbe("log_probe", {"VLOGTOCONSOLE=1"}, {"unlock-unheld"});
    EXPECT_EQ(run.termSignal, SIGABRT);
    EXPECT_NE(run.err.find("\nKapiMutex:233 Assertion failure: iResult == 0 && \"mutex unlock "
                           "failed\"\n"),
              std::string::npos)
        << run.err;
}

namespace {

// Whether some thread of `pid` is named `name`.
bool hasThreadNamed(pid_t pid, const std::string& name)
{
    const std::string taskDir = "/proc/" + std::to_string(pid) + "/task";
    DIR* dir = opendir(taskDir.c_str());
    if (dir == nullptr) {
        return false;
    }
    bool found = false;
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        std::string comm = ProbeProcess::readFile(taskDir + "/" + entry->d_name + "/comm");
        found = found || comm == name + "\n";
    }
    closedir(dir);
    return found;
}

// Polls `condition` every 50 ms for at most a minute (never a timed assertion: the limit only
// stops a broken run from hanging).
template <typename Condition> bool eventually(Condition condition)
{
    for (int tick = 0; tick < 1200; ++tick) {
        if (condition()) {
            return true;
        }
        usleep(50 * 1000);
    }
    return false;
}

} // namespace

TEST(PanicAssert, NoQuitParksTheFailingThreadRenamed)
{
    ProbeProcess process("log_probe", {"panic", "parked", "f.cpp", "1", "0"},
                         {"VLOGTOCONSOLE=1", "KKNOQUITONASSERT=1"}, kDropped);
    EXPECT_TRUE(eventually([&] { return hasThreadNamed(process.pid(), "***KKCRASH***"); }));
    EXPECT_FALSE(process.exited());
    process.kill();
    ASSERT_TRUE(process.wait(60));
    EXPECT_EQ(process.termSignal(), SIGKILL);
    EXPECT_NE(process.err().find("\nf.cpp:1 Assertion failure: parked\n"), std::string::npos);
}

TEST(PanicAssert, DebuggerIsStartedWithTheThreadImageAndId)
{
    char dirTemplate[] = "/tmp/kelo_debugger_XXXXXX";
    ASSERT_NE(mkdtemp(dirTemplate), nullptr);
    const std::string dir = dirTemplate;
    const std::string script = dir + "/debugger.sh";
    const std::string report = dir + "/report";
    {
        std::ofstream file(script);
        file << "#!/bin/sh\n"
             << "{ echo \"$1 $2\"; readlink \"$1\"; } > " << report << ".tmp\n"
             << "mv " << report << ".tmp " << report << "\n"
             << "kill -KILL $PPID\n";
    }
    ASSERT_EQ(chmod(script.c_str(), 0700), 0);

    ProbeProcess panicking("log_probe", {"panic", "debug me", "f.cpp", "2", "0"},
                           {"VLOGTOCONSOLE=1", "KKDEBUGGER=" + script}, kDropped);
    ASSERT_TRUE(panicking.wait(60));
    EXPECT_EQ(panicking.termSignal(), SIGKILL); // killed by the "debugger", so it was waiting
    const std::string pid = std::to_string(panicking.pid());
    const std::string image = "/proc/" + pid + "/task/" + pid + "/exe";
    EXPECT_NE(panicking.err().find("launching debugger: \"" + script + "\" \"" + image + "\" \"" +
                                   pid + "\"\n"),
              std::string::npos)
        << panicking.err();
    EXPECT_EQ(ProbeProcess::readFile(report),
              image + " " + pid + "\n" + std::string(KELO_BIN_DIR) + "/log_probe\n");
    unlink(report.c_str());
    unlink(script.c_str());
    rmdir(dir.c_str());
}

TEST(PanicAssert, MissingDebuggerIsReportedAndTheThreadStillWaits)
{
    ProbeProcess process(
        "log_probe", {"panic", "no debugger", "f.cpp", "3", "0"},
        {"VLOGTOCONSOLE=1", "KKDEBUGGER=/nonexistent/kelo-debugger", "PATH=/usr/bin:/bin"},
        {"VLOG", "KKDEBUGGER", "KKNOQUITONASSERT", "LOGPROBE", "PATH="});
    EXPECT_TRUE(eventually([&] {
        return process.err().find("PATH=/usr/bin:/bin\n") != std::string::npos &&
               hasThreadNamed(process.pid(), "***KKCRASH***");
    })) << process.err();
    EXPECT_NE(process.err().find("couldn't launch debugger\n"), std::string::npos);
    EXPECT_FALSE(process.exited());
}
