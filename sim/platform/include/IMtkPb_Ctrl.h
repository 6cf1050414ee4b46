#ifndef SIM_PLATFORM_IMTKPB_CTRL_H
#define SIM_PLATFORM_IMTKPB_CTRL_H
/*
 * The device's playback-control client: a handle-based C API to the platform's media player.
 * Every call returns an IMTK_PB_ERROR_CODE_T, 0 for success. A client calls IMtkPb_Ctrl_Init
 * once, opens a handle, describes the media (engine parameters, media information), registers
 * a notification callback and then pushes transport-stream bytes: IMtkPb_Ctrl_GetBuffer lends
 * a buffer of the controller's, IMtkPb_Ctrl_SendData hands it back filled. Play, Pause and Stop
 * move the handle between playing, paused and stopped. Notifications arrive on the library's
 * own thread.
 *
 * Handle state: OPENED (no media) -> SetMediaInfo -> READY -> Play -> PLAYING <-> PAUSED;
 * Stop -> STOPPED (media kept); SetMediaInfo(NULL) outside PLAYING/PAUSED returns to OPENED.
 * Pushing data and Play need media information; changing it while playing is refused.
 */
#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t IMTK_PB_HANDLE_T;
#define IMTK_NULL_HANDLE ((IMTK_PB_HANDLE_T)-1)

typedef enum
{
    IMTK_PB_ERROR_CODE_OK = 0,
    IMTK_PB_ERROR_CODE_NOT_OK = -1,
    IMTK_PB_ERROR_CODE_INV_ARG = -2,
    IMTK_PB_ERROR_CODE_INV_HANDLE = -3,
    IMTK_PB_ERROR_CODE_NOT_INIT = -4,
    IMTK_PB_ERROR_CODE_INV_STATE = -5,
    IMTK_PB_ERROR_CODE_NO_RESOURCE = -6,
    /* IMtkPb_Ctrl_GetBuffer: no buffer free yet; IMTK_PB_CTRL_EVENT_GET_BUF_READY follows. */
    IMTK_PB_ERROR_CODE_GET_BUF_PENDING = -100
} IMTK_PB_ERROR_CODE_T;

typedef enum
{
    IMTK_PB_CTRL_BUFFERING_MODEL_UNKNOWN = 0,
    IMTK_PB_CTRL_BUFFERING_MODEL_URI = 1,
    IMTK_PB_CTRL_BUFFERING_MODEL_PULL = 2,
    IMTK_PB_CTRL_BUFFERING_MODEL_PUSH = 3
} IMTK_PB_CTRL_BUFFERING_MODEL_T;

typedef enum
{
    IMTK_PB_CTRL_OPERATING_MODEL_UNKNOWN = 0,
    IMTK_PB_CTRL_APP_MASTER = 1,
    IMTK_PB_CTRL_LIB_MASTER = 2
} IMTK_PB_CTRL_OPERATING_MODEL_T;

typedef enum
{
    IMTK_PB_CTRL_MEDIA_TYPE_UNKNOWN = 0,
    IMTK_PB_CTRL_MEDIA_TYPE_MPEG2_TS = 1,
    IMTK_PB_CTRL_MEDIA_TYPE_MPEG2_PS = 2,
    IMTK_PB_CTRL_MEDIA_TYPE_VIDEO_ES = 3,
    IMTK_PB_CTRL_MEDIA_TYPE_MP4 = 4,
    IMTK_PB_CTRL_MEDIA_TYPE_MKV = 5,
    IMTK_PB_CTRL_MEDIA_TYPE_AUDIO_ES = 6
} IMTK_PB_CTRL_MEDIA_TYPE_T;

typedef enum
{
    IMTK_PB_CTRL_VID_ENC_UNKNOWN = 0,
    IMTK_PB_CTRL_VID_ENC_MPEG1_2 = 1,
    IMTK_PB_CTRL_VID_ENC_H264 = 2
} IMTK_PB_CTRL_VID_ENC_T;

typedef enum
{
    IMTK_PB_CTRL_AUD_ENC_UNKNOWN = 0,
    IMTK_PB_CTRL_AUD_ENC_DD = 1,
    IMTK_PB_CTRL_AUD_ENC_AAC = 2,
    IMTK_PB_CTRL_AUD_ENC_MP3 = 3
} IMTK_PB_CTRL_AUD_ENC_T;

