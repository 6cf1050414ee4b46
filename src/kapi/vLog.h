#ifndef KAPI_VLOG_H
#define KAPI_VLOG_H
/*
 * The C-callable log API. A message carries one of 71 fixed sources and one of six levels; it
 * reaches every registered logger whose level for that source admits it. vLogLevelEnabled() is
 * a single array read, so call sites test it before building any arguments:
 *
 *     if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
 *         vLogMessage(VLOGSRC_APP, VLOG_INFO, "Starting %s", name);
 *
 * Any thread may log. Level changes are visible to other threads without further
 * synchronisation (a late reader may see the old level once).
 */
#include <stdarg.h>
#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t vLogLevel;
typedef int32_t vLogSource;

enum
{
    VLOG_NONE = 0,
    VLOG_ERROR = 1,
    VLOG_WARNING = 2,
    VLOG_NOTICE = 3,
    VLOG_INFO = 4,
    VLOG_DEBUG = 5,
    VLOG_NLEVELS = 6
};

enum
{
    VLOGSRC_KAPI_OS = 0,
    VLOGSRC_KAPI_OS_WATCHDOG = 1,
    VLOGSRC_KAPI_CRYPTO = 2,
    VLOGSRC_KAPI_MEDIA_SURFACE = 3,
    VLOGSRC_KAPI_MEDIA_PLAYER = 4,
    VLOGSRC_KAPI_URL_DOWNLOADER = 5,
    VLOGSRC_KAPI_MEDIA_DISPLAY = 6,
    VLOGSRC_KAPI_MEDIA_REMOTE = 7,
    VLOGSRC_KAPI_HELPER = 8,
    VLOGSRC_KAPI_SMARTCARD = 9,
    VLOGSRC_KAPI_DIRECTOR = 10,
    VLOGSRC_KAPI_STREAM = 11,
    VLOGSRC_KAPI_NET = 12,
    VLOGSRC_NET_REMOTE = 13,
    VLOGSRC_KAPI_COMM = 14,
    VLOGSRC_KAPI_DDL = 15,
    VLOGSRC_KAPI_SYNC = 16,
    VLOGSRC_NETWORK_C2C = 17,
    VLOGSRC_NAT_TRAVERSAL = 18,
    VLOGSRC_NAS = 19,
    VLOGSRC_NETWORK_STORAGE_DEVICE = 20,
    VLOGSRC_VMES = 21,
    VLOGSRC_P2P_SERVER_COMMS = 22,
    VLOGSRC_P2P_CLIENT = 23,
    VLOGSRC_P2P_IO = 24,
    VLOGSRC_P2P_MONITOR = 25,
    VLOGSRC_P2P_REPOSITORY = 26,
    VLOGSRC_P2P_SEEDING = 27,
    VLOGSRC_P2P_STREAMING = 28,
    VLOGSRC_P2P_UTIL = 29,
    VLOGSRC_P2P_CLIENT_MESSAGE = 30,
    VLOGSRC_P2P_CATALOG = 31,
    VLOGSRC_P2S_CLIENT = 32,
    VLOGSRC_QUALITY_TESTER = 33,
    VLOGSRC_LIB_AGENT = 34,
    VLOGSRC_CONTROLLER = 35,
    VLOGSRC_DOWNLOAD_QUEUE = 36,
    VLOGSRC_UPDATER = 37,
    VLOGSRC_KKAGENT = 38,
    VLOGSRC_KKSEEDER = 39,
    VLOGSRC_KKMANUFACTURER = 40,
    VLOGSRC_SETTINGS = 41,
    VLOGSRC_NETWORK_CONFIGURATOR = 42,
    VLOGSRC_DATA = 43,
    VLOGSRC_VUI = 44,
    VLOGSRC_KKAPP = 45,
    VLOGSRC_USAGE = 46,
    VLOGSRC_MTM = 47,
    VLOGSRC_AUTOMATOR = 48,
    VLOGSRC_SERVER_CONSOLE = 49,
    VLOGSRC_SERVER_CS = 50,
    VLOGSRC_SERVER_CSS = 51,
    VLOGSRC_SERVER_SMS = 52,
    VLOGSRC_SERVER_LS = 53,
    VLOGSRC_GRID_UTIL = 54,
    VLOGSRC_MISC_SYSTEM = 55,
    VLOGSRC_PDB = 56,
    VLOGSRC_GUIDED_SETUP = 57,
    VLOGSRC_USER_ACTIVITY = 58,
    VLOGSRC_NIM = 59,
    VLOGSRC_SDB_CATCHUP = 60,
    VLOGSRC_PIPELINE = 61,
    VLOGSRC_LUA = 62,
    VLOGSRC_PLAYER_CONTROLLER = 63,
    VLOGSRC_DISCOVERY = 64,
    VLOGSRC_APP = 65,
    VLOGSRC_CDN_STREAMING = 66,
    VLOGSRC_HEARTBEAT = 67,
    VLOGSRC_CONNECTION = 68,
    VLOGSRC_CORE = 69,
    VLOGSRC_JAVASCRIPT = 70,
    VLOG_NSOURCES = 71
};

vLogLevel vLogGetLevel(vLogSource source);
bool vLogLevelEnabled(vLogSource source, vLogLevel level);
void vLogMessage(vLogSource source, vLogLevel level, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
void vLogMessageVar(vLogSource source, vLogLevel level, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));

/* Levels of the default logger. */
void vLogSetLevel(vLogSource source, vLogLevel level);
void vLogSetLevelAll(vLogLevel level);
/* "[logger:]source=level,source=level,..."; an empty logger name selects the first logger. */
bool vLogSetMultipleLevels(const char* levelList);

bool vLogLevelFromName(const char* name, vLogLevel* out);
bool vLogLevelIsValid(const char* name);
const char* vLogLevelName(vLogLevel level);
bool vLogSourceFromName(const char* name, vLogSource* out);
const char* vLogSourceName(vLogSource source);

/* Wall-clock microseconds, for timing operations in log lines. */
int64_t vLogTraceTime(void);

/* Straight to syslog, bypassing levels and loggers (used by the device port). */
void _kkSysLog(int syslogPriority, const char* priorityName, const char* tag, const char* format,
               ...) __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
