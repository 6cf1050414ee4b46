// The SQLite settings store: schema creation and upgrade, and one statement per get and set.
#include "SettingsSQLite.h"

#include "kapi/vLog.h"

#include <cstdio>
#include <sqlite3.h>
#include <syslog.h>

SettingsSQLite* SettingsSQLite::s_instance = nullptr;

namespace {

const char kTag[] = "SettingsSQLite";

const char kVersionTable[] =
    "CREATE TABLE IF NOT EXISTS versions ( version INTEGER PRIMARY KEY,   createdOn TEXT DEFAULT "
    "CURRENT_TIMESTAMP );INSERT OR IGNORE INTO versions (version) VALUES (0);";
const char kCurrentVersion[] = "SELECT version from versions ORDER BY version DESC LIMIT 1";
const char kUpgradeTo1[] =
    "BEGIN IMMEDIATE;DROP TABLE IF EXISTS settings; CREATE TABLE settings( key TEXT NOT NULL, "
    "value TEXT, updatedOn TEXT DEFAULT CURRENT_TIMESTAMP, PRIMARY KEY (key));INSERT INTO "
    "versions (version) VALUES ( 1 ); COMMIT; ";

} // namespace

SettingsSQLite::SettingsSQLite(const std::string& path) : m_path(path) {}

SettingsSQLite::~SettingsSQLite()
{
    release();
}

SettingsSQLite* SettingsSQLite::Create(const std::string& path)
{
    _kkSysLog(LOG_INFO, "info", kTag, "SettingsSQLite::Create(dbPath=%s)", path.c_str());
    if (s_instance != nullptr)
        return s_instance;
    s_instance = new SettingsSQLite(path);
    if (s_instance->initialize())
        return s_instance;

    _kkSysLog(LOG_ERR, "error", kTag,
              "Failed to initialize the database, deleting the DB file and trying to re-create it");
    delete s_instance;
    s_instance = nullptr;
    if (remove(path.c_str()) != 0) {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to delete the corrupted database?!");
        return nullptr;
    }
    s_instance = new SettingsSQLite(path);
    if (!s_instance->initialize()) {
        _kkSysLog(LOG_ERR, "error", kTag,
                  "Failed to create a new database after we detected a bad DB!");
        delete s_instance;
        s_instance = nullptr;
    }
    return s_instance;
}

void SettingsSQLite::Destroy()
{
    delete s_instance;
    s_instance = nullptr;
}

void SettingsSQLite::release()
{
    if (m_db == nullptr)
        return;
    const int rc = sqlite3_close(m_db);
    if (rc != SQLITE_OK)
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to close db - %d", rc);
    m_db = nullptr;
}

bool SettingsSQLite::initialize()
{
    int rc = sqlite3_open(m_path.c_str(), &m_db);
    if (rc != SQLITE_OK) {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to open Settings DB '%s' - %d", m_path.c_str(),
                  rc);
        return false;
    }
    rc = sqlite3_exec(m_db, kVersionTable, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed create version table - %d", rc);
        return false;
    }
    sqlite3_stmt* query = nullptr;
    rc = sqlite3_prepare_v2(m_db, kCurrentVersion, -1, &query, nullptr);
    if (rc != SQLITE_OK) {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to prepare query %s - %d", kCurrentVersion, rc);
        return false;
    }
    int version = -1;
    rc = sqlite3_step(query);
    if (rc == SQLITE_ROW) {
        version = sqlite3_column_int(query, 0);
    } else if (rc != SQLITE_DONE) {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to get current version from Settings DB - %d",
                  rc);
        sqlite3_finalize(query);
        return false;
    }
    sqlite3_finalize(query);
    if (version != 0)
        return true;
    rc = sqlite3_exec(m_db, kUpgradeTo1, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed create version table - %d", rc);
        return false;
    }
    _kkSysLog(LOG_INFO, "info", kTag, "Upgrade to schema version 1");
    return true;
}

bool SettingsSQLite::resetDatabase()
{
    // The open handle would keep the removed file alive; close it first.
    release();
    if (remove(m_path.c_str()) != 0)
        return false;
    return initialize();
}

void SettingsSQLite::reset()
{
    resetDatabase();
}

bool SettingsSQLite::set(const std::string& key, const std::string& value)
{
    const std::string statement = std::string("INSERT OR REPLACE INTO settings ( ") +
                                  "key, value ) VALUES ( '" + key + "', '" + value + "');";
    sqlite3_stmt* query = nullptr;
    const int prepared = sqlite3_prepare_v2(m_db, statement.c_str(), -1, &query, nullptr);
    if (prepared != SQLITE_OK) {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to prepare query to save setting: %s - %d",
                  statement.c_str(), prepared);
        sqlite3_finalize(query);
        return false;
    }
    const int rc = sqlite3_step(query);
    if (rc != SQLITE_DONE)
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to issue query to save setting - %d", rc);
    sqlite3_finalize(query);
    return rc == SQLITE_DONE;
}

bool SettingsSQLite::get(const std::string& key, std::string& value)
{
    const std::string statement = "SELECT value FROM settings WHERE key = '" + key + "';";
    sqlite3_stmt* query = nullptr;
    const int prepared = sqlite3_prepare_v2(m_db, statement.c_str(), -1, &query, nullptr);
    if (prepared != SQLITE_OK) {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to prepare query to get setting: %s - %d",
                  statement.c_str(), prepared);
        sqlite3_finalize(query);
        return false;
    }
    bool found = false;
    const int rc = sqlite3_step(query);
    if (rc == SQLITE_ROW) {
        const unsigned char* text = sqlite3_column_text(query, 0);
        value = text != nullptr ? reinterpret_cast<const char*>(text) : "";
        found = true;
    } else if (rc == SQLITE_DONE) {
        _kkSysLog(LOG_INFO, "info", kTag, "Did not find setting with query %s", statement.c_str());
    } else {
        _kkSysLog(LOG_ERR, "error", kTag, "Failed to get data from Settings DB - %d", rc);
    }
    sqlite3_finalize(query);
    return found;
}
