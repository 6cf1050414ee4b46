// The simulated playback-control client: handles with the state machine of IMtkPb_Ctrl.h, a
// lent push buffer per handle, and counters of the transport-stream bytes pushed into it. The
// simulator does not present anything yet; it checks what a real controller would refuse.
#include "SimState.h"

#include <algorithm>

using namespace SimPlatform;

namespace {

constexpr uint32_t kTsPacket = 188;
constexpr uint32_t kDefaultRingSize = 2u * 1024 * 1024;

// Looks the handle up after the common checks; null with `*err` set when they fail.
PbHandle* findPb_i(State& s, IMTK_PB_HANDLE_T h, IMTK_PB_ERROR_CODE_T* err)
{
    if (!s.pbInit) {
        *err = IMTK_PB_ERROR_CODE_NOT_INIT;
        return nullptr;
    }
    auto it = s.pb.find(h);
    if (it == s.pb.end()) {
        *err = IMTK_PB_ERROR_CODE_INV_HANDLE;
        return nullptr;
    }
    return &it->second;
}

bool isRunning_i(const PbHandle& p)
{
    return p.info.state == PbState::Playing || p.info.state == PbState::Paused;
}

// Runs `body` for an open handle under the lock unless the call is switched to fail, and
// records the call. `body` returns the result.
template <typename Body>
IMTK_PB_ERROR_CODE_T pbCall_i(const char* name, IMTK_PB_HANDLE_T h, const char* args, Body body)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    IMTK_PB_ERROR_CODE_T r = IMTK_PB_ERROR_CODE_NOT_OK;
    if (!failing_i(s, name)) {
        if (PbHandle* p = findPb_i(s, h, &r))
            r = body(*p);
    }
    record_i(s, name, r, "%d%s%s", h, *args ? ", " : "", args);
    return r;
}

} // namespace

