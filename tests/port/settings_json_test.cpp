// The JSON settings store: file naming, loading, atomic saving, bad files and bad values.
#include "SettingsJson.h"

#include "kapi/JsonParser.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using KELO::SettingsJson;
using KeloTest::readFile;
using KeloTest::writeFile;

namespace {

class SettingsJsonTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char dir[] = "/tmp/kelo-settings-json.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        m_dir = dir;
    }
    void TearDown() override
    {
        SettingsJson::Destroy();
        std::system(("rm -rf '" + m_dir + "'").c_str());
    }
    std::string path(const std::string& name) const { return m_dir + "/" + name; }

    std::string m_dir;
};

bool fileExists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

// jq's own verdict on the file, and the value it reads for `key` (raw text).
KeloTest::ProcessResult jq(const std::vector<std::string>& args)
{
    return KeloTest::runProcess("/usr/bin/jq", args);
}

} // namespace

TEST_F(SettingsJsonTest, TheDatabaseNameIsReplacedAndOtherNamesAreKept)
{
    {
        LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_DEBUG);
        SettingsJson* store = SettingsJson::Create(path("kelo-settings.db"));
        ASSERT_NE(store, nullptr);
        EXPECT_EQ(store->path(), path("kelo-json-settings.txt"));
        const std::vector<std::string> lines = capture.summary();
        ASSERT_EQ(lines.size(), 5u);
        EXPECT_EQ(lines[0],
                  "misc_system.info: Create(settingsFilePath=" + path("kelo-settings.db") + ")");
        EXPECT_EQ(lines[1], "misc_system.info: SettingsJson: Using '" +
                                path("kelo-json-settings.txt") + "' instead of '" +
                                path("kelo-settings.db") + "' to avoid confusion.");
        EXPECT_EQ(lines[2],
                  "misc_system.info: SettingsJson: Using '" + path("kelo-json-settings.txt") + "'");
        EXPECT_EQ(lines[3], "misc_system.info: init_i()");
        EXPECT_EQ(lines[4], "misc_system.info: load_i: Settings file " +
                                path("kelo-json-settings.txt") + " does not exist.");
    }
    SettingsJson::Destroy();
    SettingsJson* other = SettingsJson::Create(path("other.db"));
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(other->path(), path("other.db"));
    // Only the exact file name counts.
    SettingsJson::Destroy();
    EXPECT_EQ(SettingsJson::Create(path("my-kelo-settings.db.bak"))->path(),
              path("my-kelo-settings.db.bak"));
}

TEST_F(SettingsJsonTest, AMissingFileGivesAnEmptyStoreAndTheFirstSetWritesIt)
{
    SettingsJson* store = SettingsJson::Create(path("s.txt"));
    ASSERT_NE(store, nullptr);
    std::string value = "stale";
    EXPECT_FALSE(store->get("a", value));
    EXPECT_EQ(value, "");
    EXPECT_FALSE(fileExists(path("s.txt")));

    EXPECT_TRUE(store->set("a", "1"));
    EXPECT_EQ(readFile(path("s.txt")), "{ \"a\" : \"1\" }");
    EXPECT_FALSE(fileExists(path("s.txt.new")));
    EXPECT_TRUE(store->set("b", "two"));
    EXPECT_TRUE(store->set("a", "one"));
    EXPECT_EQ(readFile(path("s.txt")), "{ \"a\" : \"one\", \"b\" : \"two\" }");
    EXPECT_TRUE(store->get("a", value));
    EXPECT_EQ(value, "one");
    EXPECT_EQ(jq({".", path("s.txt")}).exitStatus, 0);
}

TEST_F(SettingsJsonTest, ValuesSurviveARestartAndAwkwardTextsStayValidJson)
{
    // Control characters other than the named escapes do not come back from the reader's "\u"
    // decoding, so the store's callers keep to printable texts; these must survive.
    const std::string awkward = "quote \" back \\ slash / tab \t nl \n utf8 \xc3\xa9 amp &";
    {
        SettingsJson* store = SettingsJson::Create(path("s.txt"));
        ASSERT_TRUE(store->set("awkward", awkward));
        ASSERT_TRUE(store->set("key with spaces", ""));
        SettingsJson::Destroy();
    }
    const KeloTest::ProcessResult check = jq({"-j", ".awkward", path("s.txt")});
    EXPECT_EQ(check.exitStatus, 0) << check.err;
    EXPECT_EQ(check.out, awkward);

    SettingsJson* store = SettingsJson::Create(path("s.txt"));
    std::string value;
    EXPECT_TRUE(store->get("awkward", value));
    EXPECT_EQ(value, awkward);
    EXPECT_TRUE(store->get("key with spaces", value));
    EXPECT_EQ(value, "");
}

TEST_F(SettingsJsonTest, ACorruptFileIsLoggedKeptUntilTheNextSetAndThenReplaced)
{
    writeFile(path("s.txt"), "{\"a\": \"1\", oops");
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
    SettingsJson* store = SettingsJson::Create(path("s.txt"));
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(capture.summary(),
              std::vector<std::string>{"misc_system.error: load_i: Failed to parse settings " +
                                       path("s.txt") + ".  15 bytes."});
    std::string value;
    EXPECT_FALSE(store->get("a", value));
    // Nothing is thrown away until the store writes again.
    EXPECT_EQ(readFile(path("s.txt")), "{\"a\": \"1\", oops");

    EXPECT_TRUE(store->set("b", "2"));
    EXPECT_EQ(readFile(path("s.txt")), "{ \"b\" : \"2\" }");

    // A JSON value that is not an object is just as unusable.
    SettingsJson::Destroy();
    writeFile(path("s.txt"), "[1, 2]");
    store = SettingsJson::Create(path("s.txt"));
    EXPECT_FALSE(store->get("b", value));
}

