// The JSON settings store: load once, rewrite through "<path>.new" and a rename on every change.
#include "SettingsJson.h"

#include "kapi/FileUtil.h"
#include "kapi/JsonParser.h"
#include "kapi/Mutex.h"
#include "kapi/vLog.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace KELO {

SettingsJson* SettingsJson::s_instance = nullptr;

namespace {

const char kDbName[] = "kelo-settings.db";
const char kJsonName[] = "kelo-json-settings.txt";

// s_lock of the store: a function-local static, so it exists before any static initialiser
// of another file could create a store.
Kapi::Mutex& lock_i()
{
    static Kapi::ScopedMutex s_lock;
    return *s_lock;
}

bool endsWith(const std::string& text, const std::string& tail)
{
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

} // namespace

SettingsJson::SettingsJson(const std::string& settingsFilePath) : m_path(settingsFilePath)
{
    // The entry names the database file of the SQLite store; the JSON text gets a name of its
    // own so that neither store ever reads the other's file.
    if (endsWith(settingsFilePath, kDbName)) {
        m_path =
            settingsFilePath.substr(0, settingsFilePath.size() - (sizeof(kDbName) - 1)) + kJsonName;
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO,
                        "%s: Using '%s' instead of '%s' to avoid confusion.", "SettingsJson",
                        m_path.c_str(), settingsFilePath.c_str());
    }
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO, "%s: Using '%s'", "SettingsJson",
                    m_path.c_str());
}

SettingsJson* SettingsJson::Create(const std::string& settingsFilePath)
{
    Kapi::MutexLocker locker(lock_i());
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO, "%s(settingsFilePath=%s)", "Create",
                    settingsFilePath.c_str());
    if (s_instance != nullptr) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                        "%s: An instance of SettingsJson already exists.", "Create");
        return nullptr;
    }
    s_instance = new SettingsJson(settingsFilePath);
    // A failed load leaves the map empty, which is a usable store: creation never fails here.
    if (!s_instance->init_i() && vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR, "%s: Failed to load *and* reset settings.",
                    "Create");
    return s_instance;
}

void SettingsJson::Destroy()
{
    Kapi::MutexLocker locker(lock_i());
    delete s_instance;
    s_instance = nullptr;
}

bool SettingsJson::init_i()
{
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO, "%s()", "init_i");
    load_i();
    return true;
}

bool SettingsJson::load_i()
{
    m_values.clear();
    if (!Kapi::FileUtil::exists(m_path)) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO, "%s: Settings file %s does not exist.",
                        "load_i", m_path.c_str());
        return true;
    }
    std::string text;
    if (!Kapi::FileUtil::toString(m_path, text)) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR, "Failed to read settings %s - %m",
                        m_path.c_str());
        return false;
    }
    if (!Kapi::KeyValueMap::parseJsonString(text, m_values)) {
        m_values.clear();
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                        "%s: Failed to parse settings %s.  %zu bytes.", "load_i", m_path.c_str(),
                        text.size());
        return false;
    }
    return true;
}

bool SettingsJson::save_i()
{
    const std::string json = m_values.toJsonString();
    const std::string tmpPath = m_path + ".new";
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO, "%s: Saving settings to tmp '%s'", "save_i",
                    tmpPath.c_str());
    if (!Kapi::FileUtil::write(tmpPath, json)) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                        "%s: Failed to save %zu bytes of json to tmp '%s' - %m", "save_i",
                        json.size(), tmpPath.c_str());
        return false;
    }
    const bool renamed = rename(tmpPath.c_str(), m_path.c_str()) == 0;
    if (!renamed && vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                    "%s: Failed to rename tmp config file '%s' to '%s' - %m", "save_i",
                    tmpPath.c_str(), m_path.c_str());
    sync();
    return renamed;
}

bool SettingsJson::set(const std::string& key, const std::string& value)
{
    if (value.size() > static_cast<size_t>(Kapi::JsonParser::MAX_STRING_LENGTH)) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                        "%s: Value is too long (%zu).  Max length is %d.", "set", value.size(),
                        Kapi::JsonParser::MAX_STRING_LENGTH);
        return false;
    }
    Kapi::MutexLocker locker(lock_i());
    m_values.setValue(key, Kapi::Variant(value));
    return save_i();
}

bool SettingsJson::get(const std::string& key, std::string& value)
{
    Kapi::MutexLocker locker(lock_i());
    value.clear();
    if (!m_values.hasValue(key))
        return false;
    value = m_values.getValueAsString(key);
    return true;
}

void SettingsJson::reset()
{
    Kapi::MutexLocker locker(lock_i());
    m_values.clear();
    save_i();
}

} // namespace KELO
