// The host message queue library: the message names, queue creation and removal under a
// private KELO_ROOT, sending and receiving whole records, and the diagnostics printed for bad
// pointers, a missing key file and an empty queue.
#include "kelouipc/kelo_ipc.h"
#include "sim/KeloRoot.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sys/msg.h>

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

TEST(KeloIpcNames, EveryTypeHasItsNameAndBack)
{
    const int32 types[] = {0,  1,  2,  3,   4,   5,   6,   7,   8,   9,   10,  11, 12, 13,
                           14, 15, 16, 17,  18,  19,  20,  21,  22,  23,  24,  25, 26, 27,
                           28, 29, 30, 31,  32,  33,  34,  35,  36,  37,  38,  39, 40, 41,
                           42, 43, 44, 100, 101, 102, 103, 104, 105, 106, 107, 108};
    for (int32 t : types) {
        const char* name = kelo_msg_type_name(t);
        ASSERT_NE(name, nullptr) << t;
        int32 back = -1;
        EXPECT_TRUE(kelo_msg_type_from_name(name, &back));
        EXPECT_EQ(back, t) << name;
    }
    EXPECT_EQ(kelo_msg_type_name(45), nullptr);
    EXPECT_STREQ(kelo_msg_type_name(26), "KELO_MSG_SERIOUS_ERROR_OCCURED");
    EXPECT_STREQ(kelo_msg_type_name(107), "KELOAPP_MSG_PLUGIN_DESTROY_DONE");
    int32 t = 0;
    EXPECT_FALSE(kelo_msg_type_from_name("KELO_MSG_NOPE", &t));
    EXPECT_FALSE(kelo_msg_type_from_name(nullptr, &t));
}

TEST(KeloIpcQueues, BothQueuesAreMadeOnceFromTheKeyFileAndRemoved)
{
    KeloTest::KeloRoot root;
    CaptureStdout();
    ASSERT_EQ(init_kelo_msg_queue(), KELO_IPC_OK);
    ASSERT_EQ(init_kelo_msg_queue(), KELO_IPC_OK);
    const std::string out = GetCapturedStdout();
    EXPECT_EQ(out, "[KeloStub] Calling -------> init_kelo_msg_queue\n"
                   "[KeloStub] Calling -------> kelo_new_msg_que\n"
                   "[KeloStub] KeloAppMsgQue id:" +
                       std::to_string(rKeloAppMsgQue.i4MsgQueId) +
                       " \n"
                       "[KeloStub] Calling -------> kelo_new_msg_que\n"
                       "[KeloStub] KeloStubMsgQue id:" +
                       std::to_string(rKeloStubMsgQue.i4MsgQueId) +
                       " \n"
                       "[KeloStub] Calling -------> init_kelo_msg_queue\n"
                       "[KeloStub]The Kelo message queue ahs already been initilized!\n");
    EXPECT_TRUE(g_rKeloMsgQue);
    EXPECT_EQ(root.queueId(1), rKeloAppMsgQue.i4MsgQueId);
    EXPECT_EQ(root.queueId(2), rKeloStubMsgQue.i4MsgQueId);
    // Created with permission bits 0.
    msqid_ds info;
    ASSERT_EQ(msgctl(rKeloStubMsgQue.i4MsgQueId, IPC_STAT, &info), 0);
    EXPECT_EQ(info.msg_perm.mode & 0777, 0);

    EXPECT_EQ(uninit_kelo_msg_queue(), KELO_IPC_OK);
    EXPECT_FALSE(g_rKeloMsgQue);
    EXPECT_EQ(rKeloAppMsgQue.i4MsgQueId, 0);
    EXPECT_EQ(rKeloStubMsgQue.bKey, 0);
    EXPECT_EQ(root.queueId(1), -1);
    EXPECT_EQ(root.queueId(2), -1);
}

