#ifndef ARM11MTK_KELO_MSG_RECORDS_H
#define ARM11MTK_KELO_MSG_RECORDS_H
// The payload records of the host protocol and the message record KELO_MSG_T that carries
// them (included by kelouipc/kelo_ipc.h). Sizes and offsets are the protocol's and are checked
// with static_assert; enumerated fields are 32-bit integers with the constants listed beside
// them.
#include "kapi/KapiTypes.h"

#include <cstddef>

typedef uint32 KELO_HANDLE_T;
typedef uint8 KELO_BOOL_T;

// KELO_CHANGE_ZOOM_MSG_T::t_op and KELO_INIT_MSG_T::r_zoom
enum : int32
{
    ZOOM_IN = 0,
    ZOOM_OUT = 1,
    ZOOM_2X = 2,
    ZOOM_1X = 3,
    ZOOM_1_2X = 4,
    ZOOM_AUTO_FIX_WIDTH = 5
};

struct KELO_RESOLUTION_T
{
    uint32 ui4_width;
    uint32 ui4_height;
};

struct KELO_CHANGE_ZOOM_MSG_T
{
    int32 t_op;
};

struct KELO_INIT_MSG_T
{
    KELO_RESOLUTION_T r_res;
    KELO_CHANGE_ZOOM_MSG_T r_zoom;
};

struct KELO_STA_MSG_T
{
    int32 eStatus; // 0 = KELO_STA_ALIVE
};

struct KELO_WIND_RECT_T
{
    uint32 u4_x;
    uint32 u4_y;
    uint32 u4_width;
    uint32 u4_hight;
};

struct KELO_OPEN_WIND_MSG_T
{
    KELO_HANDLE_T h_tab_handle;
    KELO_WIND_RECT_T t_wind_rect;
};

struct KELO_OPEN_WIND_MSG_RET_T
{
    KELO_HANDLE_T h_tab_handle;
    KELO_HANDLE_T hWindow;
};

struct KELO_CLOSE_WIND_MSG_T
{
    KELO_HANDLE_T hWindow;
};

struct KELO_CLOSE_WIND_MSG_RET_T
{
    int32 i4RetValue;
};

struct KELO_OPEN_URL_MSG_T
{
    KELO_HANDLE_T h_wind;
    char pcSiteAdd[1024];
};

struct KELO_OPEN_URL_MSG_RET_T
{
};

struct KELO_WINDOW_PROPERTIES_MSG_T
{
    KELO_HANDLE_T h_wind;
    char pcDocumentTitle[255];
    KELO_BOOL_T hasBackward;
    KELO_BOOL_T hasForward;
};

struct KELO_INPUT_RECT_T
{
    int32 x;
    int32 y;
    int32 w;
    int32 h;
};

struct KELO_NEED_INPUT_BOX_MSG_T
{
    KELO_HANDLE_T hIme;
    KELO_INPUT_RECT_T tRect;
    char pcInputStr[1024];
    int32 tType; // 0 string, 1 password
};

struct KELO_INPUT_STRING_MSG_T
{
    KELO_HANDLE_T hIme;
    char pcInputStr[1024];
};

struct KELO_PROXY_SERVER_T
{
    KELO_BOOL_T fgIsUseHttpProxy;
    KELO_BOOL_T fgIsUseHttpsProxy;
    KELO_BOOL_T fgIsUseFtpProxy;
    char pcHttpProxyServer[255];
    char pcHttpsProxyServer[255];
    char pcFtpProxyServer[255];
};

struct KELO_CLEAR_T
{
    int32 tType; // 0 cookie, 1 history, 2 cache, 3 cert, 4 all
};

struct KELO_WINDOW_HANDLE_T
{
    KELO_HANDLE_T hWindow;
};

struct KELO_TAB_NAVI_CMD_MSG_T
{
    int32 t_cmd; // 1 previous, 2 next, 4 reload, 8 stop
    KELO_HANDLE_T hWindow;
};

