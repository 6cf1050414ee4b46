// The entry's parts in one process: the model table and configuration text, the core event
// listener's host messages, the playback-control start and stop against the platform
// simulator, the warm-up and the controller callback's flags.
#include "DeviceModel.h"
#include "DeviceState.h"
#include "MyCoreEventListener.h"
#include "PlaybackControl.h"
#include "PlaybackFlags.h"
#include "SimPlatform.h"
#include "kelouipc/kelo_ipc.h"
#include "sim/KeloRoot.h"

#include <gtest/gtest.h>

#include <cstring>
#include <unistd.h>
#include <vector>

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

// Types waiting on the app queue (what the host would read), in order.
std::vector<int32> drainToHost()
{
    std::vector<int32> types;
    KELO_MSG_T msg;
    while (kelo_ipc_recv_msg(rKeloAppMsgQue.i4MsgQueId, &msg, IPC_NOWAIT) == KELO_IPC_OK)
        types.push_back(msg.tMsgType);
    return types;
}

// Waits for the detached warm-up thread that mpbcinit started, and drops its line from `out`.
void awaitWarmUp(uint32 doneBefore, std::string* out)
{
    for (int i = 0; i < 3000 && g_u4WarmUpsDone == doneBefore; ++i)
        usleep(1000);
    const std::string line = "[kelo dumyplay]stop, because receive KELO stop command\n";
    const size_t at = out->find(line);
    if (at != std::string::npos)
        out->erase(at, line.size());
}

class EntryState : public ::testing::Test
{
protected:
    void SetUp() override
    {
        _fgKeloQuit = false;
        gh_handle = IMTK_NULL_HANDLE;
        hCfgHandle = -1;
        resetPlaybackFlags();
        SimPlatform::reset();
    }
    void TearDown() override
    {
        _fgKeloQuit = false;
        SimPlatform::reset();
    }
};

} // namespace

TEST(DeviceModelTable, CodesMapToTheirIdentity)
{
    CaptureStdout();
    ASSERT_TRUE(applyDeviceModel("M131"));
    EXPECT_STREQ(mfgId, "TOVA");
    EXPECT_STREQ(modelId, "M130");
    EXPECT_TRUE(support_soc);
    ASSERT_TRUE(applyDeviceModel("M151"));
    EXPECT_STREQ(modelId, "R7A2");
    EXPECT_FALSE(support_soc);
    EXPECT_FALSE(applyDeviceModel("m110")); // case-sensitive
    EXPECT_FALSE(applyDeviceModel("M1100"));
    EXPECT_STREQ(modelId, "R7A2"); // unchanged
    EXPECT_EQ(GetCapturedStdout(), "kelo client now is M131\nkelo client now is M151\n");

    size_t count = 0;
    const DeviceModel* models = deviceModels(&count);
    ASSERT_EQ(count, 7u);
    int withoutSoc = 0;
    for (size_t i = 0; i < count; ++i)
        withoutSoc += models[i].supportSoc ? 0 : 1;
    EXPECT_EQ(withoutSoc, 2);
}

TEST(DeviceModelTable, ConfigurationTextGrowsByLanguageAndStreamingSection)
{
    const std::string saved = CONFIG;
    EXPECT_EQ(CONFIG, "[overscan]\ntop = 0\nleft = 0\nbottom = 0\nright = 0\n[screensaver]\n"
                      "external = true\n[appData]\nappDataPath=/misc\nappDataSize=2097152\n"
                      "[errorhandling]\npolicy=retry_quit\nretryKeyName=OK\n[locale]\n"
                      "country=auto\n");
    appendLanguageConfig("");
    appendStreamingConfig(reinterpret_cast<void*>(uintptr_t{0xab12cd00}));
    EXPECT_EQ(CONFIG.substr(saved.size()), "language=\n[streaming]\n"
                                           "streamingBufferPtr=0xab12cd00\n"
                                           "streamingBufferSize=25165824\n");
    CONFIG = saved;
    appendLanguageConfig(std::string(53, 'x').c_str());
    EXPECT_EQ(CONFIG.substr(saved.size()), "language=" + std::string(53, 'x') + "\n");
    CONFIG = saved;
    appendLanguageConfig(std::string(60, 'y').c_str()); // cut at the 64-byte line
    EXPECT_EQ(CONFIG.substr(saved.size()), "language=" + std::string(54, 'y'));
    CONFIG = saved;
}

