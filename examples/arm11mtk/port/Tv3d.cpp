// The 3D helpers over the configuration client.
#include "Tv3d.h"

#include "DeviceState.h"

#include <atomic>
#include <cstdio>

namespace {
std::atomic<bool> s_3dSource{false}; // the output carries a 3D source format we set
} // namespace

bool kelo_get_tv3dinfo()
{
    IMTKCFG_SUPPORT_FORMAT_T format = {};
    const IMTK_CFG_ERROR_CODE_T result = IMtkCfg_Get_Support_Format(hCfgHandle.load(), &format);
    if (result != IMTK_CFG_ERROR_CODE_OK || format.u4Cea3D == 0) {
        std::printf("[kelo tester]IMtkCfg_Get_Support_Format TV do not support 3D\n");
        return false;
    }
    return true;
}

bool kelo_set3d_resolution(IMTKCFG_VID_SRC_FORMAT_T format, uint32_t width, uint32_t height)
{
    const IMTKCFG_VID_SOURCE_INFO_T info = {format, width, height};
    const IMTK_CFG_ERROR_CODE_T result = IMtkCfg_Vid_SetSourceInfo(hCfgHandle.load(), &info);
    if (result != IMTK_CFG_ERROR_CODE_OK) {
        std::printf("[kelo tester] IMtkCfg_Vid_SetSourceInfo failed %d\n", result);
        return false;
    }
    s_3dSource = format != IMTKCFG_VID_SRC_2D;
    return true;
}

void kelo_reset3d_videomode()
{
    if (!s_3dSource.load()) {
        std::printf("[kelo tester] kelo_reset3d_resolution it is 2D movie, do not need to reset\n");
        return;
    }
    kelo_set3d_resolution(IMTKCFG_VID_SRC_2D, 1280, 720);
}
