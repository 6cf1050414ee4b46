// The field tables of the host messages (HostFields.h): one table per payload record, built
// with offsetof so they follow the records' checked layout, and the type-to-record map.
#include "HostFields.h"

#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>

namespace KeloHost {

namespace {

#define F(rec, field, kind)                                                                        \
    {                                                                                              \
#field, offsetof(rec, field), Field::kind, sizeof(rec::field)                              \
    }
#define FN(name, rec, path, kind)                                                                  \
    {                                                                                              \
        name, offsetof(rec, path), Field::kind, 0                                                  \
    }
#define FS(rec, field)                                                                             \
    {                                                                                              \
#field, offsetof(rec, field), Field::STR, sizeof(rec::field)                               \
    }

const Field kInit[] = {FN("ui4_width", KELO_INIT_MSG_T, r_res.ui4_width, U32),
                       FN("ui4_height", KELO_INIT_MSG_T, r_res.ui4_height, U32),
                       FN("t_op", KELO_INIT_MSG_T, r_zoom.t_op, I32)};
const Field kStatus[] = {F(KELO_STA_MSG_T, eStatus, I32)};
const Field kOpenWind[] = {F(KELO_OPEN_WIND_MSG_T, h_tab_handle, U32),
                           FN("u4_x", KELO_OPEN_WIND_MSG_T, t_wind_rect.u4_x, U32),
                           FN("u4_y", KELO_OPEN_WIND_MSG_T, t_wind_rect.u4_y, U32),
                           FN("u4_width", KELO_OPEN_WIND_MSG_T, t_wind_rect.u4_width, U32),
                           FN("u4_hight", KELO_OPEN_WIND_MSG_T, t_wind_rect.u4_hight, U32)};
const Field kOpenWindRet[] = {F(KELO_OPEN_WIND_MSG_RET_T, h_tab_handle, U32),
                              F(KELO_OPEN_WIND_MSG_RET_T, hWindow, U32)};
const Field kCloseWind[] = {F(KELO_CLOSE_WIND_MSG_T, hWindow, U32)};
const Field kCloseWindRet[] = {F(KELO_CLOSE_WIND_MSG_RET_T, i4RetValue, I32)};
const Field kOpenUrl[] = {F(KELO_OPEN_URL_MSG_T, h_wind, U32), FS(KELO_OPEN_URL_MSG_T, pcSiteAdd)};
const Field kWindowProps[] = {F(KELO_WINDOW_PROPERTIES_MSG_T, h_wind, U32),
                              FS(KELO_WINDOW_PROPERTIES_MSG_T, pcDocumentTitle),
                              F(KELO_WINDOW_PROPERTIES_MSG_T, hasBackward, U8),
                              F(KELO_WINDOW_PROPERTIES_MSG_T, hasForward, U8)};
const Field kInputBox[] = {F(KELO_NEED_INPUT_BOX_MSG_T, hIme, U32),
                           FN("x", KELO_NEED_INPUT_BOX_MSG_T, tRect.x, I32),
                           FN("y", KELO_NEED_INPUT_BOX_MSG_T, tRect.y, I32),
                           FN("w", KELO_NEED_INPUT_BOX_MSG_T, tRect.w, I32),
                           FN("h", KELO_NEED_INPUT_BOX_MSG_T, tRect.h, I32),
                           FS(KELO_NEED_INPUT_BOX_MSG_T, pcInputStr),
                           F(KELO_NEED_INPUT_BOX_MSG_T, tType, I32)};
const Field kInputString[] = {F(KELO_INPUT_STRING_MSG_T, hIme, U32),
                              FS(KELO_INPUT_STRING_MSG_T, pcInputStr)};
const Field kProxy[] = {
    F(KELO_PROXY_SERVER_T, fgIsUseHttpProxy, U8), F(KELO_PROXY_SERVER_T, fgIsUseHttpsProxy, U8),
    F(KELO_PROXY_SERVER_T, fgIsUseFtpProxy, U8),  FS(KELO_PROXY_SERVER_T, pcHttpProxyServer),
    FS(KELO_PROXY_SERVER_T, pcHttpsProxyServer),  FS(KELO_PROXY_SERVER_T, pcFtpProxyServer)};
const Field kClear[] = {F(KELO_CLEAR_T, tType, I32)};
const Field kWinHandle[] = {F(KELO_WINDOW_HANDLE_T, hWindow, U32)};
const Field kTabCmd[] = {F(KELO_TAB_NAVI_CMD_MSG_T, t_cmd, I32),
                         F(KELO_TAB_NAVI_CMD_MSG_T, hWindow, U32)};
const Field kChangeRes[] = {F(KELO_CHANGE_RES_MSG_T, ui4_width, U32),
                            F(KELO_CHANGE_RES_MSG_T, ui4_height, U32)};
const Field kChangeZoom[] = {F(KELO_CHANGE_ZOOM_MSG_T, t_op, I32)};
const Field kHotPlug[] = {F(KELO_INPUT_HOT_PLUG_MSG_T, t_type, I32),
                          F(KELO_INPUT_HOT_PLUG_MSG_T, is_plug_in, U8)};
const Field kEncoding[] = {F(KELO_ENCODING_MSG_T, t_type, I32)};
const Field kHistoryCount[] = {F(KELO_HISTORY_COUNT_MSG_T, i4Count, U32)};
const Field kHistory[] = {FS(KELO_HISTORY_MSG_T, url), FS(KELO_HISTORY_MSG_T, title)};
const Field kUpdateTime[] = {F(KELO_UPDATE_TIME_T, status, I32), F(KELO_UPDATE_TIME_T, time, U64)};
const Field kNewStream[] = {
    F(KELO_PLUGIN_NEW_STREAM_T, pPlugin, U32),  FS(KELO_PLUGIN_NEW_STREAM_T, cUrl),
    F(KELO_PLUGIN_NEW_STREAM_T, i4X, I32),      F(KELO_PLUGIN_NEW_STREAM_T, i4Y, I32),
    F(KELO_PLUGIN_NEW_STREAM_T, ui4Width, U32), F(KELO_PLUGIN_NEW_STREAM_T, ui4Height, U32),
    F(KELO_PLUGIN_NEW_STREAM_T, tType, I32)};
const Field kPluginWindow[] = {F(KELO_PLUGIN_WINDOW_T, pPlugin, U32),
                               F(KELO_PLUGIN_WINDOW_T, i4X, I32), F(KELO_PLUGIN_WINDOW_T, i4Y, I32),
                               F(KELO_PLUGIN_WINDOW_T, ui4Width, U32),
                               F(KELO_PLUGIN_WINDOW_T, ui4Height, U32)};
const Field kDestroyStream[] = {F(KELO_PLUGIN_DESTROY_STREAM_T, pStream, U32),
                                F(KELO_PLUGIN_DESTROY_STREAM_T, pPlugin, U32)};
const Field kStreamDone[] = {F(KELO_PLUGIN_NEW_STREAM_DONE_T, pStream, U32)};
const Field kPlugin[] = {F(KELO_PLUGIN_DESTROY_T, pPlugin, U32)};
const Field kFlPlay[] = {FS(KELO_PLUGIN_FL_PLAY_VIDEO_T, cUrl)};

#undef F
#undef FN
#undef FS

struct TypeRecord
{
    int32 type;
    const char* record;
    const Field* fields;
    size_t count;
};

#define R(type, record, table)                                                                     \
    {                                                                                              \
        type, record, table, sizeof(table) / sizeof(table[0])                                      \
    }
const TypeRecord kRecords[] = {
    R(KELO_MSG_STA_ID, "rKeloStatusMsg", kStatus),
    R(KELO_MSG_STUB_INIT, "rKeloInitMsg", kInit),
    R(KELO_MSG_OPEN_WIND_ID, "rOpenWindMsg", kOpenWind),
    R(KELO_MSG_OPEN_WIND_RET_ID, "rOpenWindMsgRet", kOpenWindRet),
    R(KELO_MSG_CLOSE_WIND_ID, "rCloseWindMsg", kCloseWind),
    R(KELO_MSG_CLOSE_WIND_RET_ID, "rCloseWindMsgRet", kCloseWindRet),
    R(KELO_MSG_OPEN_URL, "rOpenUrlMsg", kOpenUrl),
    R(KELO_MSG_WINDOW_PROPERTY, "rWindowPropertiesMsg", kWindowProps),
    R(KELO_MSG_NEED_INPUT_BOX, "rNeedInputBoxMsg", kInputBox),
    R(KELO_MSG_INPUT_STRING, "rInputStringMsg", kInputString),
    R(KELO_MSG_SET_PROXY, "rProxy", kProxy),
    R(KELO_MSG_CLEAR, "rClear", kClear),
    R(KELO_MSG_SET_WINDOW, "rWinHandle", kWinHandle),
    R(KELO_MSG_TAB_CMD, "rTabNaviCmdMsg", kTabCmd),
    R(KELO_MSG_CHANGE_RES, "rChangeResMsg", kChangeRes),
    R(KELO_MSG_CHANGE_ZOOM, "rChangeZoomMsg", kChangeZoom),
    R(KELO_MSG_INPUT_HOT_PLUG, "rHotPlugMsg", kHotPlug),
    R(KELO_MSG_CHANGE_ENCODING, "rEncodingMsg", kEncoding),
    R(KELO_MSG_HISTORY_COUNT, "rHistoryCountMsg", kHistoryCount),
    R(KELO_MSG_HISTORY, "rHistoryMsg", kHistory),
    R(KELO_MSG_UPDATE_TIME, "rUpdatetime", kUpdateTime),
    R(KELOST_MSG_PLUGIN_NEW_STREAM, "rPluginNewStream", kNewStream),
    R(KELOST_MSG_PLUGIN_SET_WINDOW, "rPluginWindow", kPluginWindow),
    R(KELOST_MSG_PLUGIN_DESTROY_STREAM, "rPluginDestroyStream", kDestroyStream),
    R(KELOST_MSG_PLUGIN_ACTIVATE, "rPluginActivateStream", kPlugin),
    R(KELOAPP_MSG_PLUGIN_NEW_STREAM_DONE, "rPluginNewStreamDone", kStreamDone),
    R(KELOST_MSG_PLUGIN_FL_PLAY, "rPluginFLPlay", kFlPlay),
    R(KELOST_MSG_PLUGIN_DESTROY, "rPluginDestroy", kPlugin),
    R(KELOAPP_MSG_PLUGIN_DESTROY_DONE, "rPluginDetroyDone", kPlugin),
};
#undef R

const TypeRecord* recordFor_i(int32 type)
{
    for (const TypeRecord& r : kRecords)
        if (r.type == type)
            return &r;
    return nullptr;
}

// Decimal or 0x-prefixed hexadecimal, optionally negative; false unless the whole text is a
// number within [min, max].
bool parseNumber_i(const std::string& text, long long min, unsigned long long max,
                   unsigned long long* out)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    if (text[0] == '-') {
        long long v = strtoll(text.c_str(), &end, 0);
        if (errno != 0 || *end != '\0' || v < min)
            return false;
        *out = static_cast<unsigned long long>(v);
        return true;
    }
    unsigned long long v = strtoull(text.c_str(), &end, 0);
    if (errno != 0 || *end != '\0' || v > max)
        return false;
    *out = v;
    return true;
}

} // namespace