TEST_F(SettingsJsonTest, AnUnreadableFileIsLoggedWithItsReason)
{
    // A directory exists but cannot be read as a file.
    ASSERT_EQ(mkdir(path("dir.txt").c_str(), 0755), 0);
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
    SettingsJson* store = SettingsJson::Create(path("dir.txt"));
    ASSERT_NE(store, nullptr);
    const std::vector<std::string> lines = capture.summary();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(
        lines[0].rfind("misc_system.error: Failed to read settings " + path("dir.txt") + " - ", 0),
        0u)
        << lines[0];
}

TEST_F(SettingsJsonTest, ASecondCreateIsRefusedAndTheFirstStoreStays)
{
    SettingsJson* first = SettingsJson::Create(path("s.txt"));
    ASSERT_TRUE(first->set("k", "v"));
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
    EXPECT_EQ(SettingsJson::Create(path("other.txt")), nullptr);
    EXPECT_EQ(capture.summary(),
              std::vector<std::string>{
                  "misc_system.error: Create: An instance of SettingsJson already exists."});
    std::string value;
    EXPECT_TRUE(first->get("k", value));
    EXPECT_EQ(value, "v");
    EXPECT_FALSE(fileExists(path("other.txt")));
}

TEST_F(SettingsJsonTest, ATooLongValueIsRefusedAndTheLongestAllowedOneIsKept)
{
    SettingsJson* store = SettingsJson::Create(path("s.txt"));
    ASSERT_TRUE(store->set("k", "short"));
    const size_t max = Kapi::JsonParser::MAX_STRING_LENGTH;
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
    EXPECT_FALSE(store->set("k", std::string(max + 1, 'x')));
    EXPECT_EQ(capture.summary(),
              std::vector<std::string>{"misc_system.error: set: Value is too long (" +
                                       std::to_string(max + 1) + ").  Max length is " +
                                       std::to_string(max) + "."});
    std::string value;
    EXPECT_TRUE(store->get("k", value));
    EXPECT_EQ(value, "short");
    EXPECT_EQ(readFile(path("s.txt")), "{ \"k\" : \"short\" }");

    EXPECT_TRUE(store->set("k", std::string(max, 'y')));
    SettingsJson::Destroy();
    store = SettingsJson::Create(path("s.txt"));
    EXPECT_TRUE(store->get("k", value));
    EXPECT_EQ(value, std::string(max, 'y'));
}

TEST_F(SettingsJsonTest, ResetEmptiesTheStoreAndTheFile)
{
    SettingsJson* store = SettingsJson::Create(path("s.txt"));
    ASSERT_TRUE(store->set("a", "1"));
    store->reset();
    std::string value;
    EXPECT_FALSE(store->get("a", value));
    EXPECT_EQ(readFile(path("s.txt")), "{  }");
    EXPECT_EQ(jq({".", path("s.txt")}).exitStatus, 0);
}

TEST_F(SettingsJsonTest, FailedSavesAreReportedAndLogged)
{
    // The temporary file cannot be created: its directory is missing.
    SettingsJson* store = SettingsJson::Create(path("missing/s.txt"));
    {
        LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
        EXPECT_FALSE(store->set("a", "1"));
        EXPECT_EQ(capture.summary(),
                  std::vector<std::string>{
                      "misc_system.error: save_i: Failed to save 13 bytes of json to tmp '" +
                      path("missing/s.txt.new") + "' - No such file or directory"});
    }
    SettingsJson::Destroy();

    // The rename fails: a non-empty directory stands where the file goes.
    ASSERT_EQ(mkdir(path("taken").c_str(), 0755), 0);
    writeFile(path("taken/x"), "x");
    store = SettingsJson::Create(path("taken"));
    LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_ERROR);
    EXPECT_FALSE(store->set("a", "1"));
    const std::vector<std::string> lines = capture.summary();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "misc_system.error: save_i: Failed to rename tmp config file '" +
                            path("taken.new") + "' to '" + path("taken") + "' - Is a directory");
}

TEST_F(SettingsJsonTest, ConcurrentSetsAreAllSaved)
{
    SettingsJson* store = SettingsJson::Create(path("s.txt"));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([store, t] {
            for (int i = 0; i < 5; ++i)
                store->set("t" + std::to_string(t) + "." + std::to_string(i), std::to_string(i));
        });
    for (std::thread& thread : threads)
        thread.join();
    SettingsJson::Destroy();
    store = SettingsJson::Create(path("s.txt"));
    for (int t = 0; t < 4; ++t)
        for (int i = 0; i < 5; ++i) {
            std::string value;
            EXPECT_TRUE(store->get("t" + std::to_string(t) + "." + std::to_string(i), value));
            EXPECT_EQ(value, std::to_string(i));
        }
}