typedef enum
{
    IMTK_PB_CTRL_EVENT_UNKNOWN = 0,
    IMTK_PB_CTRL_EVENT_CUR_TIME_UPDATE = 1,
    IMTK_PB_CTRL_EVENT_BUFFER_UNDERFLOW = 2,
    IMTK_PB_CTRL_EVENT_EOS = 3,
    IMTK_PB_CTRL_EVENT_GET_BUF_READY = 4,
    IMTK_PB_CTRL_EVENT_PLAYBACK_ERROR = 5
} IMTK_PB_CTRL_EVENT_T;

typedef enum
{
    IMTK_PB_CTRL_EXTRA_INFO_TYPE_UNKNOWN = 0,
    /* pvInfo points to a uint32_t layout: 0 top/bottom, 1 bottom/top, 2 side by side (left
       first), 3 side by side (right first). */
    IMTK_PB_CTRL_EXTRA_INFO_TYPE_3D_LAYOUT = 4
} IMTK_PB_CTRL_EXTRA_INFO_TYPE_T;

/* In units of 1/10000 of the screen. */
typedef struct
{
    uint32_t u4X;
    uint32_t u4Y;
    uint32_t u4W;
    uint32_t u4H;
} IMTK_PB_CTRL_RECT_T;

typedef struct
{
    IMTK_PB_CTRL_BUFFERING_MODEL_T eBufferingModel;
    /* Size of the controller's ring buffer in bytes; 0 chooses the default (2 MiB). */
    uint32_t u4BufferSize;
    uint32_t u4Flags;
} IMTK_PB_CTRL_ENGINE_PARAM_T;

typedef struct
{
    IMTK_PB_CTRL_MEDIA_TYPE_T eMediaType;
    IMTK_PB_CTRL_VID_ENC_T eVidEnc;
    IMTK_PB_CTRL_AUD_ENC_T eAudEnc;
    uint16_t u2VideoPid;
    uint16_t u2AudioPid;
    /* Audio and video are presented in step. */
    bool fgSynchronized;
    /* Milliseconds; 0 when unknown. */
    uint32_t u4TotalDuration;
} IMTK_PB_CTRL_SET_MEDIA_INFO_T;

typedef int32_t (*IMtkPb_Ctrl_Nfy_Fct)(IMTK_PB_CTRL_EVENT_T eEvent, void* pvTag, uint32_t u4Data);

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Init(void);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Terminate(void);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Open(IMTK_PB_HANDLE_T* phHandle,
                                      IMTK_PB_CTRL_BUFFERING_MODEL_T eBufferingModel,
                                      IMTK_PB_CTRL_OPERATING_MODEL_T eOperatingModel,
                                      uint32_t u4Flags);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Close(IMTK_PB_HANDLE_T hHandle);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetDisplayRectangle(IMTK_PB_HANDLE_T hHandle,
                                                     const IMTK_PB_CTRL_RECT_T* ptRect);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetEngineParam(IMTK_PB_HANDLE_T hHandle,
                                                const IMTK_PB_CTRL_ENGINE_PARAM_T* ptParam);
/* ptInfo NULL clears the media information. */
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetMediaInfo(IMTK_PB_HANDLE_T hHandle,
                                              const IMTK_PB_CTRL_SET_MEDIA_INFO_T* ptInfo);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_RegCallback(IMTK_PB_HANDLE_T hHandle, void* pvTag,
                                             IMtkPb_Ctrl_Nfy_Fct pfnCallback);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_GetBuffer(IMTK_PB_HANDLE_T hHandle, uint32_t u4Size,
                                           uint8_t** ppu1Buffer);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SendData(IMTK_PB_HANDLE_T hHandle, uint32_t u4Size,
                                          uint8_t* pu1Buffer);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetPushModelEOS(IMTK_PB_HANDLE_T hHandle);
/* u4StartTime in milliseconds. */
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Play(IMTK_PB_HANDLE_T hHandle, uint32_t u4StartTime);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Pause(IMTK_PB_HANDLE_T hHandle);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Stop(IMTK_PB_HANDLE_T hHandle);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_ClearVideo(IMTK_PB_HANDLE_T hHandle);
/* Presentation time of the picture on screen, in milliseconds. */
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_GetCurrentPTS(IMTK_PB_HANDLE_T hHandle, uint32_t* pu4CurTime);
IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetExtraInfo(IMTK_PB_HANDLE_T hHandle,
                                              IMTK_PB_CTRL_EXTRA_INFO_TYPE_T eType,
                                              const void* pvInfo);

#ifdef __cplusplus
}
#endif

#endif
