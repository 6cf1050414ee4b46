// The simulated configuration client: open handles, the television's supported formats, the
// video source description and the stored copy-protection settings.
#include "SimState.h"

using namespace SimPlatform;

namespace {

// Runs `body` under the lock when the call is not switched to fail and the client is
// initialised (and, with `needHandle`, the handle open); records the call.
template <typename Body>
IMTK_CFG_ERROR_CODE_T cfgCall_i(const char* name, bool needHandle, IMTK_CFG_HANDLE_T h, Body body)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    IMTK_CFG_ERROR_CODE_T r;
    if (failing_i(s, name))
        r = IMTK_CFG_ERROR_CODE_NOT_OK;
    else if (!s.cfgInit)
        r = IMTK_CFG_ERROR_CODE_NOT_INIT;
    else if (needHandle && s.cfgHandles.count(h) == 0)
        r = IMTK_CFG_ERROR_CODE_INV_HANDLE;
    else
        r = body(s);
    if (needHandle)
        record_i(s, name, r, "%d", h);
    else
        record_i(s, name, r, "%s", "");
    return r;
}

} // namespace

extern "C" {

IMTK_CFG_ERROR_CODE_T IMtkCfg_Init(void)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    IMTK_CFG_ERROR_CODE_T r = IMTK_CFG_ERROR_CODE_NOT_OK;
    if (!failing_i(s, "IMtkCfg_Init")) {
        s.cfgInit = true;
        r = IMTK_CFG_ERROR_CODE_OK;
    }
    record_i(s, "IMtkCfg_Init", r, "%s", "");
    return r;
}

IMTK_CFG_ERROR_CODE_T IMtkCfg_Terminate(void)
{
    return cfgCall_i("IMtkCfg_Terminate", false, 0, [](State& s) {
        s.cfgInit = false;
        s.cfgHandles.clear();
        return IMTK_CFG_ERROR_CODE_OK;
    });
}

IMTK_CFG_ERROR_CODE_T IMtkCfg_Count(uint8_t* pu1Count)
{
    return cfgCall_i("IMtkCfg_Count", false, 0, [&](State& s) {
        if (pu1Count == nullptr)
            return IMTK_CFG_ERROR_CODE_INV_ARG;
        *pu1Count = static_cast<uint8_t>(s.cfgHandles.size());
        return IMTK_CFG_ERROR_CODE_OK;
    });
}

IMTK_CFG_ERROR_CODE_T IMtkCfg_Open(IMTK_CFG_HANDLE_T* phHandle)
{
    return cfgCall_i("IMtkCfg_Open", false, 0, [&](State& s) {
        if (phHandle == nullptr)
            return IMTK_CFG_ERROR_CODE_INV_ARG;
        *phHandle = s.nextCfgHandle++;
        s.cfgHandles.insert(*phHandle);
        return IMTK_CFG_ERROR_CODE_OK;
    });
}

IMTK_CFG_ERROR_CODE_T IMtkCfg_Close(IMTK_CFG_HANDLE_T hHandle)
{
    return cfgCall_i("IMtkCfg_Close", true, hHandle, [&](State& s) {
        s.cfgHandles.erase(hHandle);
        return IMTK_CFG_ERROR_CODE_OK;
    });
}

IMTK_CFG_ERROR_CODE_T IMtkCfg_Get_Support_Format(IMTK_CFG_HANDLE_T hHandle,
                                                 IMTKCFG_SUPPORT_FORMAT_T* ptFormat)
{
    return cfgCall_i("IMtkCfg_Get_Support_Format", true, hHandle, [&](State& s) {
        if (ptFormat == nullptr)
            return IMTK_CFG_ERROR_CODE_INV_ARG;
        *ptFormat = s.supportFormat;
        return IMTK_CFG_ERROR_CODE_OK;
    });
}

IMTK_CFG_ERROR_CODE_T IMtkCfg_Vid_SetSourceInfo(IMTK_CFG_HANDLE_T hHandle,
                                                const IMTKCFG_VID_SOURCE_INFO_T* ptInfo)
{
    return cfgCall_i("IMtkCfg_Vid_SetSourceInfo", true, hHandle, [&](State& s) {
        if (ptInfo == nullptr || ptInfo->eFormat > IMTKCFG_VID_SRC_3D_TOP_AND_BOTTOM)
            return IMTK_CFG_ERROR_CODE_INV_ARG;
        s.sourceInfo = *ptInfo;
        return IMTK_CFG_ERROR_CODE_OK;
    });
}

IMTK_CFG_ERROR_CODE_T IMtkCfg_Vid_Get_Cps_Info(IMTK_CFG_HANDLE_T hHandle,
                                               IMTKCFG_VID_CPS_INFO_T* ptInfo)
{
    return cfgCall_i("IMtkCfg_Vid_Get_Cps_Info", true, hHandle, [&](State& s) {
        if (ptInfo == nullptr)
            return IMTK_CFG_ERROR_CODE_INV_ARG;
        *ptInfo = s.cps;
        return IMTK_CFG_ERROR_CODE_OK;
    });
}

IMTK_CFG_ERROR_CODE_T IMtkCfg_Vid_Set_Cps_Info(IMTK_CFG_HANDLE_T hHandle,
                                               const IMTKCFG_VID_CPS_INFO_T* ptInfo)
{
    return cfgCall_i("IMtkCfg_Vid_Set_Cps_Info", true, hHandle, [&](State& s) {
        if (ptInfo == nullptr)
            return IMTK_CFG_ERROR_CODE_INV_ARG;
        s.cps = *ptInfo;
        return IMTK_CFG_ERROR_CODE_OK;
    });
}

} // extern "C"

namespace SimPlatform {

bool cfgInitialized()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.cfgInit;
}

unsigned cfgOpenCount()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return static_cast<unsigned>(s.cfgHandles.size());
}

IMTKCFG_VID_CPS_INFO_T cfgCpsInfo()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.cps;
}

void setSupportFormat(const IMTKCFG_SUPPORT_FORMAT_T& format)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.supportFormat = format;
}

IMTKCFG_VID_SOURCE_INFO_T cfgSourceInfo()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.sourceInfo;
}

} // namespace SimPlatform
