// The platform simulator: the playback-control state machine and push buffers, the
// configuration client, the failure switches and the call log (in memory, and in a file for a
// child process started with KELO_SIM_FAIL / KELO_SIM_LOG).
#include "SimPlatform.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <unistd.h>
#include <vector>

using namespace SimPlatform;

namespace {

class SimPlatformTest : public ::testing::Test
{
protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset(); }

    IMTK_PB_HANDLE_T openPb()
    {
        IMTK_PB_HANDLE_T h = IMTK_NULL_HANDLE;
        EXPECT_EQ(IMtkPb_Ctrl_Init(), IMTK_PB_ERROR_CODE_OK);
        EXPECT_EQ(
            IMtkPb_Ctrl_Open(&h, IMTK_PB_CTRL_BUFFERING_MODEL_PUSH, IMTK_PB_CTRL_APP_MASTER, 0),
            IMTK_PB_ERROR_CODE_OK);
        return h;
    }

    static IMTK_PB_CTRL_SET_MEDIA_INFO_T tsInfo()
    {
        IMTK_PB_CTRL_SET_MEDIA_INFO_T info = {};
        info.eMediaType = IMTK_PB_CTRL_MEDIA_TYPE_MPEG2_TS;
        info.eVidEnc = IMTK_PB_CTRL_VID_ENC_H264;
        info.eAudEnc = IMTK_PB_CTRL_AUD_ENC_DD;
        info.u2VideoPid = 0x1011;
        info.u2AudioPid = 0x1100;
        info.fgSynchronized = true;
        return info;
    }

    static PbState stateOf(IMTK_PB_HANDLE_T h)
    {
        PbHandleInfo info;
        EXPECT_TRUE(pbHandleInfo(h, &info));
        return info.state;
    }
};

int32_t g_events = 0;
void* g_lastTag = nullptr;
int32_t countEvents(IMTK_PB_CTRL_EVENT_T event, void* tag, uint32_t data)
{
    g_events += static_cast<int32_t>(event) * 100 + static_cast<int32_t>(data);
    g_lastTag = tag;
    return 0;
}

} // namespace

