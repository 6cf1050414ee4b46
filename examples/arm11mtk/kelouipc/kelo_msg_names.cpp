// Names of the host message types, for diagnostics and the host simulator: a table in type
// order; names are the enumerators' own spellings.
#include "kelouipc/kelo_ipc.h"

#include <cstring>

namespace {

struct MsgName
{
    int32 type;
    const char* name;
};

#define KELO_MSG_NAME(x)                                                                           \
    {                                                                                              \
        x, #x                                                                                      \
    }
const MsgName kNames[] = {
    KELO_MSG_NAME(KELO_MSG_STA_ID),
    KELO_MSG_NAME(KELO_MSG_STUB_INIT),
    KELO_MSG_NAME(KELO_MSG_STUB_INIT_DONE),
    KELO_MSG_NAME(KELO_MSG_STUB_UNINIT),
    KELO_MSG_NAME(KELO_MSG_STUB_UNINIT_RET),
    KELO_MSG_NAME(KELO_MSG_STUB_FINALIZE),
    KELO_MSG_NAME(KELO_MSG_STUB_FINALIZE_DONE),
    KELO_MSG_NAME(KELO_MSG_OPEN_WIND_ID),
    KELO_MSG_NAME(KELO_MSG_OPEN_WIND_RET_ID),
    KELO_MSG_NAME(KELO_MSG_CLOSE_WIND_ID),
    KELO_MSG_NAME(KELO_MSG_CLOSE_WIND_RET_ID),
    KELO_MSG_NAME(KELO_MSG_APP_GO_BG),
    KELO_MSG_NAME(KELO_MSG_APP_GO_FG),
    KELO_MSG_NAME(KELO_MSG_OPEN_URL),
    KELO_MSG_NAME(KELO_MSG_OPEN_URL_RET),
    KELO_MSG_NAME(KELO_MSG_LOADING_START),
    KELO_MSG_NAME(KELO_MSG_LOADING_FINISHED),
    KELO_MSG_NAME(KELO_MSG_WINDOW_PROPERTY),
    KELO_MSG_NAME(KELO_MSG_NEED_INPUT_BOX),
    KELO_MSG_NAME(KELO_MSG_INPUT_STRING),
    KELO_MSG_NAME(KELO_MSG_NEED_LOGIN_DIALOG),
    KELO_MSG_NAME(KELO_MSG_LOGIN),
    KELO_MSG_NAME(KELO_MSG_SET_PROXY),
    KELO_MSG_NAME(KELO_MSG_CLEAR),
    KELO_MSG_NAME(KELO_MSG_SET_WINDOW),
    KELO_MSG_NAME(KELO_MSG_KEEP_ALIVE),
    KELO_MSG_NAME(KELO_MSG_SERIOUS_ERROR_OCCURED),
    KELO_MSG_NAME(KELO_MSG_TAB_CMD),
    KELO_MSG_NAME(KELO_MSG_INFO_MSGBOX),
    KELO_MSG_NAME(KELO_MSG_CHANGE_RES),
    KELO_MSG_NAME(KELO_MSG_CHANGE_ZOOM),
    KELO_MSG_NAME(KELO_MSG_INPUT_HOT_PLUG),
    KELO_MSG_NAME(KELO_MSG_CHANGE_ENCODING),
    KELO_MSG_NAME(KELO_MSG_GET_HISTORY),
    KELO_MSG_NAME(KELO_MSG_HISTORY_COUNT),
    KELO_MSG_NAME(KELO_MSG_HISTORY),
    KELO_MSG_NAME(KELO_MSG_SS_STOP),
    KELO_MSG_NAME(KELO_MSG_SS_START),
    KELO_MSG_NAME(KELO_MSG_SS_ON),
    KELO_MSG_NAME(KELO_MSG_SS_OFF),
    KELO_MSG_NAME(KELO_MSG_NETWORK_SETUP),
    KELO_MSG_NAME(KELO_MSG_UPDATE_TIME),
    KELO_MSG_NAME(KELO_MSG_EXIT_SELF),
    KELO_MSG_NAME(KELO_MSG_SET_DISC_TYPE),
    KELO_MSG_NAME(KELO_MSG_DOWNLOAD_FILE),
    KELO_MSG_NAME(KELOST_MSG_PLUGIN_NEW_STREAM),
    KELO_MSG_NAME(KELOST_MSG_PLUGIN_SET_WINDOW),
    KELO_MSG_NAME(KELOST_MSG_PLUGIN_DESTROY_STREAM),
    KELO_MSG_NAME(KELOST_MSG_PLUGIN_ACTIVATE),
    KELO_MSG_NAME(KELOAPP_MSG_PLUGIN_NEW_STREAM_DONE),
    KELO_MSG_NAME(KELOST_MSG_PLUGIN_FL_PLAY),
    KELO_MSG_NAME(KELOST_MSG_PLUGIN_DESTROY),
    KELO_MSG_NAME(KELOAPP_MSG_PLUGIN_DESTROY_DONE),
    KELO_MSG_NAME(KELO_MSG_APP_MSG_NUM),
};
#undef KELO_MSG_NAME

} // namespace

const char* kelo_msg_type_name(int32 type)
{
    for (const MsgName& n : kNames)
        if (n.type == type)
            return n.name;
    return nullptr;
}

bool kelo_msg_type_from_name(const char* name, int32* type)
{
    if (name == nullptr || type == nullptr)
        return false;
    for (const MsgName& n : kNames)
        if (strcmp(n.name, name) == 0) {
            *type = n.type;
            return true;
        }
    return false;
}