std::vector<Field> fieldsOf(int32 type)
{
    const TypeRecord* r = recordFor_i(type);
    if (r == nullptr)
        return {};
    return std::vector<Field>(r->fields, r->fields + r->count);
}

const char* recordOf(int32 type)
{
    const TypeRecord* r = recordFor_i(type);
    return r != nullptr ? r->record : "";
}

bool setField(KELO_MSG_T& msg, const std::string& name, const std::string& value,
              std::string* error)
{
    for (const Field& f : fieldsOf(msg.tMsgType)) {
        if (name != f.name)
            continue;
        uint8* at = reinterpret_cast<uint8*>(&msg.uMsgData) + f.offset;
        unsigned long long n = 0;
        bool ok = true;
        switch (f.kind) {
        case Field::U8:
            ok = parseNumber_i(value, 0, UINT8_MAX, &n);
            if (ok)
                *at = static_cast<uint8>(n);
            break;
        case Field::I32:
            ok = parseNumber_i(value, INT32_MIN, INT32_MAX, &n);
            if (ok) {
                int32 v = static_cast<int32>(static_cast<long long>(n));
                memcpy(at, &v, sizeof(v));
            }
            break;
        case Field::U32:
            ok = parseNumber_i(value, 0, UINT32_MAX, &n);
            if (ok) {
                uint32 v = static_cast<uint32>(n);
                memcpy(at, &v, sizeof(v));
            }
            break;
        case Field::U64:
            ok = parseNumber_i(value, 0, UINT64_MAX, &n);
            if (ok) {
                uint64 v = n;
                memcpy(at, &v, sizeof(v));
            }
            break;
        case Field::STR:
            ok = value.size() < f.size;
            if (ok) {
                memset(at, 0, f.size);
                memcpy(at, value.data(), value.size());
            }
            break;
        }
        if (!ok && error != nullptr)
            *error = f.kind == Field::STR
                         ? "field " + name + ": text longer than " + std::to_string(f.size - 1) +
                               " bytes"
                         : "field " + name + ": '" + value + "' is not a number that fits";
        return ok;
    }
    if (error != nullptr)
        *error = "message " + describeType(msg.tMsgType) + " has no field '" + name + "'";
    return false;
}

