#ifndef SIM_PLATFORM_SIMSTATE_H
#define SIM_PLATFORM_SIMSTATE_H
// The simulator's whole state behind one mutex: the playback-control handles, the configuration
// client, the failure list and the call log. Every API call takes the lock for its whole run,
// checks its failure switch, changes state and records one log line, so log order is call
// order. Callbacks into the client are made without the lock.
#include "SimPlatform.h"

#include <cstdarg>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace SimPlatform {

struct PbHandle
{
    PbHandleInfo info;
    IMtkPb_Ctrl_Nfy_Fct callback = nullptr;
    void* tag = nullptr;
    std::vector<uint8_t> lent; // the buffer GetBuffer handed out
};

struct State
{
    std::mutex lock;
    bool pbInit = false;
    IMTK_PB_HANDLE_T nextPbHandle = 1;
    std::map<IMTK_PB_HANDLE_T, PbHandle> pb;

    bool cfgInit = false;
    IMTK_CFG_HANDLE_T nextCfgHandle = 1;
    std::set<IMTK_CFG_HANDLE_T> cfgHandles;
    IMTKCFG_VID_CPS_INFO_T cps{};
    IMTKCFG_SUPPORT_FORMAT_T supportFormat{0x3f, 0};
    IMTKCFG_VID_SOURCE_INFO_T sourceInfo{};

    std::set<std::string> failures;
    std::vector<std::string> log;
    std::string logFile; // empty: memory only
};

// The process's state; the first call reads KELO_SIM_FAIL and KELO_SIM_LOG.
State& state();

// True (and the caller returns its NOT_OK code) when `name` is switched to fail.
bool failing_i(State& s, const char* name);
// Appends "name(args) = result" to the log; `argsFormat` is printf-style.
void record_i(State& s, const char* name, int32_t result, const char* argsFormat, ...)
    __attribute__((format(printf, 4, 5)));

} // namespace SimPlatform

#endif