TEST_F(EntryState, CoreEventsBecomeHostMessages)
{
    KeloTest::KeloRoot root;
    CaptureStdout();
    ASSERT_EQ(init_kelo_msg_queue(), KELO_IPC_OK);
    GetCapturedStdout();
    MyCoreEventListener listener;

    CaptureStdout();
    listener.Callback(KELO::Core::Event(KELO::Core::Event::EVENT_USER_IS_IDLE));
    listener.Callback(KELO::Core::Event("newPlaybackSession", {}));
    listener.Callback(KELO::Core::Event("newPlaybackSession", {{"id", "7"}}));
    listener.Callback(KELO::Core::Event(KELO::Core::Event::EVENT_CUSTOM_USER_IDLE_TIMEOUT));
    listener.Callback(KELO::Core::Event(5));
    EXPECT_FALSE(_fgKeloQuit);
    listener.Callback(KELO::Core::Event(KELO::Core::Event::EVENT_USER_REQUESTED_QUIT));
    EXPECT_TRUE(_fgKeloQuit);
    EXPECT_EQ(GetCapturedStdout(),
              "[kelo tester] kelo receive EVENT_USER_IS_IDLE\n"
              "[KeloStub] Calling -------> kelo_stub_send_ipc_msg, MSG ID = [37]\n"
              "[kelo tester] kelo client Callback send  KELO_MSG_SS_START \n"
              "[kelo tester] KELO Core sent event 'newPlaybackSession'\n"
              "[KeloStub] Calling -------> kelo_stub_send_ipc_msg, MSG ID = [36]\n"
              "[kelo tester] kelo client Callback send  KELO_MSG_SS_STOP \n"
              "[kelo tester] KELO Core sent event 'newPlaybackSession(id=7)'\n"
              "[kelo tester] kelo receive EVENT_USER_REQUESTED_QUIT\n");
    EXPECT_EQ(drainToHost(), (std::vector<int32>{KELO_MSG_SS_START, KELO_MSG_SS_STOP}));

    // Without a host queue the send fails and says so.
    root.removeQueues();
    CaptureStdout();
    listener.Callback(KELO::Core::Event(KELO::Core::Event::EVENT_USER_IS_IDLE));
    EXPECT_EQ(GetCapturedStdout(),
              "[kelo tester] kelo receive EVENT_USER_IS_IDLE\n"
              "[KeloStub] Calling -------> kelo_stub_send_ipc_msg, MSG ID = [37]\n"
              "[KeloStub][kelo_ipc_send_msg] ERR = -4\n"
              "[kelo tester] kelo client Callback send  KELO_MSG_SS_START \n"
              "[kelo_client] kelo_app_send_msg() failed! ERR = -4 \n");
    CaptureStdout();
    uninit_kelo_msg_queue();
    GetCapturedStdout();
}

TEST_F(EntryState, PlaybackClientsOpenAndCloseInTheDeviceOrder)
{
    _fgKeloQuit = true; // the warm-up thread stops at once
    support_soc = true;
    const uint32 warmUps = g_u4WarmUpsDone;
    CaptureStdout();
    mpbcinit();
    std::string init = GetCapturedStdout();
    awaitWarmUp(warmUps, &init);
    EXPECT_EQ(init, "[kelo mpbcinit] IMtkPb_Ctrl_Init\n"
                    "[kelo mpbcinit]IMtkPb_Ctrl_Open 1 \n"
                    "[kelostub] SAVE IMtkCfg_Vid_Set_Cps_Info Fail...Error Code=-4\n"
                    "[kelo mpbcinit] IMtkCfg_Init\n"
                    "[kelo mpbcinit] IMtkCfg_Open\n"
                    "[kelo mpbcinit] start dumyplay\n");
    EXPECT_EQ(gh_handle, 1);
    EXPECT_EQ(hCfgHandle, 1);
    CaptureStdout();
    mpbcuninit();
    EXPECT_EQ(GetCapturedStdout(), "[kelo tester] IMtkPb_Ctrl_Close successful\n"
                                   "[kelo tester] quit kelo call copyprotectionreset\n"
                                   "[kelo tester] IMtkCfg_Close\n"
                                   "[kelo tester] IMtkCfg_Terminate\n");
    EXPECT_EQ(gh_handle, IMTK_NULL_HANDLE);
    EXPECT_EQ(hCfgHandle, 1); // not reset
    const std::vector<std::string> expected = {
        "IMtkPb_Ctrl_Init() = 0",
        "IMtkPb_Ctrl_Open(3, 1, 0 -> handle 1) = 0",
        "IMtkCfg_Vid_Get_Cps_Info(-1) = -4",
        "IMtkCfg_Init() = 0",
        "IMtkCfg_Count() = 0",
        "IMtkCfg_Open() = 0",
        "IMtkPb_Ctrl_Close(1) = 0",
        "IMtkPb_Ctrl_Terminate() = 0",
        "IMtkCfg_Vid_Set_Cps_Info(1) = 0",
        "IMtkCfg_Close(1) = 0",
        "IMtkCfg_Terminate() = 0",
    };
    EXPECT_EQ(SimPlatform::callLog(), expected); // the quitting warm-up makes no call
}

