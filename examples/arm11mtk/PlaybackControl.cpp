// The playback-control and configuration clients around each run of the core: mpbcinit,
// mpbcuninit, the dumyplay warm-up and the copy-protection reset (PlaybackControl.h). Messages
// go to standard output, as the device's entry prints them.
#include "PlaybackControl.h"

#include "DeviceState.h"
#include "PlaybackFlags.h"

#include <cstdio>
#include <pthread.h>
#include <unistd.h>

void mpbcinit()
{
    sleep(1);
    puts("[kelo mpbcinit] IMtkPb_Ctrl_Init");
    IMtkPb_Ctrl_Init();
    IMTK_PB_HANDLE_T handle = IMTK_NULL_HANDLE;
    IMTK_PB_ERROR_CODE_T pbRet =
        IMtkPb_Ctrl_Open(&handle, IMTK_PB_CTRL_BUFFERING_MODEL_PUSH, IMTK_PB_CTRL_APP_MASTER, 0);
    if (pbRet == IMTK_PB_ERROR_CODE_OK) {
        gh_handle = handle;
        printf("[kelo mpbcinit]IMtkPb_Ctrl_Open %d \n", handle);
    } else {
        printf("[kelo mpbcinit]IMtkPb_Ctrl_Open fail %d \n", pbRet);
    }
    // Read before the configuration client is opened (on the first run the handle is still
    // unset); the device does it in this order.
    IMTK_CFG_ERROR_CODE_T ret = IMtkCfg_Vid_Get_Cps_Info(hCfgHandle, &g_t_cps_info);
    if (ret != IMTK_CFG_ERROR_CODE_OK)
        printf("[kelostub] SAVE IMtkCfg_Vid_Set_Cps_Info Fail...Error Code=%d\n", ret);
    puts("[kelo mpbcinit] IMtkCfg_Init");
    ret = IMtkCfg_Init();
    if (ret != IMTK_CFG_ERROR_CODE_OK)
        printf("[kelo mpbcinit] IMtkCfg_Init Failed...Error Code=%d\n", ret);
    uint8_t count = 0;
    ret = IMtkCfg_Count(&count);
    if (ret != IMTK_CFG_ERROR_CODE_OK)
        printf("[kelo mpbcinit] IMtkCfg_Count Fail...Error Code=%d\n", ret);
    puts("[kelo mpbcinit] IMtkCfg_Open");
    IMTK_CFG_HANDLE_T cfg = hCfgHandle;
    ret = IMtkCfg_Open(&cfg);
    if (ret == IMTK_CFG_ERROR_CODE_OK)
        hCfgHandle = cfg;
    else
        printf("[kelo mpbcinit] IMtkCfg_Open Fail...Error Code=%d\n", ret);
    puts("[kelo mpbcinit] start dumyplay");
    pthread_t thread;
    if (pthread_create(&thread, nullptr, dumyplay, nullptr) == 0)
        pthread_detach(thread);
}

void mpbcuninit()
{
    const IMTK_PB_HANDLE_T handle = gh_handle;
    if (handle == IMTK_NULL_HANDLE) {
        puts("[kelo tester] IMtkPb_Ctrl_Close, gh_handle != (~0)");
    } else {
        if (IMtkPb_Ctrl_Close(handle) == IMTK_PB_ERROR_CODE_OK)
            puts("[kelo tester] IMtkPb_Ctrl_Close successful");
        gh_handle = IMTK_NULL_HANDLE;
        IMtkPb_Ctrl_Terminate();
    }
    const IMTK_CFG_HANDLE_T cfg = hCfgHandle;
    if (cfg == -1) {
        puts("[kelo tester] error IMtkcfg_client Close, IMTK_NULL_HANDLE != hCfgHandle");
        return;
    }
    puts("[kelo tester] quit kelo call copyprotectionreset");
    copyprotectionreset();
    puts("[kelo tester] IMtkCfg_Close");
    IMTK_CFG_ERROR_CODE_T ret = IMtkCfg_Close(cfg);
    if (ret != IMTK_CFG_ERROR_CODE_OK)
        printf("[main] IMtkCfg_Terminate Failed...Error Code=%d\n", ret);
    puts("[kelo tester] IMtkCfg_Terminate");
    ret = IMtkCfg_Terminate();
    if (ret != IMTK_CFG_ERROR_CODE_OK)
        printf("[main] IMtkCfg_Terminate Failed...Error Code=%d\n", ret);
}

void copyprotectionreset()
{
    if (!support_soc)
        return;
    IMTK_CFG_ERROR_CODE_T ret = IMtkCfg_Vid_Set_Cps_Info(hCfgHandle, &g_t_cps_info);
    if (ret != IMTK_CFG_ERROR_CODE_OK)
        printf("[kelo tester] copyprotectionreset failed! ERR = %d \n", ret);
}

static bool quitting_i()
{
    if (!_fgKeloQuit)
        return false;
    printf("[kelo dumyplay]stop, because receive KELO stop command\n");
    ++g_u4WarmUpsDone;
    return true;
}

void* dumyplay(void* /*unused*/)
{
    if (quitting_i())
        return nullptr;
    _StartPlayer = 1;
    sleep(2);
    if (quitting_i()) {
        _StartPlayer = 0;
        return nullptr;
    }
    const IMTK_PB_HANDLE_T handle = gh_handle;

    IMTK_PB_CTRL_ENGINE_PARAM_T param = {};
    param.eBufferingModel = IMTK_PB_CTRL_BUFFERING_MODEL_PUSH;
    IMTK_PB_ERROR_CODE_T ret = IMtkPb_Ctrl_SetEngineParam(handle, &param);
    printf("[kelo dumyplay]IMtkPb_Ctrl_SetEngineParam %d\n", ret);

    IMTK_PB_CTRL_SET_MEDIA_INFO_T info = {};
    info.eMediaType = IMTK_PB_CTRL_MEDIA_TYPE_MPEG2_TS;
    info.eVidEnc = IMTK_PB_CTRL_VID_ENC_H264;
    info.eAudEnc = IMTK_PB_CTRL_AUD_ENC_DD;
    info.fgSynchronized = true;
    ret = IMtkPb_Ctrl_SetMediaInfo(handle, &info);
    printf("[kelo dumyplay]IMtkPb_Ctrl_SetMediaInfo %d\n", ret);

    ret = IMtkPb_Ctrl_RegCallback(handle, nullptr, pb_prog_nfy_fct);
    printf("[kelo dumyplay]IMtkPb_Ctrl_RegCallback %d\n", ret);

    ret = IMtkPb_Ctrl_Play(handle, 0);
    printf("[kelo dumyplay]IMtkPb_Ctrl_Play %d\n", ret);

    ret = IMtkPb_Ctrl_Stop(handle);
    printf("[kelo dumyplay]IMtkPb_Ctrl_Stop %d\n", ret);
    if (ret != IMTK_PB_ERROR_CODE_OK)
        usleep(500 * 1000);

    ret = IMtkPb_Ctrl_SetMediaInfo(handle, nullptr);
    printf("[kelo dumyplay]IMtkPb_Ctrl_SetMediaInfo(NULL) %d\n", ret);
    _StartPlayer = 0;
    ++g_u4WarmUpsDone;
    return nullptr;
}
