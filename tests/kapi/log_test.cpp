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

namespace {

class LogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // Anything the default logger still admits (level 0 messages) goes to standard error,
        // not to the system console.
        Log::Get()->setLogToConsole(true);
        for (vLogSource s = 0; s < VLOG_NSOURCES; ++s) {
            m_saved.push_back(ModuleLogger::defaultLogger()->levels().level(s));
        }
        vLogSetLevelAll(VLOG_NONE);
    }
    void TearDown() override
    {
        for (vLogSource s = 0; s < VLOG_NSOURCES; ++s) {
            vLogSetLevel(s, m_saved[s]);
        }
    }

    static std::vector<vLogLevel> levelsOf(const ModuleLogger& logger)
    {
        ModuleLogger::LoggersLock lock;
        std::vector<vLogLevel> levels;
        for (vLogSource s = 0; s < VLOG_NSOURCES; ++s) {
            levels.push_back(logger.levels().level(s));
        }
        return levels;
    }

private:
    std::vector<vLogLevel> m_saved;
};

// Counts deliveries; used where a logger must be created and destroyed by the test itself.
class CountingLog : public Log
{
public:
    void log(const char*, Priority, const char*, ...) override { ++count; }
    void vlog(const char*, Priority, const char*, va_list) override { ++count; }
    void setLogToConsole(bool) override {}
    void setHighRes(bool) override {}
    std::atomic<int> count{0};
};

// A back end that logs once more, from inside a delivery, for another source.
class ReentrantLog : public Log
{
public:
    void log(const char*, Priority, const char*, ...) override {}
    void vlog(const char* source, Priority, const char*, va_list) override
    {
        if (strcmp(source, "app") == 0) {
            vLogMessage(VLOGSRC_CORE, VLOG_INFO, "nested from %s", source);
        }
    }
    void setLogToConsole(bool) override {}
    void setHighRes(bool) override {}
};

time_t utc(int year, int month, int day, int hour, int minute, int second)
{
    struct tm parts = {};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    return timegm(&parts);
}

} // namespace

TEST_F(LogTest, SecondLoggerReceivesWhatItsOwnLevelsAdmit)
{
    LogCapture capture(VLOGSRC_APP, VLOG_INFO);
    EXPECT_TRUE(vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO));
    EXPECT_FALSE(vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG));
    EXPECT_FALSE(vLogLevelEnabled(VLOGSRC_CORE, VLOG_WARNING));

    vLogMessage(VLOGSRC_APP, VLOG_INFO, "Starting %s #%d.", "connection", 3);
    vLogMessage(VLOGSRC_APP, VLOG_WARNING, "warned");
    vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "too detailed");
    vLogMessage(VLOGSRC_CORE, VLOG_ERROR, "other source");

    const std::vector<LogCapture::Line> lines = capture.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].source, "app");
    EXPECT_EQ(lines[0].priority, Log::PRIO_INFO);
    EXPECT_EQ(lines[0].text, "Starting connection #3.");
    EXPECT_EQ(lines[1].priority, Log::PRIO_WARNING);
    EXPECT_EQ(lines[1].text, "warned");
}

TEST_F(LogTest, LevelsMapToPrioritiesAndOddLevelsAreErrors)
{
    LogCapture capture(VLOGSRC_APP, 9);
    for (vLogLevel level : {1, 2, 3, 4, 5, 0, 9, -4}) {
        vLogMessage(VLOGSRC_APP, level, "level %d", level);
    }
    vLogMessage(VLOGSRC_APP, 10, "above every level");

    const std::vector<LogCapture::Line> lines = capture.lines();
    ASSERT_EQ(lines.size(), 8u);
    const Log::Priority expected[] = {Log::PRIO_ERROR, Log::PRIO_WARNING, Log::PRIO_NOTICE,
                                      Log::PRIO_INFO,  Log::PRIO_DEBUG,   Log::PRIO_ERROR,
                                      Log::PRIO_ERROR, Log::PRIO_ERROR};
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].priority, expected[i]) << lines[i].text;
    }
    EXPECT_EQ(lines[6].text, "level 9");
}