struct KELO_PLUGIN_NEW_STREAM_T
{
    KELO_HANDLE_T pPlugin;
    char cUrl[512];
    int32 i4X;
    int32 i4Y;
    uint32 ui4Width;
    uint32 ui4Height;
    int32 tType; // 0 flash, 1 wma, 2 mp4
};

struct KELO_PLUGIN_WINDOW_T
{
    KELO_HANDLE_T pPlugin;
    int32 i4X;
    int32 i4Y;
    uint32 ui4Width;
    uint32 ui4Height;
};

struct KELO_PLUGIN_DESTROY_STREAM_T
{
    KELO_HANDLE_T pStream;
    KELO_HANDLE_T pPlugin;
};

struct KELO_PLUGIN_NEW_STREAM_DONE_T
{
    KELO_HANDLE_T pStream;
};

struct KELO_PLUGIN_ACTIVATE_STREAM_DONE_T
{
    KELO_HANDLE_T pPlugin;
};

struct KELO_PLUGIN_FL_PLAY_VIDEO_T
{
    char cUrl[512];
};

struct KELO_PLUGIN_DESTROY_T
{
    KELO_HANDLE_T pPlugin;
};

struct KELO_PLUGIN_DESTROY_DONE_T
{
    KELO_HANDLE_T pPlugin;
};

struct KELO_CHANGE_RES_MSG_T
{
    uint32 ui4_width;
    uint32 ui4_height;
};

struct KELO_INPUT_HOT_PLUG_MSG_T
{
    int32 t_type; // 0 none, 1 keyboard, 2 mouse
    KELO_BOOL_T is_plug_in;
};

struct KELO_ENCODING_MSG_T
{
    int32 t_type; // text encoding 0..44 (0 automatic, 1 UTF-8, ...)
};

struct KELO_HISTORY_COUNT_MSG_T
{
    uint32 i4Count;
};

struct KELO_HISTORY_MSG_T
{
    char url[512];
    char title[255];
};

struct KELO_UPDATE_TIME_T
{
    int32 status;
    alignas(8) uint64 time; // 8-aligned on every target, as on the device
};

union KELO_MSG_DATA_T {
    KELO_INIT_MSG_T rKeloInitMsg;
    KELO_STA_MSG_T rKeloStatusMsg;
    KELO_OPEN_WIND_MSG_T rOpenWindMsg;
    KELO_OPEN_WIND_MSG_RET_T rOpenWindMsgRet;
    KELO_CLOSE_WIND_MSG_T rCloseWindMsg;
    KELO_CLOSE_WIND_MSG_RET_T rCloseWindMsgRet;
    KELO_OPEN_URL_MSG_T rOpenUrlMsg;
    KELO_OPEN_URL_MSG_RET_T rOpenUrlMsgRet;
    KELO_WINDOW_PROPERTIES_MSG_T rWindowPropertiesMsg;
    KELO_NEED_INPUT_BOX_MSG_T rNeedInputBoxMsg;
    KELO_INPUT_STRING_MSG_T rInputStringMsg;
    KELO_PROXY_SERVER_T rProxy;
    KELO_CLEAR_T rClear;
    KELO_WINDOW_HANDLE_T rWinHandle;
    KELO_TAB_NAVI_CMD_MSG_T rTabNaviCmdMsg;
    KELO_PLUGIN_NEW_STREAM_T rPluginNewStream;
    KELO_PLUGIN_WINDOW_T rPluginWindow;
    KELO_PLUGIN_DESTROY_STREAM_T rPluginDestroyStream;
    KELO_PLUGIN_NEW_STREAM_DONE_T rPluginNewStreamDone;
    KELO_PLUGIN_ACTIVATE_STREAM_DONE_T rPluginActivateStream;
    KELO_PLUGIN_FL_PLAY_VIDEO_T rPluginFLPlay;
    KELO_PLUGIN_DESTROY_T rPluginDestroy;
    KELO_PLUGIN_DESTROY_DONE_T rPluginDetroyDone;
    KELO_CHANGE_RES_MSG_T rChangeResMsg;
    KELO_CHANGE_ZOOM_MSG_T rChangeZoomMsg;
    KELO_INPUT_HOT_PLUG_MSG_T rHotPlugMsg;
    KELO_ENCODING_MSG_T rEncodingMsg;
    KELO_HISTORY_COUNT_MSG_T rHistoryCountMsg;
    KELO_HISTORY_MSG_T rHistoryMsg;
    KELO_UPDATE_TIME_T rUpdatetime;
};

