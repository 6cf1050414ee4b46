#ifndef ARM11MTK_DEVICESTATE_H
#define ARM11MTK_DEVICESTATE_H
// The process-wide device state that the entry writes and the port reads: the device identity,
// the host's switches (keys, download, quit), the streaming buffer, the playback-control and
// configuration handles, and the configuration text handed to the core.
//
// These are plain globals with external linkage under their device names. Flags that one
// thread writes while others poll them are atomics with relaxed ordering: they behave as the
// plain bytes the port reads (a reader may see a change up to one poll late) without being a
// data race. Everything else is written by the entry's thread before other threads read it.
#include "IMtkCfg.h"
#include "IMtkPb_Ctrl.h"
#include "kapi/KapiTypes.h"

#include <atomic>
#include <csignal>
#include <string>

extern char mfgId[20];                   // "TOVA"
extern char modelId[20];                 // from the model table
extern bool support_soc;                 // the SoC has the analogue copy-protection controls
extern std::atomic<bool> g_fgRecvKey;    // false: the host's screen saver owns the keys
extern std::atomic<bool> g_downloadfile; // the host asked for KELO_MSG_DOWNLOAD_FILE
extern std::atomic<bool> _fgKeloQuit;    // moves only from false to true once running
extern void* _pcKelo_Streamaddr;         // the 24 MiB streaming buffer
// 1 or 2 while a playback thread of the port is starting or running a playback (the
// start-in-progress flag: 1 starting, 2 started by the delayed-play thread).
extern std::atomic<int32> _StartPlayer;
extern std::atomic<IMTK_PB_HANDLE_T> gh_handle; // IMTK_NULL_HANDLE when closed
extern std::atomic<IMTK_CFG_HANDLE_T> hCfgHandle;
extern IMTKCFG_VID_CPS_INFO_T g_t_cps_info; // copy-protection settings read at start
extern std::string CONFIG;                  // the configuration text for the core

// The signal actions the entry replaced.
extern struct sigaction old_int, old_ill, old_abrt, old_term, old_fpe, old_bus, old_segv, old_pipe;

#endif