TEST_F(LogTest, LevelNineNeedsALoggerAtNine)
{
    LogCapture capture(VLOGSRC_APP, VLOG_DEBUG);
    vLogMessage(VLOGSRC_APP, 9, "nine");
    vLogMessage(VLOGSRC_APP, 0, "zero");
    const std::vector<LogCapture::Line> lines = capture.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "zero");
    EXPECT_EQ(lines[0].priority, Log::PRIO_ERROR);
}

TEST_F(LogTest, MaxLevelsFollowRegistrationAndNeverDropBelowError)
{
    // Default logger at none: error still counts as enabled everywhere.
    for (vLogSource s = 0; s < VLOG_NSOURCES; ++s) {
        ASSERT_EQ(vLogGetLevel(s), VLOG_ERROR) << s;
    }
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
}

TEST_F(LogTest, OutOfRangeSourcesAreNamedUnknownAndFilteredAsSourceZero)
{
    LogCapture capture(VLOGSRC_KAPI_OS, VLOG_INFO);
    EXPECT_EQ(vLogGetLevel(71), VLOG_INFO);
    EXPECT_TRUE(vLogLevelEnabled(-1, VLOG_INFO));
    vLogMessage(71, VLOG_INFO, "far");
    vLogMessage(-5, VLOG_DEBUG, "dropped");
    const std::vector<LogCapture::Line> lines = capture.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].source, "unknownSource");
    EXPECT_EQ(lines[0].text, "far");
    // Out-of-range sources are ignored by level changes.
    capture.logger().levels().setLevel(200, VLOG_NONE);
    EXPECT_EQ(vLogGetLevel(VLOGSRC_KAPI_OS), VLOG_INFO);
}

TEST_F(LogTest, EveryLoggerGetsTheFullArgumentList)
{
    LogCapture first(VLOGSRC_DATA, VLOG_INFO);
    LogCapture second(VLOGSRC_DATA, VLOG_DEBUG);
    vLogMessage(VLOGSRC_DATA, VLOG_INFO, "%s-%d-%s-%.1f", "a", 7, "b", 2.5);
    ASSERT_EQ(first.lines().size(), 1u);
    ASSERT_EQ(second.lines().size(), 1u);
    EXPECT_EQ(first.lines()[0].text, "a-7-b-2.5");
    EXPECT_EQ(second.lines()[0].text, "a-7-b-2.5");
}

TEST_F(LogTest, RegistrationIsIdempotentAndUnregisteringIsPerLogger)
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
}

TEST_F(LogTest, DestroyedLoggerIsUnregistered)
{
    CountingLog counts;
    {
        ModuleLogger scoped(&counts, "scoped");
        scoped.levels().setLevelAll(VLOG_DEBUG);
        ModuleLogger::registerLogger(&scoped);
        EXPECT_EQ(vLogGetLevel(VLOGSRC_NIM), VLOG_DEBUG);
    }
    EXPECT_EQ(vLogGetLevel(VLOGSRC_NIM), VLOG_ERROR);
    vLogMessage(VLOGSRC_NIM, VLOG_ERROR, "after");
    EXPECT_EQ(counts.count, 0);
}

TEST_F(LogTest, BackEndMayLogWhileDelivering)
{
    ReentrantLog reentrant;
    ModuleLogger nested(&reentrant, "nested");
    nested.levels().setLevelAll(VLOG_DEBUG);
    ModuleLogger::registerLogger(&nested);
    LogCapture capture(VLOGSRC_CORE, VLOG_INFO);
    vLogMessage(VLOGSRC_APP, VLOG_INFO, "outer");
    ModuleLogger::unregisterLogger(&nested);
    ASSERT_EQ(capture.lines().size(), 1u);
    EXPECT_EQ(capture.lines()[0].text, "nested from app");
}

TEST_F(LogTest, LoggersAreFoundByNameAndEmptyNameIsTheFirst)
{
    LogCapture capture(VLOG_DEBUG);
    ModuleLogger::LoggersLock lock;
    EXPECT_EQ(ModuleLogger::getLoggerByName_i("default"), ModuleLogger::defaultLogger());
    EXPECT_EQ(ModuleLogger::getLoggerByName_i(""), ModuleLogger::defaultLogger());
    EXPECT_EQ(ModuleLogger::getLoggerByName_i("capture"), &capture.logger());
    EXPECT_EQ(ModuleLogger::getLoggerByName_i("netlog"), nullptr);
    EXPECT_EQ(ModuleLogger::defaultLogger()->name(), "default");
    EXPECT_EQ(ModuleLogger::defaultLogger()->log(), Log::Get());
}

