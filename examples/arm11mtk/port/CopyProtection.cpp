// Copy-protection switching: one field of the configuration client's settings per standard.
#include "CopyProtection.h"

#include "DeviceState.h"

#include <cstdio>

namespace {

// CGMS-A marks as the analogue output carries them.
constexpr uint8_t kCgmsCopyOnce = 2;
constexpr uint8_t kCgmsCopyNever = 3;

bool apply_i(KELO::Display::CopyProtectionStandard standard, bool on)
{
    using KELO::Display;
    if (!support_soc) {
        std::printf("[kelostub] copy protection: no controls on this SoC\n");
        return false;
    }
    IMTKCFG_VID_CPS_INFO_T info = {};
    IMTK_CFG_ERROR_CODE_T result = IMtkCfg_Vid_Get_Cps_Info(hCfgHandle.load(), &info);
    if (result != IMTK_CFG_ERROR_CODE_OK) {
        std::printf("[kelostub] IMtkCfg_Vid_Get_Cps_Info Fail...Error Code=%d\n", result);
        return false;
    }
    switch (standard) {
    case Display::CP_MV_AGC:
    case Display::CP_MV_AGC_2LINE:
    case Display::CP_MV_AGC_4LINE:
        info.u1Aps = on ? static_cast<uint8_t>(standard) : 0;
        break;
    case Display::CP_CGMS_A_ONE_COPY:
        info.u1Cgms = on ? kCgmsCopyOnce : 0;
        break;
    case Display::CP_CGMS_A_NO_COPY:
        info.u1Cgms = on ? kCgmsCopyNever : 0;
        break;
    case Display::CP_SOC:
        info.fgICT = on;
        break;
    default:
        std::printf("[kelostub] copy protection: standard %d has no analogue control\n",
                    static_cast<int>(standard));
        return false;
    }
    result = IMtkCfg_Vid_Set_Cps_Info(hCfgHandle.load(), &info);
    if (result != IMTK_CFG_ERROR_CODE_OK) {
        std::printf("[kelostub] IMtkCfg_Vid_Set_Cps_Info Fail...Error Code=%d\n", result);
        return false;
    }
    return true;
}

} // namespace

bool kelo_copyprotection_on(KELO::Display::CopyProtectionStandard standard)
{
    return apply_i(standard, true);
}

bool kelo_copyprotection_off(KELO::Display::CopyProtectionStandard standard)
{
    return apply_i(standard, false);
}
