#ifndef SIM_PLATFORM_IMTKCFG_H
#define SIM_PLATFORM_IMTKCFG_H
/*
 * The device's configuration client: output and display settings of the platform (supported
 * television formats, the video source description for 3D output, analogue copy protection).
 * IMtkCfg_Init starts the client library, IMtkCfg_Open gives a handle that every setting call
 * takes, IMtkCfg_Close and IMtkCfg_Terminate undo them. Every call returns an
 * IMTK_CFG_ERROR_CODE_T, 0 for success.
 */
#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t IMTK_CFG_HANDLE_T;

typedef enum
{
    IMTK_CFG_ERROR_CODE_OK = 0,
    IMTK_CFG_ERROR_CODE_NOT_OK = -1,
    IMTK_CFG_ERROR_CODE_INV_ARG = -2,
    IMTK_CFG_ERROR_CODE_INV_HANDLE = -3,
    IMTK_CFG_ERROR_CODE_NOT_INIT = -4
} IMTK_CFG_ERROR_CODE_T;

/* Analogue copy-protection settings of the video output (3 bytes). */
typedef struct
{
    uint8_t u1Cgms;
    uint8_t u1Aps;
    bool fgICT;
} IMTKCFG_VID_CPS_INFO_T;

/* CEA resolution bits of the connected television: u4Cea3D is 0 when it shows no 3D. */
typedef struct
{
    uint32_t u4Cea2D;
    uint32_t u4Cea3D;
} IMTKCFG_SUPPORT_FORMAT_T;

typedef enum
{
    IMTKCFG_VID_SRC_2D = 0,
    IMTKCFG_VID_SRC_3D_FRAME_PACKED = 1,
    IMTKCFG_VID_SRC_3D_SIDE_BY_SIDE = 2,
    IMTKCFG_VID_SRC_3D_TOP_AND_BOTTOM = 3
} IMTKCFG_VID_SRC_FORMAT_T;

typedef struct
{
    IMTKCFG_VID_SRC_FORMAT_T eFormat;
    uint32_t u4Width;
    uint32_t u4Height;
} IMTKCFG_VID_SOURCE_INFO_T;

IMTK_CFG_ERROR_CODE_T IMtkCfg_Init(void);
IMTK_CFG_ERROR_CODE_T IMtkCfg_Terminate(void);
/* Number of configuration handles open in the process. */
IMTK_CFG_ERROR_CODE_T IMtkCfg_Count(uint8_t* pu1Count);
IMTK_CFG_ERROR_CODE_T IMtkCfg_Open(IMTK_CFG_HANDLE_T* phHandle);
IMTK_CFG_ERROR_CODE_T IMtkCfg_Close(IMTK_CFG_HANDLE_T hHandle);
IMTK_CFG_ERROR_CODE_T IMtkCfg_Get_Support_Format(IMTK_CFG_HANDLE_T hHandle,
                                                 IMTKCFG_SUPPORT_FORMAT_T* ptFormat);
IMTK_CFG_ERROR_CODE_T IMtkCfg_Vid_SetSourceInfo(IMTK_CFG_HANDLE_T hHandle,
                                                const IMTKCFG_VID_SOURCE_INFO_T* ptInfo);
IMTK_CFG_ERROR_CODE_T IMtkCfg_Vid_Get_Cps_Info(IMTK_CFG_HANDLE_T hHandle,
                                               IMTKCFG_VID_CPS_INFO_T* ptInfo);
IMTK_CFG_ERROR_CODE_T IMtkCfg_Vid_Set_Cps_Info(IMTK_CFG_HANDLE_T hHandle,
                                               const IMTKCFG_VID_CPS_INFO_T* ptInfo);

#ifdef __cplusplus
}
#endif

#endif
