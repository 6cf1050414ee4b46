// The SQLite settings store: schema and upgrade as the sqlite3 command line sees them, rows,
// lookups, unusable files and the system-log lines.
#include "SettingsSQLite.h"

#include "PortSysLogCapture.h"
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using Lines = std::vector<std::string>;

namespace {

const char kSchema[] =
    "CREATE TABLE versions ( version INTEGER PRIMARY KEY,   createdOn TEXT DEFAULT "
    "CURRENT_TIMESTAMP );\n"
    "CREATE TABLE settings( key TEXT NOT NULL, value TEXT, updatedOn TEXT DEFAULT "
    "CURRENT_TIMESTAMP, PRIMARY KEY (key));\n";

class SettingsSQLiteTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (access("/usr/bin/sqlite3", X_OK) != 0)
            GTEST_SKIP() << "the sqlite3 command line is not installed";
        char dir[] = "/tmp/kelo-settings-sqlite.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        m_dir = dir;
        m_db = m_dir + "/kelo-settings.db";
    }
    void TearDown() override
    {
        SettingsSQLite::Destroy();
        if (!m_dir.empty())
            std::system(("rm -rf '" + m_dir + "'").c_str());
    }
    // The sqlite3 command line's output for `sql` on the store's file.
    std::string sql(const std::string& statement) const
    {
        const KeloTest::ProcessResult run =
            KeloTest::runProcess("/usr/bin/sqlite3", {m_db, statement});
        EXPECT_EQ(run.exitStatus, 0) << run.err;
        return run.out;
    }

    std::string m_dir;
    std::string m_db;
};

} // namespace

TEST_F(SettingsSQLiteTest, AFreshFileGetsBothTablesAndVersionsZeroAndOne)
{
    PortSysLogCapture capture;
    SettingsSQLite* store = SettingsSQLite::Create(m_db);
    capture.stop();
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(capture.lines(),
              (Lines{"<SettingsSQLite.info>: SettingsSQLite::Create(dbPath=" + m_db + ")",
                     "<SettingsSQLite.info>: Upgrade to schema version 1"}));
    EXPECT_EQ(sql(".schema"), kSchema);
    EXPECT_EQ(sql("SELECT version FROM versions ORDER BY version"), "0\n1\n");
    EXPECT_EQ(sql("SELECT count(*) FROM settings"), "0\n");
    // Another Create hands out the same store.
    EXPECT_EQ(SettingsSQLite::Create(m_db), store);
}

TEST_F(SettingsSQLiteTest, ASecondStartFindsVersionOneAndKeepsTheSettings)
{
    SettingsSQLite* store = SettingsSQLite::Create(m_db);
    ASSERT_NE(store, nullptr);
    ASSERT_TRUE(store->set("deviceName", "living room"));
    SettingsSQLite::Destroy();

    PortSysLogCapture capture;
    store = SettingsSQLite::Create(m_db);
    capture.stop();
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(capture.lines(),
              Lines{"<SettingsSQLite.info>: SettingsSQLite::Create(dbPath=" + m_db + ")"});
    std::string value;
    EXPECT_TRUE(store->get("deviceName", value));
    EXPECT_EQ(value, "living room");
    EXPECT_EQ(sql("SELECT version FROM versions ORDER BY version"), "0\n1\n");
}

TEST_F(SettingsSQLiteTest, UpgradingFromVersionZeroDropsAnOldSettingsTable)
{
    sql("CREATE TABLE versions ( version INTEGER PRIMARY KEY, createdOn TEXT );"
        "INSERT INTO versions (version) VALUES (0);"
        "CREATE TABLE settings ( name TEXT, data BLOB );"
        "INSERT INTO settings VALUES ('old', 'row');");
    SettingsSQLite* store = SettingsSQLite::Create(m_db);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(sql("SELECT sql FROM sqlite_master WHERE name = 'settings'"),
              "CREATE TABLE settings( key TEXT NOT NULL, value TEXT, updatedOn TEXT DEFAULT "
              "CURRENT_TIMESTAMP, PRIMARY KEY (key))\n");
    EXPECT_EQ(sql("SELECT count(*) FROM settings"), "0\n");
    EXPECT_EQ(sql("SELECT version FROM versions ORDER BY version"), "0\n1\n");
}