TEST_F(SimPlatformTest, CallsBeforeInitAndOnUnknownHandlesAreRefused)
{
    IMTK_PB_HANDLE_T h = IMTK_NULL_HANDLE;
    EXPECT_EQ(IMtkPb_Ctrl_Open(&h, IMTK_PB_CTRL_BUFFERING_MODEL_PUSH, IMTK_PB_CTRL_APP_MASTER, 0),
              IMTK_PB_ERROR_CODE_NOT_INIT);
    EXPECT_EQ(h, IMTK_NULL_HANDLE);
    EXPECT_EQ(IMtkPb_Ctrl_Terminate(), IMTK_PB_ERROR_CODE_NOT_INIT);
    ASSERT_EQ(IMtkPb_Ctrl_Init(), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(IMtkPb_Ctrl_Play(7, 0), IMTK_PB_ERROR_CODE_INV_HANDLE);
    EXPECT_EQ(IMtkPb_Ctrl_Close(IMTK_NULL_HANDLE), IMTK_PB_ERROR_CODE_INV_HANDLE);
    EXPECT_EQ(
        IMtkPb_Ctrl_Open(&h, IMTK_PB_CTRL_BUFFERING_MODEL_UNKNOWN, IMTK_PB_CTRL_APP_MASTER, 0),
        IMTK_PB_ERROR_CODE_INV_ARG);
    EXPECT_EQ(
        IMtkPb_Ctrl_Open(nullptr, IMTK_PB_CTRL_BUFFERING_MODEL_PUSH, IMTK_PB_CTRL_APP_MASTER, 0),
        IMTK_PB_ERROR_CODE_INV_ARG);
    EXPECT_TRUE(pbHandles().empty());
}

TEST_F(SimPlatformTest, PlayStateMachineFollowsTheController)
{
    const IMTK_PB_HANDLE_T h = openPb();
    EXPECT_EQ(stateOf(h), PbState::Opened);
    // Nothing to play yet.
    EXPECT_EQ(IMtkPb_Ctrl_Play(h, 0), IMTK_PB_ERROR_CODE_INV_STATE);
    EXPECT_EQ(IMtkPb_Ctrl_Stop(h), IMTK_PB_ERROR_CODE_INV_STATE);

    const IMTK_PB_CTRL_SET_MEDIA_INFO_T info = tsInfo();
    ASSERT_EQ(IMtkPb_Ctrl_SetMediaInfo(h, &info), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(stateOf(h), PbState::Ready);
    EXPECT_EQ(IMtkPb_Ctrl_Pause(h), IMTK_PB_ERROR_CODE_INV_STATE);
    ASSERT_EQ(IMtkPb_Ctrl_Play(h, 0), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(stateOf(h), PbState::Playing);
    // Media cannot change under a running play, neither can the video be cleared.
    EXPECT_EQ(IMtkPb_Ctrl_SetMediaInfo(h, nullptr), IMTK_PB_ERROR_CODE_INV_STATE);
    EXPECT_EQ(IMtkPb_Ctrl_ClearVideo(h), IMTK_PB_ERROR_CODE_INV_STATE);
    ASSERT_EQ(IMtkPb_Ctrl_Pause(h), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(stateOf(h), PbState::Paused);
    ASSERT_EQ(IMtkPb_Ctrl_Play(h, 0), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(stateOf(h), PbState::Playing);
    uint32_t now = 99;
    EXPECT_EQ(IMtkPb_Ctrl_GetCurrentPTS(h, &now), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(now, 0u);
    ASSERT_EQ(IMtkPb_Ctrl_Stop(h), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(stateOf(h), PbState::Stopped);
    EXPECT_EQ(IMtkPb_Ctrl_Stop(h), IMTK_PB_ERROR_CODE_INV_STATE);
    EXPECT_EQ(IMtkPb_Ctrl_GetCurrentPTS(h, &now), IMTK_PB_ERROR_CODE_INV_STATE);
    EXPECT_EQ(IMtkPb_Ctrl_ClearVideo(h), IMTK_PB_ERROR_CODE_OK);

    PbHandleInfo before;
    ASSERT_TRUE(pbHandleInfo(h, &before));
    EXPECT_TRUE(before.hasMediaInfo);
    EXPECT_EQ(before.mediaInfo.u2VideoPid, 0x1011);
    EXPECT_EQ(before.mediaInfo.eAudEnc, IMTK_PB_CTRL_AUD_ENC_DD);
    ASSERT_EQ(IMtkPb_Ctrl_SetMediaInfo(h, nullptr), IMTK_PB_ERROR_CODE_OK);
    PbHandleInfo after;
    ASSERT_TRUE(pbHandleInfo(h, &after));
    EXPECT_FALSE(after.hasMediaInfo);
    EXPECT_EQ(after.state, PbState::Opened);

    ASSERT_EQ(IMtkPb_Ctrl_Close(h), IMTK_PB_ERROR_CODE_OK);
    EXPECT_FALSE(pbHandleInfo(h, &after));
    EXPECT_EQ(IMtkPb_Ctrl_Close(h), IMTK_PB_ERROR_CODE_INV_HANDLE);
}

TEST_F(SimPlatformTest, TerminateClosesEveryHandleAndArgumentsAreChecked)
{
    const IMTK_PB_HANDLE_T a = openPb();
    IMTK_PB_HANDLE_T b = IMTK_NULL_HANDLE;
    ASSERT_EQ(IMtkPb_Ctrl_Open(&b, IMTK_PB_CTRL_BUFFERING_MODEL_URI, IMTK_PB_CTRL_LIB_MASTER, 0),
              IMTK_PB_ERROR_CODE_OK);
    EXPECT_NE(a, b);
    EXPECT_EQ(pbHandles().size(), 2u);

    IMTK_PB_CTRL_RECT_T tooWide = {5000, 0, 6000, 10000};
    EXPECT_EQ(IMtkPb_Ctrl_SetDisplayRectangle(a, &tooWide), IMTK_PB_ERROR_CODE_INV_ARG);
    IMTK_PB_CTRL_RECT_T full = {0, 0, 10000, 10000};
    EXPECT_EQ(IMtkPb_Ctrl_SetDisplayRectangle(a, &full), IMTK_PB_ERROR_CODE_OK);
    // The engine parameters must name the handle's buffering model.
    IMTK_PB_CTRL_ENGINE_PARAM_T uri = {IMTK_PB_CTRL_BUFFERING_MODEL_URI, 0, 0};
    EXPECT_EQ(IMtkPb_Ctrl_SetEngineParam(a, &uri), IMTK_PB_ERROR_CODE_INV_ARG);
    const uint32_t layout = 2, badLayout = 4;
    EXPECT_EQ(IMtkPb_Ctrl_SetExtraInfo(a, IMTK_PB_CTRL_EXTRA_INFO_TYPE_3D_LAYOUT, &badLayout),
              IMTK_PB_ERROR_CODE_INV_ARG);
    EXPECT_EQ(IMtkPb_Ctrl_SetExtraInfo(a, IMTK_PB_CTRL_EXTRA_INFO_TYPE_3D_LAYOUT, &layout),
              IMTK_PB_ERROR_CODE_OK);
    PbHandleInfo info;
    ASSERT_TRUE(pbHandleInfo(a, &info));
    EXPECT_EQ(info.displayRect.u4W, 10000u);
    EXPECT_EQ(info.layout3d, 2u);

    EXPECT_EQ(IMtkPb_Ctrl_Terminate(), IMTK_PB_ERROR_CODE_OK);
    EXPECT_FALSE(pbInitialized());
    EXPECT_TRUE(pbHandles().empty());
}

TEST_F(SimPlatformTest, PushBuffersAreLentOneAtATimeAndCounted)
{
    const IMTK_PB_HANDLE_T h = openPb();
    uint8_t* buffer = nullptr;
    EXPECT_EQ(IMtkPb_Ctrl_GetBuffer(h, 188 * 3, &buffer), IMTK_PB_ERROR_CODE_INV_STATE);
    const IMTK_PB_CTRL_SET_MEDIA_INFO_T info = tsInfo();
    ASSERT_EQ(IMtkPb_Ctrl_SetMediaInfo(h, &info), IMTK_PB_ERROR_CODE_OK);
    // Larger than the default 2 MiB ring.
    EXPECT_EQ(IMtkPb_Ctrl_GetBuffer(h, 2 * 1024 * 1024 + 1, &buffer), IMTK_PB_ERROR_CODE_INV_ARG);
    ASSERT_EQ(IMtkPb_Ctrl_GetBuffer(h, 188 * 3 + 10, &buffer), IMTK_PB_ERROR_CODE_OK);
    ASSERT_NE(buffer, nullptr);
    uint8_t* second = nullptr;
    EXPECT_EQ(IMtkPb_Ctrl_GetBuffer(h, 188, &second), IMTK_PB_ERROR_CODE_GET_BUF_PENDING);

    buffer[0] = 0x47;
    buffer[188] = 0x00; // a packet out of sync
    buffer[376] = 0x47;
    uint8_t other[16] = {};
    EXPECT_EQ(IMtkPb_Ctrl_SendData(h, 16, other), IMTK_PB_ERROR_CODE_INV_ARG);
    EXPECT_EQ(IMtkPb_Ctrl_SendData(h, 188 * 3 + 11, buffer), IMTK_PB_ERROR_CODE_INV_ARG);
    ASSERT_EQ(IMtkPb_Ctrl_SendData(h, 188 * 3 + 10, buffer), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(IMtkPb_Ctrl_SendData(h, 188, buffer), IMTK_PB_ERROR_CODE_INV_ARG); // returned

    PbHandleInfo got;
    ASSERT_TRUE(pbHandleInfo(h, &got));
    EXPECT_EQ(got.bytesReceived, 188u * 3 + 10);
    EXPECT_EQ(got.packetsReceived, 3u);
    EXPECT_EQ(got.syncErrors, 1u);
    EXPECT_FALSE(got.bufferLent);

    ASSERT_EQ(IMtkPb_Ctrl_SetPushModelEOS(h), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(IMtkPb_Ctrl_GetBuffer(h, 188, &buffer), IMTK_PB_ERROR_CODE_INV_STATE);
    ASSERT_TRUE(pbHandleInfo(h, &got));
    EXPECT_TRUE(got.endOfStream);
}

TEST_F(SimPlatformTest, RaisedEventsReachTheRegisteredCallbackWithItsTag)
{
    const IMTK_PB_HANDLE_T h = openPb();
    EXPECT_FALSE(raiseEvent(h, IMTK_PB_CTRL_EVENT_EOS, 0));
    int tag = 0;
    ASSERT_EQ(IMtkPb_Ctrl_RegCallback(h, &tag, countEvents), IMTK_PB_ERROR_CODE_OK);
    g_events = 0;
    EXPECT_TRUE(raiseEvent(h, IMTK_PB_CTRL_EVENT_EOS, 7));
    EXPECT_TRUE(raiseEvent(h, IMTK_PB_CTRL_EVENT_BUFFER_UNDERFLOW, 1));
    EXPECT_EQ(g_events, 307 + 201);
    EXPECT_EQ(g_lastTag, &tag);
    EXPECT_FALSE(raiseEvent(h + 100, IMTK_PB_CTRL_EVENT_EOS, 0));
}

TEST_F(SimPlatformTest, ConfigurationClientKeepsHandlesAndSettings)
{
    IMTKCFG_VID_CPS_INFO_T cps = {};
    EXPECT_EQ(IMtkCfg_Vid_Get_Cps_Info(-1, &cps), IMTK_CFG_ERROR_CODE_NOT_INIT);
    ASSERT_EQ(IMtkCfg_Init(), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_EQ(IMtkCfg_Vid_Get_Cps_Info(-1, &cps), IMTK_CFG_ERROR_CODE_INV_HANDLE);
    uint8_t count = 9;
    ASSERT_EQ(IMtkCfg_Count(&count), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_EQ(count, 0);
    IMTK_CFG_HANDLE_T h = -1;
    ASSERT_EQ(IMtkCfg_Open(&h), IMTK_CFG_ERROR_CODE_OK);
    ASSERT_EQ(IMtkCfg_Count(&count), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_EQ(count, 1);

    const IMTKCFG_VID_CPS_INFO_T set = {2, 1, true};
    ASSERT_EQ(IMtkCfg_Vid_Set_Cps_Info(h, &set), IMTK_CFG_ERROR_CODE_OK);
    ASSERT_EQ(IMtkCfg_Vid_Get_Cps_Info(h, &cps), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_EQ(cps.u1Cgms, 2);
    EXPECT_EQ(cps.u1Aps, 1);
    EXPECT_TRUE(cps.fgICT);
    static_assert(sizeof(IMTKCFG_VID_CPS_INFO_T) == 3, "3-byte copy-protection record");

    IMTKCFG_SUPPORT_FORMAT_T format = {};
    ASSERT_EQ(IMtkCfg_Get_Support_Format(h, &format), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_EQ(format.u4Cea3D, 0u); // a 2D television by default
    setSupportFormat({0x3f, 0x5});
    ASSERT_EQ(IMtkCfg_Get_Support_Format(h, &format), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_EQ(format.u4Cea3D, 0x5u);

    const IMTKCFG_VID_SOURCE_INFO_T source = {IMTKCFG_VID_SRC_3D_SIDE_BY_SIDE, 1920, 1080};
    ASSERT_EQ(IMtkCfg_Vid_SetSourceInfo(h, &source), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_EQ(cfgSourceInfo().eFormat, IMTKCFG_VID_SRC_3D_SIDE_BY_SIDE);

    ASSERT_EQ(IMtkCfg_Close(h), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_EQ(IMtkCfg_Close(h), IMTK_CFG_ERROR_CODE_INV_HANDLE);
    EXPECT_EQ(cfgOpenCount(), 0u);
    ASSERT_EQ(IMtkCfg_Terminate(), IMTK_CFG_ERROR_CODE_OK);
    EXPECT_FALSE(cfgInitialized());
}

TEST_F(SimPlatformTest, FailureSwitchesFailOnlyTheNamedCallsAndChangeNothing)
{
    setFailures(" IMtkCfg_Open , IMtkPb_Ctrl_Play,");
    EXPECT_EQ(failures(), "IMtkCfg_Open,IMtkPb_Ctrl_Play");
    const IMTK_PB_HANDLE_T h = openPb();
    const IMTK_PB_CTRL_SET_MEDIA_INFO_T info = tsInfo();
    ASSERT_EQ(IMtkPb_Ctrl_SetMediaInfo(h, &info), IMTK_PB_ERROR_CODE_OK);
    EXPECT_EQ(IMtkPb_Ctrl_Play(h, 0), IMTK_PB_ERROR_CODE_NOT_OK);
    EXPECT_EQ(stateOf(h), PbState::Ready);

    ASSERT_EQ(IMtkCfg_Init(), IMTK_CFG_ERROR_CODE_OK);
    IMTK_CFG_HANDLE_T cfg = -1;
    EXPECT_EQ(IMtkCfg_Open(&cfg), IMTK_CFG_ERROR_CODE_NOT_OK);
    EXPECT_EQ(cfg, -1);
    EXPECT_EQ(cfgOpenCount(), 0u);

    setFailures("");
    EXPECT_EQ(IMtkPb_Ctrl_Play(h, 0), IMTK_PB_ERROR_CODE_OK);
}

TEST_F(SimPlatformTest, CallLogRecordsEveryCallInOrder)
{
    setFailures("IMtkPb_Ctrl_Pause");
    const IMTK_PB_HANDLE_T h = openPb();
    const IMTK_PB_CTRL_SET_MEDIA_INFO_T info = tsInfo();
    IMtkPb_Ctrl_SetMediaInfo(h, &info);
    IMtkPb_Ctrl_Pause(h);
    IMtkPb_Ctrl_SetMediaInfo(h, nullptr);
    IMtkPb_Ctrl_Close(h);
    const std::vector<std::string> expected = {
        "IMtkPb_Ctrl_Init() = 0",
        "IMtkPb_Ctrl_Open(3, 1, 0 -> handle 1) = 0",
        "IMtkPb_Ctrl_SetMediaInfo(1, {type 1, video 2 pid 4113, audio 1 pid 4352, sync 1}) = 0",
        "IMtkPb_Ctrl_Pause(1) = -1 (injected failure)",
        "IMtkPb_Ctrl_SetMediaInfo(1, null) = 0",
        "IMtkPb_Ctrl_Close(1) = 0",
    };
    EXPECT_EQ(callLog(), expected);
    clearCallLog();
    EXPECT_TRUE(callLog().empty());
}

// The environment switches are read once per process: a child process shows them.
TEST(SimPlatformEnvironment, FailListAndLogFileComeFromTheEnvironment)
{
    char dir[] = "/tmp/sim-env-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string log = std::string(dir) + "/calls.log";
    KeloTest::ProcessResult r =
        KeloTest::runProcess(KeloTest::binPath("sim_platform_probe"), {}, "",
                             {"KELO_SIM_FAIL=IMtkCfg_Init", "KELO_SIM_LOG=" + log});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "init -1\nopen -4\nfailures IMtkCfg_Init\n");
    std::ifstream in(log);
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), "IMtkCfg_Init() = -1 (injected failure)\n"
                          "IMtkCfg_Open() = -4\n");
    unlink(log.c_str());
    rmdir(dir);
}
