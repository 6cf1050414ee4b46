// The playback flags and the controller's notification callback.
#include "PlaybackFlags.h"

#include "DeviceState.h"

#include <cstdio>

std::atomic<bool> g_StartReady{false};
std::atomic<bool> g_fgIsEosCb{false};
std::atomic<bool> g_fgUnderflow{false};
std::atomic<uint32> g_u4GetBufPending{0};
std::atomic<uint32> g_u4GetBufReady{0};
std::atomic<int32> g_i4LastGetBufResult{0};
std::atomic<uint32> g_u4WarmUpsDone{0};

int32 pb_prog_nfy_fct(IMTK_PB_CTRL_EVENT_T event, void* /*tag*/, uint32_t /*data*/)
{
    switch (event) {
    case IMTK_PB_CTRL_EVENT_EOS:
        g_fgIsEosCb = true;
        g_fgUnderflow = false;
        printf("[kelo tester] received EOS callback!\n");
        break;
    case IMTK_PB_CTRL_EVENT_GET_BUF_READY:
        ++g_u4GetBufReady;
        g_i4LastGetBufResult = 0;
        break;
    case IMTK_PB_CTRL_EVENT_BUFFER_UNDERFLOW:
        g_fgUnderflow = true;
        break;
    default:
        break;
    }
    return 0;
}

void resetPlaybackFlags()
{
    _StartPlayer = 0;
    g_StartReady = false;
    g_fgIsEosCb = false;
    g_fgUnderflow = false;
    g_u4GetBufPending = 0;
    g_u4GetBufReady = 0;
    g_i4LastGetBufResult = 0;
}