std::string describePayload(const KELO_MSG_T& msg)
{
    const uint8* data = reinterpret_cast<const uint8*>(&msg.uMsgData);
    std::vector<Field> fields = fieldsOf(msg.tMsgType);
    std::string out;
    char text[64];
    if (fields.empty()) {
        size_t last = sizeof(msg.uMsgData);
        while (last > 0 && data[last - 1] == 0)
            --last;
        if (last == 0)
            return out;
        out += " data=";
        for (size_t i = 0; i < last; ++i) {
            snprintf(text, sizeof(text), "%02x", data[i]);
            out += text;
        }
        return out;
    }
    for (const Field& f : fields) {
        const uint8* at = data + f.offset;
        out += " ";
        out += f.name;
        out += "=";
        switch (f.kind) {
        case Field::U8:
            out += std::to_string(*at);
            break;
        case Field::I32: {
            int32 v;
            memcpy(&v, at, sizeof(v));
            out += std::to_string(v);
            break;
        }
        case Field::U32: {
            uint32 v;
            memcpy(&v, at, sizeof(v));
            out += std::to_string(v);
            break;
        }
        case Field::U64: {
            uint64 v;
            memcpy(&v, at, sizeof(v));
            out += std::to_string(v);
            break;
        }
        case Field::STR:
            out += "\"" +
                   std::string(reinterpret_cast<const char*>(at),
                               strnlen(reinterpret_cast<const char*>(at), f.size)) +
                   "\"";
            break;
        }
    }
    return out;
}

std::string describeType(int32 type)
{
    const char* name = kelo_msg_type_name(type);
    return std::to_string(type) + " " + (name != nullptr ? name : "?");
}

bool parseType(const std::string& text, int32* type)
{
    if (kelo_msg_type_from_name(text.c_str(), type))
        return true;
    unsigned long long n = 0;
    if (!parseNumber_i(text, INT32_MIN, INT32_MAX, &n))
        return false;
    *type = static_cast<int32>(static_cast<long long>(n));
    return true;
}

} // namespace KeloHost
