#ifndef SIM_PLATFORM_SIMPLATFORM_H
#define SIM_PLATFORM_SIMPLATFORM_H
// Control side of the platform simulator that stands in for the device's closed playback-control
// (IMtkPb_Ctrl_*) and configuration (IMtkCfg_*) clients. Tests and tools use it to look at the
// simulator's state, to make chosen calls fail, and to read the log of every call made.
//
// Failure switches: a comma-separated list of API function names ("IMtkCfg_Open,IMtkPb_Ctrl_Play");
// a listed function returns its library's NOT_OK code without changing any state. The list
// starts as the environment variable KELO_SIM_FAIL (read on the first call into the simulator)
// and setFailures() replaces it.
//
// Call log: one line per API call, "Name(arguments) = result", in call order, kept in memory
// and, when the environment variable KELO_SIM_LOG names a file, also appended to that file
// (read on the first call, so a child process's calls can be checked after it ends).
//
// Every function here and every API call is safe from any thread (one lock inside).
#include "IMtkCfg.h"
#include "IMtkPb_Ctrl.h"

#include <cstdint>
#include <string>
#include <vector>

namespace SimPlatform {

enum class PbState
{
    Opened, // no media information
    Ready,  // media information set
    Playing,
    Paused,
    Stopped // stopped with media information still set
};
const char* pbStateName(PbState state);

// What the simulator knows about one open playback-control handle.
struct PbHandleInfo
{
    PbState state = PbState::Opened;
    IMTK_PB_CTRL_BUFFERING_MODEL_T bufferingModel = IMTK_PB_CTRL_BUFFERING_MODEL_UNKNOWN;
    IMTK_PB_CTRL_OPERATING_MODEL_T operatingModel = IMTK_PB_CTRL_OPERATING_MODEL_UNKNOWN;
    bool hasEngineParam = false;
    IMTK_PB_CTRL_ENGINE_PARAM_T engineParam{};
    bool hasMediaInfo = false;
    IMTK_PB_CTRL_SET_MEDIA_INFO_T mediaInfo{};
    bool hasCallback = false;
    IMTK_PB_CTRL_RECT_T displayRect{};
    uint32_t layout3d = 0xffffffffu; // none given
    bool bufferLent = false;         // a GetBuffer buffer not yet sent
    uint64_t bytesReceived = 0;      // by SendData since the media information was set
    uint32_t packetsReceived = 0;    // whole 188-byte packets among them
    uint32_t syncErrors = 0;         // packets not starting with 0x47
    bool endOfStream = false;        // SetPushModelEOS since the media information was set
};

bool pbInitialized();
std::vector<IMTK_PB_HANDLE_T> pbHandles();
// False when `handle` is not open.
bool pbHandleInfo(IMTK_PB_HANDLE_T handle, PbHandleInfo* info);
// Calls the handle's registered callback on the calling thread, as the library's own thread
// would. False when the handle is not open or has no callback.
bool raiseEvent(IMTK_PB_HANDLE_T handle, IMTK_PB_CTRL_EVENT_T event, uint32_t data);

bool cfgInitialized();
unsigned cfgOpenCount();
// The copy-protection settings last stored with IMtkCfg_Vid_Set_Cps_Info (zero at first).
IMTKCFG_VID_CPS_INFO_T cfgCpsInfo();
// The television's formats as IMtkCfg_Get_Support_Format reports them (default: 2D only).
void setSupportFormat(const IMTKCFG_SUPPORT_FORMAT_T& format);
// The last source description given to IMtkCfg_Vid_SetSourceInfo.
IMTKCFG_VID_SOURCE_INFO_T cfgSourceInfo();

void setFailures(const std::string& commaSeparatedNames);
std::string failures();

std::vector<std::string> callLog();
void clearCallLog();

// Back to the state of a fresh process: everything closed and uninitialised, the call log and
// the failure list empty (the environment is not read again).
void reset();

} // namespace SimPlatform

#endif