TEST_F(LogTest, LevelListStopsAtTheFirstBadItem)
{
    LogCapture capture(VLOG_ERROR);
    const std::vector<vLogLevel> defaults = levelsOf(*ModuleLogger::defaultLogger());

    // A bad item after "all" leaves "all" applied.
    EXPECT_FALSE(vLogSetMultipleLevels("capture:all=debug,bogus=info"));
    EXPECT_EQ(levelsOf(capture.logger()), std::vector<vLogLevel>(VLOG_NSOURCES, VLOG_DEBUG));

    // Items before the bad one stay, items after it are not applied.
    capture.logger().levels().setLevelAll(VLOG_ERROR);
    EXPECT_FALSE(vLogSetMultipleLevels("capture:kapi_net=info,nonsense,app=debug"));
    std::vector<vLogLevel> expected(VLOG_NSOURCES, VLOG_ERROR);
    expected[VLOGSRC_KAPI_NET] = VLOG_INFO;
    EXPECT_EQ(levelsOf(capture.logger()), expected);

    EXPECT_FALSE(vLogSetMultipleLevels("capture:app=loud"));
    EXPECT_FALSE(vLogSetMultipleLevels("capture:=debug"));
    EXPECT_FALSE(vLogSetMultipleLevels("capture:App=debug")); // names are case-sensitive
    EXPECT_FALSE(vLogSetMultipleLevels("capture:app=DEBUG"));
    EXPECT_FALSE(vLogSetMultipleLevels("capture:app=debug=x"));
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
}

TEST_F(LogTest, UnknownLoggerNameChangesNothing)
{
    LogCapture capture(VLOG_WARNING);
    const std::vector<vLogLevel> defaults = levelsOf(*ModuleLogger::defaultLogger());
    EXPECT_FALSE(vLogSetMultipleLevels("nosuchlogger:all=debug"));
    EXPECT_EQ(levelsOf(capture.logger()), std::vector<vLogLevel>(VLOG_NSOURCES, VLOG_WARNING));
    EXPECT_EQ(levelsOf(*ModuleLogger::defaultLogger()), defaults);
    EXPECT_EQ(vLogGetLevel(VLOGSRC_APP), VLOG_WARNING);
}

TEST_F(LogTest, LevelListWithoutLoggerNameAppliesToTheDefaultLogger)
{
    LogCapture capture(VLOG_NONE);
    EXPECT_TRUE(vLogSetMultipleLevels("app=info"));
    EXPECT_TRUE(vLogSetMultipleLevels(":core=debug"));
    EXPECT_TRUE(vLogSetMultipleLevels("default:lua=warning"));
    const std::vector<vLogLevel> levels = levelsOf(*ModuleLogger::defaultLogger());
    EXPECT_EQ(levels[VLOGSRC_APP], VLOG_INFO);
    EXPECT_EQ(levels[VLOGSRC_CORE], VLOG_DEBUG);
    EXPECT_EQ(levels[VLOGSRC_LUA], VLOG_WARNING);
    EXPECT_EQ(levels[VLOGSRC_KAPI_OS], VLOG_NONE);
    EXPECT_EQ(levelsOf(capture.logger()), std::vector<vLogLevel>(VLOG_NSOURCES, VLOG_NONE));
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
    EXPECT_FALSE(vLogLevelFromName("INFO", &untouched));
    EXPECT_FALSE(vLogLevelFromName("all", &untouched));
    EXPECT_FALSE(vLogLevelFromName(nullptr, &untouched));
    EXPECT_EQ(untouched, 3);
    EXPECT_FALSE(vLogLevelIsValid(""));

    const std::pair<vLogSource, const char*> samples[] = {
        {VLOGSRC_KAPI_OS, "kapi_os"},
        {VLOGSRC_NETWORK_STORAGE_DEVICE, "network_storage_device"},
        {VLOGSRC_P2S_CLIENT, "p2s_client"},
        {VLOGSRC_MTM, "MTM"},
        {VLOGSRC_SERVER_LS, "server_ls"},
        {VLOGSRC_SDB_CATCHUP, "sdb_catchup"},
        {VLOGSRC_APP, "app"},
        {VLOGSRC_JAVASCRIPT, "javascript"}};
    for (const auto& [source, name] : samples) {
        EXPECT_STREQ(vLogSourceName(source), name);
    }
    for (vLogSource source = 0; source < VLOG_NSOURCES; ++source) {
        vLogSource parsed = -1;
        ASSERT_TRUE(vLogSourceFromName(vLogSourceName(source), &parsed)) << source;
        EXPECT_EQ(parsed, source);
    }
    EXPECT_STREQ(vLogSourceName(71), "unknownSource");
    EXPECT_STREQ(vLogSourceName(-1), "unknownSource");
    vLogSource unchanged = 7;
    EXPECT_FALSE(vLogSourceFromName("all", &unchanged));
    EXPECT_FALSE(vLogSourceFromName("mtm", &unchanged));
    EXPECT_FALSE(vLogSourceFromName("unknownSource", &unchanged));
    EXPECT_EQ(unchanged, 7);
}

