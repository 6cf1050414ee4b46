#ifndef ARM11MTK_PLAYBACKFLAGS_H
#define ARM11MTK_PLAYBACKFLAGS_H
// The process-wide playback flags shared by the port's playback threads and the playback
// controller's notification callback. The start-in-progress flag is _StartPlayer
// (DeviceState.h). Every flag is a relaxed atomic: threads poll them every few milliseconds.
//
// pb_prog_nfy_fct runs on the controller library's thread and touches only these flags.
#include "IMtkPb_Ctrl.h"
#include "kapi/KapiTypes.h"

#include <atomic>

extern std::atomic<bool> g_StartReady;          // the controller is really playing
extern std::atomic<bool> g_fgIsEosCb;           // the controller reported the end of stream
extern std::atomic<bool> g_fgUnderflow;         // the controller reported an underflow
extern std::atomic<uint32> g_u4GetBufPending;   // GetBuffer calls answered "pending"
extern std::atomic<uint32> g_u4GetBufReady;     // "buffer ready" notifications
extern std::atomic<int32> g_i4LastGetBufResult; // result of the last GetBuffer call
extern std::atomic<uint32> g_u4WarmUpsDone;     // dumyplay runs finished (never reset)

int32 pb_prog_nfy_fct(IMTK_PB_CTRL_EVENT_T event, void* tag, uint32_t data);
// Back to idle: every flag and counter above, and _StartPlayer, cleared.
void resetPlaybackFlags();

#endif