TEST_F(SettingsSQLiteTest, SettingAKeyTwiceKeepsOneRowWithTheLastValue)
{
    SettingsSQLite* store = SettingsSQLite::Create(m_db);
    ASSERT_NE(store, nullptr);
    EXPECT_TRUE(store->set("k", "first"));
    EXPECT_TRUE(store->set("k", "second"));
    EXPECT_TRUE(store->set("other", ""));
    EXPECT_EQ(sql("SELECT key, value FROM settings ORDER BY key"), "k|second\nother|\n");
    EXPECT_EQ(sql("SELECT count(*) FROM settings WHERE updatedOn IS NOT NULL"), "2\n");
    std::string value;
    EXPECT_TRUE(store->get("other", value));
    EXPECT_EQ(value, "");
}

TEST_F(SettingsSQLiteTest, AnUnknownKeyAnswersFalseAndLeavesTheValueAlone)
{
    SettingsSQLite* store = SettingsSQLite::Create(m_db);
    ASSERT_NE(store, nullptr);
    std::string value = "untouched";
    PortSysLogCapture capture;
    EXPECT_FALSE(store->get("nope", value));
    capture.stop();
    EXPECT_EQ(value, "untouched");
    EXPECT_EQ(capture.lines(), Lines{"<SettingsSQLite.info>: Did not find setting with query "
                                     "SELECT value FROM settings WHERE key = 'nope';"});
}

TEST_F(SettingsSQLiteTest, AQuoteBreaksTheStatementAndIsReported)
{
    SettingsSQLite* store = SettingsSQLite::Create(m_db);
    ASSERT_NE(store, nullptr);
    PortSysLogCapture capture;
    EXPECT_FALSE(store->set("k", "it's"));
    std::string value = "kept";
    EXPECT_FALSE(store->get("it's", value));
    capture.stop();
    EXPECT_EQ(value, "kept");
    EXPECT_EQ(capture.lines(),
              (Lines{"<SettingsSQLite.error>: Failed to prepare query to save setting: INSERT OR "
                     "REPLACE INTO settings ( key, value ) VALUES ( 'k', 'it's'); - 1",
                     "<SettingsSQLite.error>: Failed to prepare query to get setting: SELECT "
                     "value FROM settings WHERE key = 'it's'; - 1"}));
    EXPECT_EQ(sql("SELECT count(*) FROM settings"), "0\n");
}

TEST_F(SettingsSQLiteTest, AFileThatIsNotADatabaseIsReplacedByAnEmptyStore)
{
    KeloTest::writeFile(m_db, std::string(4096, 'x'));
    PortSysLogCapture capture;
    SettingsSQLite* store = SettingsSQLite::Create(m_db);
    capture.stop();
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(capture.lines(),
              (Lines{"<SettingsSQLite.info>: SettingsSQLite::Create(dbPath=" + m_db + ")",
                     "<SettingsSQLite.error>: Failed create version table - 26",
                     "<SettingsSQLite.error>: Failed to initialize the database, deleting the DB "
                     "file and trying to re-create it",
                     "<SettingsSQLite.info>: Upgrade to schema version 1"}));
    EXPECT_EQ(sql(".schema"), kSchema);
    EXPECT_TRUE(store->set("a", "1"));
}

TEST_F(SettingsSQLiteTest, AFileThatCannotBeOpenedOrRemovedGivesNoStore)
{
    const std::string missing = m_dir + "/no/such/dir/settings.db";
    PortSysLogCapture capture;
    EXPECT_EQ(SettingsSQLite::Create(missing), nullptr);
    capture.stop();
    EXPECT_EQ(capture.lines(),
              (Lines{"<SettingsSQLite.info>: SettingsSQLite::Create(dbPath=" + missing + ")",
                     "<SettingsSQLite.error>: Failed to open Settings DB '" + missing + "' - 14",
                     "<SettingsSQLite.error>: Failed to initialize the database, deleting the DB "
                     "file and trying to re-create it",
                     "<SettingsSQLite.error>: Failed to delete the corrupted database?!"}));
}

TEST_F(SettingsSQLiteTest, ResetStartsAnEmptyStoreAtVersionOne)
{
    SettingsSQLite* store = SettingsSQLite::Create(m_db);
    ASSERT_NE(store, nullptr);
    ASSERT_TRUE(store->set("a", "1"));
    EXPECT_TRUE(store->resetDatabase());
    std::string value;
    EXPECT_FALSE(store->get("a", value));
    EXPECT_EQ(sql("SELECT version FROM versions ORDER BY version"), "0\n1\n");
    EXPECT_TRUE(store->set("b", "2"));
    store->reset();
    EXPECT_FALSE(store->get("b", value));
    EXPECT_TRUE(store->set("c", "3"));
    EXPECT_EQ(sql("SELECT key, value FROM settings"), "c|3\n");

    // Released, the store answers false and logs the library's misuse code.
    store->release();
    EXPECT_FALSE(store->set("d", "4"));
}
