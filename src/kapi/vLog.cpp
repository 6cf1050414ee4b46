// The parts of the C log API that need no logger state: level and source names, the trace
// clock and the direct syslog call. The name tables are indexed by number; every name is unique
// and case-sensitive.
#include "kapi/vLog.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sys/time.h>
#include <syslog.h>

namespace {

const char* const kLevelNames[VLOG_NLEVELS] = {"none",   "error", "warning",
                                               "notice", "info",  "debug"};

const char* const kSourceNames[VLOG_NSOURCES] = {
    "kapi_os",
    "kapi_os_watchdog",
    "kapi_crypto",
    "kapi_media_surface",
    "kapi_media_player",
    "kapi_url_downloader",
    "kapi_media_display",
    "kapi_media_remote",
    "kapi_helper",
    "kapi_smartcard",
    "kapi_director",
    "kapi_stream",
    "kapi_net",
    "net_remote",
    "kapi_comm",
    "kapi_ddl",
    "kapi_sync",
    "network_c2c",
    "nat_traversal",
    "nas",
    "network_storage_device",
    "vmes",
    "p2p_server_comms",
    "p2p_client",
    "p2p_io",
    "p2p_monitor",
    "p2p_repository",
    "p2p_seeding",
    "p2p_streaming",
    "p2p_util",
    "p2p_client_message",
    "p2p_catalog",
    "p2s_client",
    "quality_tester",
    "lib_agent",
    "controller",
    "download_queue",
    "updater",
    "kkagent",
    "kkseeder",
    "kkmanufacturer",
    "settings",
    "network_configurator",
    "data",
    "vui",
    "kkapp",
    "usage",
    "MTM",
    "automator",
    "server_console",
    "server_cs",
    "server_css",
    "server_sms",
    "server_ls",
    "grid_util",
    "misc_system",
    "pdb",
    "guided_setup",
    "user_activity",
    "nim",
    "sdb_catchup",
    "pipeline",
    "lua",
    "player_controller",
    "discovery",
    "app",
    "cdn_streaming",
    "heartbeat",
    "connection",
    "core",
    "javascript",
};

} // namespace

extern "C" {

bool vLogLevelFromName(const char* name, vLogLevel* out)
{
    if (name == nullptr) {
        return false;
    }
    for (vLogLevel level = 0; level < VLOG_NLEVELS; ++level) {
        if (strcmp(name, kLevelNames[level]) == 0) {
            if (out != nullptr) {
                *out = level;
            }
            return true;
        }
    }
    return false;
}

bool vLogLevelIsValid(const char* name)
{
    return vLogLevelFromName(name, nullptr);
}

const char* vLogLevelName(vLogLevel level)
{
    if (level < 0 || level >= VLOG_NLEVELS) {
        return "unknownLevel";
    }
    return kLevelNames[level];
}

bool vLogSourceFromName(const char* name, vLogSource* out)
{
    if (name == nullptr) {
        return false;
    }
    for (vLogSource source = 0; source < VLOG_NSOURCES; ++source) {
        if (strcmp(name, kSourceNames[source]) == 0) {
            if (out != nullptr) {
                *out = source;
            }
            return true;
        }
    }
    return false;
}

const char* vLogSourceName(vLogSource source)
{
    if (source < 0 || source >= VLOG_NSOURCES) {
        return "unknownSource";
    }
    return kSourceNames[source];
}

int64_t vLogTraceTime(void)
{
    struct timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<int64_t>(now.tv_sec) * 1000000 + now.tv_usec;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
void _kkSysLog(int syslogPriority, const char* priorityName, const char* tag, const char* format,
               ...)
{
    char buffer[400]; // same size as the back end's format buffer
    snprintf(buffer, sizeof(buffer), "<%s.%s>: %s", tag, priorityName, format);
    va_list args;
    va_start(args, format);
    vsyslog(syslogPriority, buffer, args);
    va_end(args);
}
#pragma GCC diagnostic pop

} // extern "C"