extern "C" {

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Init(void)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    IMTK_PB_ERROR_CODE_T r = IMTK_PB_ERROR_CODE_NOT_OK;
    if (!failing_i(s, "IMtkPb_Ctrl_Init")) {
        s.pbInit = true; // a second Init keeps the open handles, as the library does
        r = IMTK_PB_ERROR_CODE_OK;
    }
    record_i(s, "IMtkPb_Ctrl_Init", r, "%s", "");
    return r;
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Terminate(void)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    IMTK_PB_ERROR_CODE_T r = IMTK_PB_ERROR_CODE_NOT_OK;
    if (!failing_i(s, "IMtkPb_Ctrl_Terminate")) {
        r = s.pbInit ? IMTK_PB_ERROR_CODE_OK : IMTK_PB_ERROR_CODE_NOT_INIT;
        s.pbInit = false;
        s.pb.clear(); // handles left open die with the library
    }
    record_i(s, "IMtkPb_Ctrl_Terminate", r, "%s", "");
    return r;
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Open(IMTK_PB_HANDLE_T* phHandle,
                                      IMTK_PB_CTRL_BUFFERING_MODEL_T eBufferingModel,
                                      IMTK_PB_CTRL_OPERATING_MODEL_T eOperatingModel,
                                      uint32_t u4Flags)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    IMTK_PB_ERROR_CODE_T r = IMTK_PB_ERROR_CODE_NOT_OK;
    IMTK_PB_HANDLE_T h = IMTK_NULL_HANDLE;
    if (failing_i(s, "IMtkPb_Ctrl_Open"))
        r = IMTK_PB_ERROR_CODE_NOT_OK;
    else if (!s.pbInit)
        r = IMTK_PB_ERROR_CODE_NOT_INIT;
    else if (phHandle == nullptr || eBufferingModel < IMTK_PB_CTRL_BUFFERING_MODEL_URI ||
             eBufferingModel > IMTK_PB_CTRL_BUFFERING_MODEL_PUSH ||
             eOperatingModel < IMTK_PB_CTRL_APP_MASTER || eOperatingModel > IMTK_PB_CTRL_LIB_MASTER)
        r = IMTK_PB_ERROR_CODE_INV_ARG;
    else {
        h = s.nextPbHandle++;
        PbHandle& p = s.pb[h];
        p.info.bufferingModel = eBufferingModel;
        p.info.operatingModel = eOperatingModel;
        *phHandle = h;
        r = IMTK_PB_ERROR_CODE_OK;
    }
    record_i(s, "IMtkPb_Ctrl_Open", r, "%d, %d, %u -> handle %d", eBufferingModel, eOperatingModel,
             u4Flags, h);
    return r;
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Close(IMTK_PB_HANDLE_T hHandle)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    IMTK_PB_ERROR_CODE_T r = IMTK_PB_ERROR_CODE_NOT_OK;
    if (!failing_i(s, "IMtkPb_Ctrl_Close") && findPb_i(s, hHandle, &r) != nullptr) {
        s.pb.erase(hHandle);
        r = IMTK_PB_ERROR_CODE_OK;
    }
    record_i(s, "IMtkPb_Ctrl_Close", r, "%d", hHandle);
    return r;
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetDisplayRectangle(IMTK_PB_HANDLE_T hHandle,
                                                     const IMTK_PB_CTRL_RECT_T* ptRect)
{
    char args[96] = "null";
    if (ptRect != nullptr)
        snprintf(args, sizeof(args), "{%u, %u, %u, %u}", ptRect->u4X, ptRect->u4Y, ptRect->u4W,
                 ptRect->u4H);
    return pbCall_i("IMtkPb_Ctrl_SetDisplayRectangle", hHandle, args, [&](PbHandle& p) {
        if (ptRect == nullptr || ptRect->u4X + ptRect->u4W > 10000 ||
            ptRect->u4Y + ptRect->u4H > 10000)
            return IMTK_PB_ERROR_CODE_INV_ARG;
        p.info.displayRect = *ptRect;
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetEngineParam(IMTK_PB_HANDLE_T hHandle,
                                                const IMTK_PB_CTRL_ENGINE_PARAM_T* ptParam)
{
    char args[96] = "null";
    if (ptParam != nullptr)
        snprintf(args, sizeof(args), "{model %d, size %u, flags %u}", ptParam->eBufferingModel,
                 ptParam->u4BufferSize, ptParam->u4Flags);
    return pbCall_i("IMtkPb_Ctrl_SetEngineParam", hHandle, args, [&](PbHandle& p) {
        if (ptParam == nullptr || ptParam->eBufferingModel != p.info.bufferingModel)
            return IMTK_PB_ERROR_CODE_INV_ARG;
        if (isRunning_i(p))
            return IMTK_PB_ERROR_CODE_INV_STATE;
        p.info.hasEngineParam = true;
        p.info.engineParam = *ptParam;
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetMediaInfo(IMTK_PB_HANDLE_T hHandle,
                                              const IMTK_PB_CTRL_SET_MEDIA_INFO_T* ptInfo)
{
    char args[128] = "null";
    if (ptInfo != nullptr)
        snprintf(args, sizeof(args), "{type %d, video %d pid %u, audio %d pid %u, sync %d}",
                 ptInfo->eMediaType, ptInfo->eVidEnc, ptInfo->u2VideoPid, ptInfo->eAudEnc,
                 ptInfo->u2AudioPid, ptInfo->fgSynchronized ? 1 : 0);
    return pbCall_i("IMtkPb_Ctrl_SetMediaInfo", hHandle, args, [&](PbHandle& p) {
        if (isRunning_i(p))
            return IMTK_PB_ERROR_CODE_INV_STATE;
        if (ptInfo != nullptr && (ptInfo->eMediaType == IMTK_PB_CTRL_MEDIA_TYPE_UNKNOWN ||
                                  ptInfo->eMediaType > IMTK_PB_CTRL_MEDIA_TYPE_AUDIO_ES))
            return IMTK_PB_ERROR_CODE_INV_ARG;
        PbHandleInfo& i = p.info;
        i.hasMediaInfo = ptInfo != nullptr;
        i.mediaInfo = ptInfo != nullptr ? *ptInfo : IMTK_PB_CTRL_SET_MEDIA_INFO_T{};
        i.state = ptInfo != nullptr ? PbState::Ready : PbState::Opened;
        i.bytesReceived = 0;
        i.packetsReceived = 0;
        i.syncErrors = 0;
        i.endOfStream = false;
        i.bufferLent = false;
        p.lent.clear();
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_RegCallback(IMTK_PB_HANDLE_T hHandle, void* pvTag,
                                             IMtkPb_Ctrl_Nfy_Fct pfnCallback)
{
    char args[64];
    snprintf(args, sizeof(args), "%p, %s", pvTag, pfnCallback != nullptr ? "fct" : "null");
    return pbCall_i("IMtkPb_Ctrl_RegCallback", hHandle, args, [&](PbHandle& p) {
        p.callback = pfnCallback;
        p.tag = pvTag;
        p.info.hasCallback = pfnCallback != nullptr;
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_GetBuffer(IMTK_PB_HANDLE_T hHandle, uint32_t u4Size,
                                           uint8_t** ppu1Buffer)
{
    char args[32];
    snprintf(args, sizeof(args), "%u", u4Size);
    return pbCall_i("IMtkPb_Ctrl_GetBuffer", hHandle, args, [&](PbHandle& p) {
        const uint32_t ring = p.info.hasEngineParam && p.info.engineParam.u4BufferSize != 0
                                  ? p.info.engineParam.u4BufferSize
                                  : kDefaultRingSize;
        if (ppu1Buffer == nullptr || u4Size == 0 || u4Size > ring)
            return IMTK_PB_ERROR_CODE_INV_ARG;
        if (!p.info.hasMediaInfo || p.info.endOfStream)
            return IMTK_PB_ERROR_CODE_INV_STATE;
        if (p.info.bufferLent)
            return IMTK_PB_ERROR_CODE_GET_BUF_PENDING; // one buffer out at a time
        p.lent.assign(u4Size, 0);
        p.info.bufferLent = true;
        *ppu1Buffer = p.lent.data();
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SendData(IMTK_PB_HANDLE_T hHandle, uint32_t u4Size,
                                          uint8_t* pu1Buffer)
{
    char args[32];
    snprintf(args, sizeof(args), "%u", u4Size);
    return pbCall_i("IMtkPb_Ctrl_SendData", hHandle, args, [&](PbHandle& p) {
        if (!p.info.bufferLent || pu1Buffer != p.lent.data() || u4Size > p.lent.size())
            return IMTK_PB_ERROR_CODE_INV_ARG;
        PbHandleInfo& i = p.info;
        i.bytesReceived += u4Size;
        for (uint32_t at = 0; at + kTsPacket <= u4Size; at += kTsPacket) {
            ++i.packetsReceived;
            if (pu1Buffer[at] != 0x47)
                ++i.syncErrors;
        }
        i.bufferLent = false;
        p.lent.clear();
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetPushModelEOS(IMTK_PB_HANDLE_T hHandle)
{
    return pbCall_i("IMtkPb_Ctrl_SetPushModelEOS", hHandle, "", [&](PbHandle& p) {
        if (!p.info.hasMediaInfo)
            return IMTK_PB_ERROR_CODE_INV_STATE;
        p.info.endOfStream = true;
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Play(IMTK_PB_HANDLE_T hHandle, uint32_t u4StartTime)
{
    char args[32];
    snprintf(args, sizeof(args), "%u", u4StartTime);
    return pbCall_i("IMtkPb_Ctrl_Play", hHandle, args, [&](PbHandle& p) {
        if (!p.info.hasMediaInfo)
            return IMTK_PB_ERROR_CODE_INV_STATE;
        p.info.state = PbState::Playing; // also resumes from pause
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Pause(IMTK_PB_HANDLE_T hHandle)
{
    return pbCall_i("IMtkPb_Ctrl_Pause", hHandle, "", [&](PbHandle& p) {
        if (p.info.state != PbState::Playing)
            return IMTK_PB_ERROR_CODE_INV_STATE;
        p.info.state = PbState::Paused;
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_Stop(IMTK_PB_HANDLE_T hHandle)
{
    return pbCall_i("IMtkPb_Ctrl_Stop", hHandle, "", [&](PbHandle& p) {
        if (!isRunning_i(p))
            return IMTK_PB_ERROR_CODE_INV_STATE;
        p.info.state = PbState::Stopped;
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_ClearVideo(IMTK_PB_HANDLE_T hHandle)
{
    return pbCall_i("IMtkPb_Ctrl_ClearVideo", hHandle, "", [&](PbHandle& p) {
        if (isRunning_i(p))
            return IMTK_PB_ERROR_CODE_INV_STATE;
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_GetCurrentPTS(IMTK_PB_HANDLE_T hHandle, uint32_t* pu4CurTime)
{
    return pbCall_i("IMtkPb_Ctrl_GetCurrentPTS", hHandle, "", [&](PbHandle& p) {
        if (pu4CurTime == nullptr)
            return IMTK_PB_ERROR_CODE_INV_ARG;
        if (!isRunning_i(p))
            return IMTK_PB_ERROR_CODE_INV_STATE;
        *pu4CurTime = 0; // nothing is presented yet
        return IMTK_PB_ERROR_CODE_OK;
    });
}

IMTK_PB_ERROR_CODE_T IMtkPb_Ctrl_SetExtraInfo(IMTK_PB_HANDLE_T hHandle,
                                              IMTK_PB_CTRL_EXTRA_INFO_TYPE_T eType,
                                              const void* pvInfo)
{
    char args[48];
    snprintf(args, sizeof(args), "%d, %d", eType,
             pvInfo != nullptr ? static_cast<int>(*static_cast<const uint32_t*>(pvInfo)) : -1);
    return pbCall_i("IMtkPb_Ctrl_SetExtraInfo", hHandle, args, [&](PbHandle& p) {
        if (eType != IMTK_PB_CTRL_EXTRA_INFO_TYPE_3D_LAYOUT || pvInfo == nullptr ||
            *static_cast<const uint32_t*>(pvInfo) > 3)
            return IMTK_PB_ERROR_CODE_INV_ARG;
        p.info.layout3d = *static_cast<const uint32_t*>(pvInfo);
        return IMTK_PB_ERROR_CODE_OK;
    });
}

} // extern "C"

namespace SimPlatform {

const char* pbStateName(PbState state)
{
    switch (state) {
    case PbState::Opened:
        return "OPENED";
    case PbState::Ready:
        return "READY";
    case PbState::Playing:
        return "PLAYING";
    case PbState::Paused:
        return "PAUSED";
    case PbState::Stopped:
        return "STOPPED";
    }
    return "UNKNOWN";
}

bool pbInitialized()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.pbInit;
}

std::vector<IMTK_PB_HANDLE_T> pbHandles()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    std::vector<IMTK_PB_HANDLE_T> handles;
    for (const auto& entry : s.pb)
        handles.push_back(entry.first);
    return handles;
}

bool pbHandleInfo(IMTK_PB_HANDLE_T handle, PbHandleInfo* info)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = s.pb.find(handle);
    if (it == s.pb.end() || info == nullptr)
        return false;
    *info = it->second.info;
    return true;
}

bool raiseEvent(IMTK_PB_HANDLE_T handle, IMTK_PB_CTRL_EVENT_T event, uint32_t data)
{
    IMtkPb_Ctrl_Nfy_Fct callback = nullptr;
    void* tag = nullptr;
    {
        State& s = state();
        std::lock_guard<std::mutex> guard(s.lock);
        auto it = s.pb.find(handle);
        if (it == s.pb.end() || it->second.callback == nullptr)
            return false;
        callback = it->second.callback;
        tag = it->second.tag;
    }
    callback(event, tag, data); // without the lock: the client may call back into the library
    return true;
}

} // namespace SimPlatform
