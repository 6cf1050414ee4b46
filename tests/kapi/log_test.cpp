// Message delivery, level bookkeeping, level lists, names and the console line format,
// exercised in this process through loggers of the tests' own. The default logger is set to
// "none" for each test (and restored afterwards) so only the tests' loggers receive messages;
// behaviour that depends on the environment read at start-up is covered by log_process_test.
#include "kapi/Log.h"
#include "kapi/LogLinux.h"
#include "kapi/ModuleLogger.h"
#include "kapi/vLog.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <ctime>
#include <string>
#include <sys/time.h>
#include <syslog.h>
#include <thread>
#include <vector>

using Kapi::Log;
using Kapi::ModuleLogger;
using Levels = std::vector<vLogLevel>;
using Lines = std::vector<std::string>;

namespace {

Levels levelsOf(const ModuleLogger& logger)
{
    ModuleLogger::LoggersLock lock;
    Levels levels;
    for (vLogSource s = 0; s < VLOG_NSOURCES; ++s)
        levels.push_back(logger.levels().level(s));
    return levels;
}

class LogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // Anything the default logger still admits (level 0 messages) goes to standard error,
        // not to the system console.
        Log::Get()->setLogToConsole(true);
        m_saved = levelsOf(*ModuleLogger::defaultLogger());
        vLogSetLevelAll(VLOG_NONE);
    }
    void TearDown() override
    {
        for (vLogSource s = 0; s < VLOG_NSOURCES; ++s)
            vLogSetLevel(s, m_saved[s]);
    }

private:
    Levels m_saved;
};

// Counts deliveries; used where a logger must be created and destroyed by the test itself. With
// `nestFrom` set it also logs once more, from inside a delivery, for another source.
class CountingLog : public Log
{
public:
    void log(const char*, Priority, const char*, ...) override { ++count; }
    void vlog(const char* source, Priority, const char*, va_list) override
    {
        ++count;
        if (nestFrom != nullptr && strcmp(source, nestFrom) == 0)
            vLogMessage(VLOGSRC_CORE, VLOG_INFO, "nested from %s", source);
    }
    void setLogToConsole(bool) override {}
    void setHighRes(bool) override {}
    std::atomic<int> count{0};
    const char* nestFrom = nullptr;
};

// The console line for a UTC time given as "YYYY-MM-DD hh:mm:ss".
std::string consoleLine(const char* utc, uint32 tid, const char* source, int priority,
                        const char* text, size_t size = 400)
{
    struct tm parts = {};
    strptime(utc, "%Y-%m-%d %H:%M:%S", &parts);
    std::vector<char> buffer(size, '#');
    Log::getSyslogStyleFormat(buffer.data(), size, timegm(&parts), tid, source,
                              Log::Priority(priority), text);
    return buffer.data();
}

} // namespace

TEST_F(LogTest, EachLoggerReceivesWhatItsOwnLevelsAdmitWithAllArguments)
{
    LogCapture capture(VLOGSRC_APP, VLOG_INFO);
    EXPECT_TRUE(vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO));
    EXPECT_FALSE(vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG));
    EXPECT_FALSE(vLogLevelEnabled(VLOGSRC_CORE, VLOG_WARNING));
    vLogMessage(VLOGSRC_APP, VLOG_INFO, "Starting %s #%d.", "connection", 3);
    vLogMessage(VLOGSRC_APP, VLOG_WARNING, "warned");
    vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "too detailed");
    vLogMessage(VLOGSRC_CORE, VLOG_ERROR, "other source");
    EXPECT_EQ(capture.summary(),
              (Lines{"app.info: Starting connection #3.", "app.warning: warned"}));

    LogCapture second(VLOGSRC_DATA, VLOG_DEBUG);
    LogCapture third(VLOGSRC_DATA, VLOG_INFO);
    vLogMessage(VLOGSRC_DATA, VLOG_INFO, "%s-%d-%s-%.1f", "a", 7, "b", 2.5);
    EXPECT_EQ(second.summary(), Lines{"data.info: a-7-b-2.5"});
    EXPECT_EQ(third.summary(), Lines{"data.info: a-7-b-2.5"});
}

TEST_F(LogTest, LevelsMapToPrioritiesAndOddLevelsAreErrors)
{
    {
        LogCapture atDebug(VLOGSRC_APP, VLOG_DEBUG);
        vLogMessage(VLOGSRC_APP, 9, "nine"); // needs a logger at 9
        vLogMessage(VLOGSRC_APP, 0, "zero");
        EXPECT_EQ(atDebug.summary(), Lines{"app.error: zero"});
    }
    LogCapture capture(VLOGSRC_APP, 9);
    for (vLogLevel level : {1, 2, 3, 4, 5, 0, 9, -4, 10})
        vLogMessage(VLOGSRC_APP, level, "%d", level);
    EXPECT_EQ(capture.summary(),
              (Lines{"app.error: 1", "app.warning: 2", "app.notice: 3", "app.info: 4",
                     "app.debug: 5", "app.error: 0", "app.error: 9", "app.error: -4"}));
}