TEST_F(EntryState, FailingClientsArePrintedAndTheSequenceGoesOn)
{
    _fgKeloQuit = true;
    SimPlatform::setFailures("IMtkPb_Ctrl_Open,IMtkCfg_Init,IMtkCfg_Open");
    const uint32 warmUps = g_u4WarmUpsDone;
    CaptureStdout();
    mpbcinit();
    mpbcuninit();
    std::string out = GetCapturedStdout();
    awaitWarmUp(warmUps, &out);
    EXPECT_EQ(out, "[kelo mpbcinit] IMtkPb_Ctrl_Init\n"
                   "[kelo mpbcinit]IMtkPb_Ctrl_Open fail -1 \n"
                   "[kelostub] SAVE IMtkCfg_Vid_Set_Cps_Info Fail...Error Code=-4\n"
                   "[kelo mpbcinit] IMtkCfg_Init\n"
                   "[kelo mpbcinit] IMtkCfg_Init Failed...Error Code=-1\n"
                   "[kelo mpbcinit] IMtkCfg_Count Fail...Error Code=-4\n"
                   "[kelo mpbcinit] IMtkCfg_Open\n"
                   "[kelo mpbcinit] IMtkCfg_Open Fail...Error Code=-1\n"
                   "[kelo mpbcinit] start dumyplay\n"
                   "[kelo tester] IMtkPb_Ctrl_Close, gh_handle != (~0)\n"
                   "[kelo tester] error IMtkcfg_client Close, IMTK_NULL_HANDLE != hCfgHandle\n");
    EXPECT_EQ(gh_handle, IMTK_NULL_HANDLE);
    EXPECT_EQ(hCfgHandle, -1);
}

TEST_F(EntryState, WarmUpPlaysAndStopsOnceAndLeavesTheControllerIdle)
{
    IMTK_PB_HANDLE_T h = IMTK_NULL_HANDLE;
    ASSERT_EQ(IMtkPb_Ctrl_Init(), IMTK_PB_ERROR_CODE_OK);
    ASSERT_EQ(IMtkPb_Ctrl_Open(&h, IMTK_PB_CTRL_BUFFERING_MODEL_PUSH, IMTK_PB_CTRL_APP_MASTER, 0),
              IMTK_PB_ERROR_CODE_OK);
    gh_handle = h;
    SimPlatform::clearCallLog();
    CaptureStdout();
    dumyplay(nullptr); // on this thread: about two seconds
    EXPECT_EQ(GetCapturedStdout(), "[kelo dumyplay]IMtkPb_Ctrl_SetEngineParam 0\n"
                                   "[kelo dumyplay]IMtkPb_Ctrl_SetMediaInfo 0\n"
                                   "[kelo dumyplay]IMtkPb_Ctrl_RegCallback 0\n"
                                   "[kelo dumyplay]IMtkPb_Ctrl_Play 0\n"
                                   "[kelo dumyplay]IMtkPb_Ctrl_Stop 0\n"
                                   "[kelo dumyplay]IMtkPb_Ctrl_SetMediaInfo(NULL) 0\n");
    EXPECT_EQ(_StartPlayer, 0);
    const std::vector<std::string> expected = {
        "IMtkPb_Ctrl_SetEngineParam(1, {model 3, size 0, flags 0}) = 0",
        "IMtkPb_Ctrl_SetMediaInfo(1, {type 1, video 2 pid 0, audio 1 pid 0, sync 1}) = 0",
        "IMtkPb_Ctrl_RegCallback(1, (nil), fct) = 0",
        "IMtkPb_Ctrl_Play(1, 0) = 0",
        "IMtkPb_Ctrl_Stop(1) = 0",
        "IMtkPb_Ctrl_SetMediaInfo(1, null) = 0",
    };
    EXPECT_EQ(SimPlatform::callLog(), expected);
    SimPlatform::PbHandleInfo info;
    ASSERT_TRUE(SimPlatform::pbHandleInfo(h, &info));
    EXPECT_EQ(info.state, SimPlatform::PbState::Opened);
    EXPECT_TRUE(info.hasCallback);

    // The registered callback is the port's: the controller's events set the shared flags.
    EXPECT_TRUE(SimPlatform::raiseEvent(h, IMTK_PB_CTRL_EVENT_BUFFER_UNDERFLOW, 0));
    EXPECT_TRUE(g_fgUnderflow);
    g_i4LastGetBufResult = -100;
    EXPECT_TRUE(SimPlatform::raiseEvent(h, IMTK_PB_CTRL_EVENT_GET_BUF_READY, 0));
    EXPECT_EQ(g_u4GetBufReady, 1u);
    EXPECT_EQ(g_i4LastGetBufResult, 0);
    CaptureStdout();
    EXPECT_TRUE(SimPlatform::raiseEvent(h, IMTK_PB_CTRL_EVENT_EOS, 0));
    EXPECT_EQ(GetCapturedStdout(), "[kelo tester] received EOS callback!\n");
    EXPECT_TRUE(g_fgIsEosCb);
    EXPECT_FALSE(g_fgUnderflow);
}

TEST_F(EntryState, WarmUpIsSkippedWhenQuitting)
{
    _fgKeloQuit = true;
    CaptureStdout();
    dumyplay(nullptr);
    EXPECT_EQ(GetCapturedStdout(), "[kelo dumyplay]stop, because receive KELO stop command\n");
    EXPECT_EQ(_StartPlayer, 0);
    EXPECT_TRUE(SimPlatform::callLog().empty());
}
