#ifndef ARM11MTK_PORT_SETTINGSSQLITE_H
#define ARM11MTK_PORT_SETTINGSSQLITE_H
// The alternative settings store: string keys to string values in a SQLite database file with
// two tables, "versions" (schema version rows, 0 and then 1) and "settings" (key, value,
// updatedOn). Keys and values are pasted between single quotes into the statements without
// escaping, so callers use plain texts; a quote makes the statement fail.
//
// Invariants: at most one store per process; while it exists and initialised, the handle is an
// open database whose schema is at version 1. A file that cannot be initialised at Create() is
// deleted and created afresh, once.
//
// Threads: no lock of its own; one thread at a time. Messages go to the system log with the
// tag "SettingsSQLite".
#include "core/SystemDriver.h"

#include <string>

struct sqlite3;

class SettingsSQLite : public KELO::Settings
{
public:
    // The process's store over `path` (created and upgraded as needed); the existing one when
    // there is one already; null when the file can be neither used nor recreated.
    static SettingsSQLite* Create(const std::string& path);
    static void Destroy();

    // Removes the file and starts an empty store at version 1; the result is not reported.
    void reset() override;
    // True with `value` set when the key exists; `value` is left unchanged otherwise.
    bool get(const std::string& key, std::string& value) override;
    // True when the row was written.
    bool set(const std::string& key, const std::string& value) override;

    // reset() with its result: false when the file could not be removed or recreated.
    bool resetDatabase();
    // Opens the file and brings its schema to version 1.
    bool initialize();
    // Closes the database, if open.
    void release();

    const std::string& path() const { return m_path; }

private:
    explicit SettingsSQLite(const std::string& path);
    ~SettingsSQLite() override;

    sqlite3* m_db = nullptr; // null when closed
    std::string m_path;

    static SettingsSQLite* s_instance;
};

#endif