TEST_F(LogTest, MaxLevelsFollowRegistrationAndNeverDropBelowError)
{
    // Default logger at none: error still counts as enabled everywhere.
    for (vLogSource s = 0; s < VLOG_NSOURCES; ++s)
        ASSERT_EQ(vLogGetLevel(s), VLOG_ERROR) << s;
    EXPECT_TRUE(vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_ERROR));
    EXPECT_FALSE(vLogLevelEnabled(VLOGSRC_KAPI_OS, VLOG_WARNING));
    {
        LogCapture capture(VLOGSRC_LUA, VLOG_NONE);
        EXPECT_EQ(vLogGetLevel(VLOGSRC_LUA), VLOG_ERROR);
        capture.logger().levels().setLevel(VLOGSRC_LUA, VLOG_DEBUG);
        EXPECT_EQ(vLogGetLevel(VLOGSRC_LUA), VLOG_DEBUG);
        vLogSetLevel(VLOGSRC_LUA, VLOG_NOTICE); // the default logger's, below the capture's
        EXPECT_EQ(vLogGetLevel(VLOGSRC_LUA), VLOG_DEBUG);
        capture.logger().levels().setLevelAll(VLOG_WARNING);
        EXPECT_EQ(vLogGetLevel(VLOGSRC_LUA), VLOG_NOTICE);
        EXPECT_EQ(vLogGetLevel(VLOGSRC_CORE), VLOG_WARNING);
    }
    EXPECT_EQ(vLogGetLevel(VLOGSRC_LUA), VLOG_NOTICE);
    EXPECT_EQ(vLogGetLevel(VLOGSRC_CORE), VLOG_ERROR);

    // Out-of-range sources are named unknownSource and filtered as source 0.
    LogCapture capture(VLOGSRC_KAPI_OS, VLOG_INFO);
    EXPECT_EQ(vLogGetLevel(71), VLOG_INFO);
    EXPECT_TRUE(vLogLevelEnabled(-1, VLOG_INFO));
    vLogMessage(71, VLOG_INFO, "far");
    vLogMessage(-5, VLOG_DEBUG, "dropped");
    EXPECT_EQ(capture.summary(), Lines{"unknownSource.info: far"});
    capture.logger().levels().setLevel(200, VLOG_NONE); // ignored, not taken as source 0
    EXPECT_EQ(vLogGetLevel(VLOGSRC_KAPI_OS), VLOG_INFO);
}

TEST_F(LogTest, RegistrationIsIdempotentAndEndsWithTheLoggerAndDeliveryMayNest)
{
    CountingLog counts;
    ModuleLogger extra(&counts, "extra");
    extra.levels().setLevelAll(VLOG_DEBUG);
    ModuleLogger::registerLogger(&extra);
    ModuleLogger::registerLogger(&extra);
    LogCapture capture(VLOGSRC_APP, VLOG_DEBUG);
    vLogMessage(VLOGSRC_APP, VLOG_INFO, "once");
    EXPECT_EQ(counts.count, 1);
    ModuleLogger::unregisterLogger(&extra);
    vLogMessage(VLOGSRC_APP, VLOG_INFO, "twice");
    EXPECT_EQ(counts.count, 1);
    EXPECT_EQ(capture.lines().size(), 2u);
    ModuleLogger::unregisterLogger(&extra); // not registered: no effect
    EXPECT_EQ(vLogGetLevel(VLOGSRC_APP), VLOG_DEBUG);
    {
        ModuleLogger scoped(&counts, "scoped");
        scoped.levels().setLevelAll(VLOG_DEBUG);
        ModuleLogger::registerLogger(&scoped);
        EXPECT_EQ(vLogGetLevel(VLOGSRC_NIM), VLOG_DEBUG);
    }
    EXPECT_EQ(vLogGetLevel(VLOGSRC_NIM), VLOG_ERROR);
    vLogMessage(VLOGSRC_NIM, VLOG_ERROR, "after");
    EXPECT_EQ(counts.count, 1);

    // A back end may log from inside a delivery.
    counts.nestFrom = "app";
    ModuleLogger nested(&counts, "nested");
    nested.levels().setLevelAll(VLOG_DEBUG);
    ModuleLogger::registerLogger(&nested);
    LogCapture core(VLOGSRC_CORE, VLOG_INFO);
    vLogMessage(VLOGSRC_APP, VLOG_INFO, "outer");
    ModuleLogger::unregisterLogger(&nested);
    EXPECT_EQ(core.summary(), Lines{"core.info: nested from app"});
    EXPECT_EQ(counts.count, 3);
}

