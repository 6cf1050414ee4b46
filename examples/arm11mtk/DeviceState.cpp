// Definitions and initial values of the process-wide device state (DeviceState.h).
#include "DeviceState.h"

char mfgId[20];
char modelId[20];
bool support_soc = false;
std::atomic<bool> g_fgRecvKey{true};
std::atomic<bool> g_downloadfile{false};
std::atomic<bool> _fgKeloQuit{false};
void* _pcKelo_Streamaddr = nullptr;
std::atomic<int32> _StartPlayer{0};
std::atomic<IMTK_PB_HANDLE_T> gh_handle{IMTK_NULL_HANDLE};
std::atomic<IMTK_CFG_HANDLE_T> hCfgHandle{-1};
IMTKCFG_VID_CPS_INFO_T g_t_cps_info;

std::string CONFIG = "[overscan]\n"
                     "top = 0\n"
                     "left = 0\n"
                     "bottom = 0\n"
                     "right = 0\n"
                     "[screensaver]\n"
                     "external = true\n"
                     "[appData]\n"
                     "appDataPath=/misc\n"
                     "appDataSize=2097152\n"
                     "[errorhandling]\n"
                     "policy=retry_quit\n"
                     "retryKeyName=OK\n"
                     "[locale]\n"
                     "country=auto\n";

struct sigaction old_int, old_ill, old_abrt, old_term, old_fpe, old_bus, old_segv, old_pipe;