TEST(LogFormat, ConsoleLineFormatUsesUtcAndEnglishMonths)
{
    char buffer[400];
    Log::getSyslogStyleFormat(buffer, sizeof(buffer), utc(2024, 3, 5, 14, 2, 7), 1234, "app",
                              Log::PRIO_INFO, "Starting connection.");
    EXPECT_STREQ(buffer, "Mar  5 14:02:07 [1234] <app.info>: Starting connection.\n");

    Log::getSyslogStyleFormat(buffer, sizeof(buffer), utc(1999, 12, 31, 23, 59, 59), 4000000000u,
                              "kapi_net", Log::PRIO_DEBUG, "%s and %d stay unexpanded");
    EXPECT_STREQ(buffer,
                 "Dec 31 23:59:59 [4000000000] <kapi_net.debug>: %s and %d stay unexpanded\n");

    const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int month = 1; month <= 12; ++month) {
        Log::getSyslogStyleFormat(buffer, sizeof(buffer), utc(2021, month, 10, 0, 0, 0), 1, "s",
                                  Log::Priority(7), "m");
        EXPECT_EQ(std::string(buffer),
                  std::string(months[month - 1]) + " 10 00:00:00 [1] <s.error>: m\n");
    }
}

TEST(LogFormat, ConsoleLineIsCutToTheBuffer)
{
    const std::string longFormat(500, 'x');
    char buffer[400];
    Log::getSyslogStyleFormat(buffer, sizeof(buffer), utc(2024, 3, 5, 14, 2, 7), 1234, "app",
                              Log::PRIO_INFO, longFormat.c_str());
    const std::string prefix = "Mar  5 14:02:07 [1234] <app.info>: ";
    EXPECT_EQ(std::string(buffer), prefix + std::string(399 - prefix.size(), 'x'));

    char tiny[10];
    memset(tiny, '#', sizeof(tiny));
    Log::getSyslogStyleFormat(tiny, sizeof(tiny), utc(2024, 3, 5, 14, 2, 7), 1, "a", Log::PRIO_INFO,
                              "m");
    EXPECT_STREQ(tiny, "Mar  5 14");
}

TEST(LogFormat, PriorityNamesAndSyslogPriorities)
{
    const std::pair<const char*, int> expected[] = {{"error", LOG_ERR},
                                                    {"warning", LOG_WARNING},
                                                    {"notice", LOG_NOTICE},
                                                    {"info", LOG_INFO},
                                                    {"debug", LOG_DEBUG}};
    for (int priority = 0; priority < 5; ++priority) {
        EXPECT_STREQ(Log::priorityName(priority), expected[priority].first);
        EXPECT_EQ(Kapi::LogLinux::syslogPriority(priority), expected[priority].second);
    }
    EXPECT_STREQ(Log::priorityName(5), "error");
    EXPECT_STREQ(Log::priorityName(-1), "error");
    EXPECT_EQ(Kapi::LogLinux::syslogPriority(5), LOG_ERR);
}

TEST(LogTraceTime, IsWallClockMicroseconds)
{
    struct timeval before = {};
    gettimeofday(&before, nullptr);
    const int64_t traced = vLogTraceTime();
    struct timeval after = {};
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
                if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO)) {
                    vLogMessage(VLOGSRC_APP, VLOG_INFO, "writer %d message %d", t, i);
                }
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    stop = true;
    changer.join();
    EXPECT_EQ(capture.lines().size(), 2000u);
}
