#ifndef ARM11MTK_PORT_SETTINGSJSON_H
#define ARM11MTK_PORT_SETTINGSJSON_H
// The device's persistent settings as one JSON object in a file: string keys to string values,
// held in memory as a KeyValueMap and loaded once at creation. Every set() and reset()
// rewrites the whole file atomically: the map's JSON text goes to "<path>.new", which is then
// renamed over the file, and the file system is synced.
//
// Invariants: at most one store exists per process (s_instance); the map holds what was loaded
// plus every value set since (a failed save keeps the value in memory and reports false). An
// unreadable or corrupt file leaves the map empty and the file untouched until the next set()
// replaces it.
//
// Threads: one process-wide lock serialises Create, Destroy, get, set and reset; set() holds it
// across the file write and rename. Logging goes to source misc_system.
#include "core/SystemDriver.h"
#include "kapi/KeyValueMap.h"

#include <string>

namespace KELO {

class SettingsJson : public Settings
{
public:
    // The process's store, loaded from `settingsFilePath` (a path ending in "kelo-settings.db"
    // is replaced by "kelo-json-settings.txt" in the same directory); null when a store exists.
    static SettingsJson* Create(const std::string& settingsFilePath);
    // Deletes the store, if any; pointers handed out before become invalid.
    static void Destroy();

    void reset() override;
    bool get(const std::string& key, std::string& value) override;
    bool set(const std::string& key, const std::string& value) override;

    // The file actually used, after the path check.
    const std::string& path() const { return m_path; }

private:
    explicit SettingsJson(const std::string& settingsFilePath);
    ~SettingsJson() override = default;

    bool init_i();
    bool load_i();
    bool save_i();

    std::string m_path;
    Kapi::KeyValueMap m_values;

    static SettingsJson* s_instance;
};

} // namespace KELO

#endif