TEST(KeloIpcQueues, WholeRecordsPassBothWays)
{
    KeloTest::KeloRoot root;
    ASSERT_EQ(init_kelo_msg_queue(), KELO_IPC_OK);
    KELO_MSG_T msg;
    memset(&msg, 0, sizeof(msg));
    msg.tMsgType = KELO_MSG_HISTORY;
    strcpy(msg.uMsgData.rHistoryMsg.url, "http://example/");
    msg.uMsgData.rHistoryMsg.title[254] = 'z'; // the last payload byte sent (offset 766)
    CaptureStdout();
    ASSERT_EQ(kelo_app_send_ipc_msg(&msg), KELO_IPC_OK);
    EXPECT_EQ(GetCapturedStdout(),
              "[KeloStub] Calling -------> kelo_app_send_ipc_msg, MSG ID = [35]\n");

    KELO_MSG_T got;
    memset(&got, 0xff, sizeof(got));
    ASSERT_EQ(kelo_stub_recv_ipc_msg(&got), KELO_IPC_OK);
    EXPECT_EQ(got.tMsgType, KELO_MSG_HISTORY);
    EXPECT_EQ(memcmp(&got.uMsgData, &msg.uMsgData, KELO_MSG_DATA_SIZE), 0);

    // Nothing waiting: -4 and no diagnostic.
    CaptureStdout();
    EXPECT_EQ(kelo_stub_recv_ipc_msg_nowait(&got), KELO_IPC_SYSCALL_FAILED);
    EXPECT_EQ(GetCapturedStdout(), "");

    ASSERT_EQ(kelo_stub_send_type(KELO_MSG_SS_START), KELO_IPC_OK);
    ASSERT_EQ(kelo_app_recv_ipc_msg(&got), KELO_IPC_OK);
    EXPECT_EQ(got.tMsgType, KELO_MSG_SS_START);
    KELO_MSG_T zero;
    memset(&zero, 0, sizeof(zero));
    EXPECT_EQ(memcmp(&got.uMsgData, &zero.uMsgData, KELO_MSG_DATA_SIZE), 0);
    uninit_kelo_msg_queue();
}

TEST(KeloIpcFailures, BadPointersMissingKeyFileAndDeadQueuesArePrinted)
{
    CaptureStdout();
    EXPECT_EQ(kelo_ipc_send_msg(0, nullptr, 0), KELO_IPC_INVALID_POINTER);
    EXPECT_EQ(kelo_ipc_recv_msg(0, nullptr, 0), KELO_IPC_INVALID_POINTER);
    EXPECT_EQ(kelo_new_msg_que("/x", 1, nullptr), KELO_IPC_INVALID_POINTER);
    EXPECT_EQ(GetCapturedStdout(), "[KELO] Invalid Pointer!\n"
                                   "[KELO] Invalid Pointer!\n"
                                   "[KeloStub] Calling -------> kelo_new_msg_que\n"
                                   "[KELO] Invalid Pointer!\n");

    KeloTest::KeloRoot root(false);
    CaptureStdout();
    EXPECT_EQ(init_kelo_msg_queue(), KELO_IPC_SYSCALL_FAILED);
    EXPECT_EQ(GetCapturedStdout(), "[KeloStub] Calling -------> init_kelo_msg_queue\n"
                                   "[KeloStub] Calling -------> kelo_new_msg_que\n"
                                   "[KeloStub][ftok] Get key failed!\n"
                                   "[KeloStub][msgget] ERR = -4\n");
    EXPECT_FALSE(g_rKeloMsgQue);

    root.createKeyFile();
    ASSERT_EQ(init_kelo_msg_queue(), KELO_IPC_OK);
    const int stub = rKeloStubMsgQue.i4MsgQueId;
    root.removeQueues(); // the host went away
    KELO_MSG_T msg;
    memset(&msg, 0, sizeof(msg));
    msg.tMsgType = KELO_MSG_EXIT_SELF;
    CaptureStdout();
    EXPECT_EQ(kelo_stub_send_ipc_msg(&msg), KELO_IPC_SYSCALL_FAILED);
    EXPECT_EQ(kelo_stub_recv_ipc_msg(&msg), KELO_IPC_SYSCALL_FAILED);
    EXPECT_EQ(kelo_delete_msg_queue(stub), KELO_IPC_SYSCALL_FAILED);
    EXPECT_EQ(GetCapturedStdout(),
              "[KeloStub] Calling -------> kelo_stub_send_ipc_msg, MSG ID = [42]\n"
              "[KeloStub][kelo_ipc_send_msg] ERR = -4\n"
              "[KeloStub][kelo_ipc_recv_msg] ERR = -4\n"
              "[KeloStub][msgctl] ERR = Invalid argument\n");
    CaptureStdout();
    uninit_kelo_msg_queue();
    GetCapturedStdout();
}