TEST_F(LogTest, LevelListsApplyUpToTheFirstBadItemToTheNamedLogger)
{
    LogCapture capture(VLOG_ERROR);
    const Levels defaults = levelsOf(*ModuleLogger::defaultLogger());

    // A bad item after "all" leaves "all" applied.
    EXPECT_FALSE(vLogSetMultipleLevels("capture:all=debug,bogus=info"));
    EXPECT_EQ(levelsOf(capture.logger()), Levels(VLOG_NSOURCES, VLOG_DEBUG));

    // Items before the bad one stay, items after it are not applied.
    capture.logger().levels().setLevelAll(VLOG_ERROR);
    EXPECT_FALSE(vLogSetMultipleLevels("capture:kapi_net=info,nonsense,app=debug"));
    Levels expected(VLOG_NSOURCES, VLOG_ERROR);
    expected[VLOGSRC_KAPI_NET] = VLOG_INFO;
    EXPECT_EQ(levelsOf(capture.logger()), expected);
    // Names are case-sensitive; an unknown logger changes nothing anywhere.
    for (const char* bad : {"capture:app=loud", "capture:=debug", "capture:App=debug",
                            "capture:app=DEBUG", "capture:app=debug=x", "nosuch:all=debug"})
        EXPECT_FALSE(vLogSetMultipleLevels(bad)) << bad;
    EXPECT_EQ(levelsOf(capture.logger()), expected);

    // Empty items are skipped; an empty list is a valid (empty) list.
    EXPECT_TRUE(vLogSetMultipleLevels("capture:app=debug,,MTM=warning,"));
    EXPECT_TRUE(vLogSetMultipleLevels("capture:"));
    expected[VLOGSRC_APP] = VLOG_DEBUG;
    expected[VLOGSRC_MTM] = VLOG_WARNING;
    EXPECT_EQ(levelsOf(capture.logger()), expected);
    EXPECT_EQ(vLogGetLevel(VLOGSRC_APP), VLOG_DEBUG);
    EXPECT_EQ(levelsOf(*ModuleLogger::defaultLogger()), defaults);
    EXPECT_FALSE(vLogSetMultipleLevels(nullptr));
    EXPECT_FALSE(capture.logger().levels().setMultipleLevels(nullptr));

    // Without a logger name (or with an empty one) the list is for the default logger.
    EXPECT_TRUE(vLogSetMultipleLevels("app=info"));
    EXPECT_TRUE(vLogSetMultipleLevels(":core=debug"));
    EXPECT_TRUE(vLogSetMultipleLevels("default:lua=warning"));
    Levels levels(defaults);
    levels[VLOGSRC_APP] = VLOG_INFO;
    levels[VLOGSRC_CORE] = VLOG_DEBUG;
    levels[VLOGSRC_LUA] = VLOG_WARNING;
    EXPECT_EQ(levelsOf(*ModuleLogger::defaultLogger()), levels);
    EXPECT_EQ(levelsOf(capture.logger()), expected);
    EXPECT_EQ(vLogGetLevel(VLOGSRC_CORE), VLOG_DEBUG);
}