struct KELO_MSG_T
{
    int32 tMsgType; // also the System V message type
    uint8 padding[4];
    KELO_MSG_DATA_T uMsgData;
};

// ---- the protocol's layout ----
#define KELO_CHECK_RECORD(T, size) static_assert(sizeof(T) == (size), #T " size")
#define KELO_CHECK_FIELD(T, field, offset)                                                         \
    static_assert(offsetof(T, field) == (offset), #T "::" #field " offset")

KELO_CHECK_RECORD(KELO_INIT_MSG_T, 12);
KELO_CHECK_FIELD(KELO_INIT_MSG_T, r_res.ui4_width, 0);
KELO_CHECK_FIELD(KELO_INIT_MSG_T, r_res.ui4_height, 4);
KELO_CHECK_FIELD(KELO_INIT_MSG_T, r_zoom.t_op, 8);
KELO_CHECK_RECORD(KELO_STA_MSG_T, 4);
KELO_CHECK_RECORD(KELO_OPEN_WIND_MSG_T, 20);
KELO_CHECK_FIELD(KELO_OPEN_WIND_MSG_T, t_wind_rect.u4_x, 4);
KELO_CHECK_FIELD(KELO_OPEN_WIND_MSG_T, t_wind_rect.u4_hight, 16);
KELO_CHECK_RECORD(KELO_OPEN_WIND_MSG_RET_T, 8);
KELO_CHECK_FIELD(KELO_OPEN_WIND_MSG_RET_T, hWindow, 4);
KELO_CHECK_RECORD(KELO_CLOSE_WIND_MSG_T, 4);
KELO_CHECK_RECORD(KELO_CLOSE_WIND_MSG_RET_T, 4);
KELO_CHECK_RECORD(KELO_OPEN_URL_MSG_T, 1028);
KELO_CHECK_FIELD(KELO_OPEN_URL_MSG_T, pcSiteAdd, 4);
KELO_CHECK_RECORD(KELO_OPEN_URL_MSG_RET_T, 1);
KELO_CHECK_RECORD(KELO_WINDOW_PROPERTIES_MSG_T, 264);
KELO_CHECK_FIELD(KELO_WINDOW_PROPERTIES_MSG_T, pcDocumentTitle, 4);
KELO_CHECK_FIELD(KELO_WINDOW_PROPERTIES_MSG_T, hasBackward, 259);
KELO_CHECK_FIELD(KELO_WINDOW_PROPERTIES_MSG_T, hasForward, 260);
KELO_CHECK_RECORD(KELO_NEED_INPUT_BOX_MSG_T, 1048);
KELO_CHECK_FIELD(KELO_NEED_INPUT_BOX_MSG_T, tRect, 4);
KELO_CHECK_FIELD(KELO_NEED_INPUT_BOX_MSG_T, pcInputStr, 20);
KELO_CHECK_FIELD(KELO_NEED_INPUT_BOX_MSG_T, tType, 1044);
KELO_CHECK_RECORD(KELO_INPUT_STRING_MSG_T, 1028);
KELO_CHECK_FIELD(KELO_INPUT_STRING_MSG_T, pcInputStr, 4);
KELO_CHECK_RECORD(KELO_PROXY_SERVER_T, 768);
KELO_CHECK_FIELD(KELO_PROXY_SERVER_T, fgIsUseHttpsProxy, 1);
KELO_CHECK_FIELD(KELO_PROXY_SERVER_T, fgIsUseFtpProxy, 2);
KELO_CHECK_FIELD(KELO_PROXY_SERVER_T, pcHttpProxyServer, 3);
KELO_CHECK_FIELD(KELO_PROXY_SERVER_T, pcHttpsProxyServer, 258);
KELO_CHECK_FIELD(KELO_PROXY_SERVER_T, pcFtpProxyServer, 513);
KELO_CHECK_RECORD(KELO_CLEAR_T, 4);
KELO_CHECK_RECORD(KELO_WINDOW_HANDLE_T, 4);
KELO_CHECK_RECORD(KELO_TAB_NAVI_CMD_MSG_T, 8);
KELO_CHECK_FIELD(KELO_TAB_NAVI_CMD_MSG_T, hWindow, 4);
KELO_CHECK_RECORD(KELO_PLUGIN_NEW_STREAM_T, 536);
KELO_CHECK_FIELD(KELO_PLUGIN_NEW_STREAM_T, cUrl, 4);
KELO_CHECK_FIELD(KELO_PLUGIN_NEW_STREAM_T, i4X, 516);
KELO_CHECK_FIELD(KELO_PLUGIN_NEW_STREAM_T, i4Y, 520);
KELO_CHECK_FIELD(KELO_PLUGIN_NEW_STREAM_T, ui4Width, 524);
KELO_CHECK_FIELD(KELO_PLUGIN_NEW_STREAM_T, ui4Height, 528);
KELO_CHECK_FIELD(KELO_PLUGIN_NEW_STREAM_T, tType, 532);
KELO_CHECK_RECORD(KELO_PLUGIN_WINDOW_T, 20);
KELO_CHECK_FIELD(KELO_PLUGIN_WINDOW_T, i4X, 4);
KELO_CHECK_FIELD(KELO_PLUGIN_WINDOW_T, i4Y, 8);
KELO_CHECK_FIELD(KELO_PLUGIN_WINDOW_T, ui4Width, 12);
KELO_CHECK_FIELD(KELO_PLUGIN_WINDOW_T, ui4Height, 16);
KELO_CHECK_RECORD(KELO_PLUGIN_DESTROY_STREAM_T, 8);
KELO_CHECK_FIELD(KELO_PLUGIN_DESTROY_STREAM_T, pPlugin, 4);
KELO_CHECK_RECORD(KELO_PLUGIN_NEW_STREAM_DONE_T, 4);
KELO_CHECK_RECORD(KELO_PLUGIN_ACTIVATE_STREAM_DONE_T, 4);
KELO_CHECK_RECORD(KELO_PLUGIN_FL_PLAY_VIDEO_T, 512);
KELO_CHECK_RECORD(KELO_PLUGIN_DESTROY_T, 4);
KELO_CHECK_RECORD(KELO_PLUGIN_DESTROY_DONE_T, 4);
KELO_CHECK_RECORD(KELO_CHANGE_RES_MSG_T, 8);
KELO_CHECK_FIELD(KELO_CHANGE_RES_MSG_T, ui4_height, 4);
KELO_CHECK_RECORD(KELO_CHANGE_ZOOM_MSG_T, 4);
KELO_CHECK_RECORD(KELO_INPUT_HOT_PLUG_MSG_T, 8);
KELO_CHECK_FIELD(KELO_INPUT_HOT_PLUG_MSG_T, is_plug_in, 4);
KELO_CHECK_RECORD(KELO_ENCODING_MSG_T, 4);
KELO_CHECK_RECORD(KELO_HISTORY_COUNT_MSG_T, 4);
KELO_CHECK_RECORD(KELO_HISTORY_MSG_T, 767);
KELO_CHECK_FIELD(KELO_HISTORY_MSG_T, title, 512);
KELO_CHECK_RECORD(KELO_UPDATE_TIME_T, 16);
KELO_CHECK_FIELD(KELO_UPDATE_TIME_T, time, 8);
KELO_CHECK_RECORD(KELO_MSG_DATA_T, 1048);
KELO_CHECK_RECORD(KELO_MSG_T, 1056);
KELO_CHECK_FIELD(KELO_MSG_T, tMsgType, 0);
KELO_CHECK_FIELD(KELO_MSG_T, uMsgData, 8);
static_assert(alignof(KELO_MSG_T) == 8, "KELO_MSG_T is 8-byte aligned");

#undef KELO_CHECK_RECORD
#undef KELO_CHECK_FIELD

#endif