TEST(LogNames, LevelsAndSourcesByNameAndNumber)
{
    const char* const levels[] = {"none", "error", "warning", "notice", "info", "debug"};
    for (vLogLevel level = 0; level < VLOG_NLEVELS; ++level) {
        EXPECT_STREQ(vLogLevelName(level), levels[level]);
        vLogLevel parsed = -1;
        EXPECT_TRUE(vLogLevelFromName(levels[level], &parsed));
        EXPECT_EQ(parsed, level);
        EXPECT_TRUE(vLogLevelIsValid(levels[level]));
    }
    EXPECT_STREQ(vLogLevelName(6), "unknownLevel");
    EXPECT_STREQ(vLogLevelName(-1), "unknownLevel");
    vLogLevel untouched = 3;
    for (const char* bad : {"INFO", "all", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(vLogLevelFromName(bad, &untouched));
    EXPECT_EQ(untouched, 3);
    EXPECT_FALSE(vLogLevelIsValid(""));

    const vLogSource sources[] = {VLOGSRC_KAPI_OS,    VLOGSRC_NETWORK_STORAGE_DEVICE,
                                  VLOGSRC_P2S_CLIENT, VLOGSRC_MTM,
                                  VLOGSRC_SERVER_LS,  VLOGSRC_SDB_CATCHUP,
                                  VLOGSRC_APP,        VLOGSRC_JAVASCRIPT};
    std::string names;
    for (vLogSource source : sources)
        names += std::string(vLogSourceName(source)) + " ";
    EXPECT_EQ(names, "kapi_os network_storage_device p2s_client MTM server_ls sdb_catchup app "
                     "javascript ");
    for (vLogSource source = 0; source < VLOG_NSOURCES; ++source) {
        vLogSource parsed = -1;
        ASSERT_TRUE(vLogSourceFromName(vLogSourceName(source), &parsed)) << source;
        EXPECT_EQ(parsed, source);
    }
    EXPECT_STREQ(vLogSourceName(71), "unknownSource");
    EXPECT_STREQ(vLogSourceName(-1), "unknownSource");
    vLogSource unchanged = 7;
    for (const char* bad : {"all", "mtm", "unknownSource"})
        EXPECT_FALSE(vLogSourceFromName(bad, &unchanged)) << bad;
    EXPECT_EQ(unchanged, 7);
}

TEST(LogFormat, ConsoleLineFormatPriorityNamesAndSyslogPriorities)
{
    EXPECT_EQ(consoleLine("2024-03-05 14:02:07", 1234, "app", Log::PRIO_INFO, "Starting."),
              "Mar  5 14:02:07 [1234] <app.info>: Starting.\n");
    EXPECT_EQ(consoleLine("1999-12-31 23:59:59", 4000000000u, "kapi_net", Log::PRIO_DEBUG,
                          "%s and %d stay unexpanded"),
              "Dec 31 23:59:59 [4000000000] <kapi_net.debug>: %s and %d stay unexpanded\n");
    const std::string months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    for (int month = 1; month <= 12; ++month)
        EXPECT_EQ(
            consoleLine(("2021-" + std::to_string(month) + "-10 00:00:00").c_str(), 1, "s", 7, "m"),
            months.substr(3 * (month - 1), 3) + " 10 00:00:00 [1] <s.error>: m\n");
    // Lines are cut to the buffer.
    const std::string prefix = "Mar  5 14:02:07 [1234] <app.info>: ";
    EXPECT_EQ(consoleLine("2024-03-05 14:02:07", 1234, "app", Log::PRIO_INFO,
                          std::string(500, 'x').c_str()),
              prefix + std::string(399 - prefix.size(), 'x'));
    EXPECT_EQ(consoleLine("2024-03-05 14:02:07", 1, "a", Log::PRIO_INFO, "m", 10), "Mar  5 14");

    const char* const names[] = {"error", "warning", "notice", "info", "debug", "error"};
    const int syslogPriorities[] = {LOG_ERR, LOG_WARNING, LOG_NOTICE, LOG_INFO, LOG_DEBUG, LOG_ERR};
    for (int priority = 0; priority < 6; ++priority) {
        EXPECT_STREQ(Log::priorityName(priority), names[priority]);
        EXPECT_EQ(Kapi::LogLinux::syslogPriority(priority), syslogPriorities[priority]);
    }
    EXPECT_STREQ(Log::priorityName(-1), "error");
}

TEST(LogTraceTime, IsWallClockMicroseconds)
{
    struct timeval before = {}, after = {};
    gettimeofday(&before, nullptr);
    const int64_t traced = vLogTraceTime();
    gettimeofday(&after, nullptr);
    EXPECT_GE(traced, int64_t(before.tv_sec) * 1000000 + before.tv_usec);
    EXPECT_LE(traced, int64_t(after.tv_sec) * 1000000 + after.tv_usec);
}

TEST_F(LogTest, ConcurrentLoggingAndLevelChanges)
{
    LogCapture capture(VLOGSRC_APP, VLOG_DEBUG);
    std::atomic<bool> stop{false};
    std::thread changer([&] {
        CountingLog counts;
        ModuleLogger churn(&counts, "churn");
        while (!stop) {
            ModuleLogger::registerLogger(&churn);
            vLogSetMultipleLevels("churn:all=debug");
            vLogSetLevel(VLOGSRC_CORE, VLOG_INFO);
            ModuleLogger::unregisterLogger(&churn);
            vLogSetLevel(VLOGSRC_CORE, VLOG_NONE);
        }
    });
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t) {
        writers.emplace_back([t] {
            for (int i = 0; i < 500; ++i) {
                if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
                    vLogMessage(VLOGSRC_APP, VLOG_INFO, "writer %d message %d", t, i);
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    stop = true;
    changer.join();
    EXPECT_EQ(capture.lines().size(), 2000u);
}
