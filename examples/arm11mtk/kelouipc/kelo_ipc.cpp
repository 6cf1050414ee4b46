// The host message queue over System V message queues. Both descriptors start zeroed;
// init_kelo_msg_queue fills them and sets g_rKeloMsgQue, uninit_kelo_msg_queue removes the
// queues and zeroes everything again.
#include "kelouipc/kelo_ipc.h"

#include "kapi/SystemUtil.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/ipc.h>
#include <sys/msg.h>

IPC_MSG_QUE_T rKeloAppMsgQue;
IPC_MSG_QUE_T rKeloStubMsgQue;
bool g_rKeloMsgQue = false;

int32 kelo_new_msg_que(const char* path, char projectId, IPC_MSG_QUE_T* q)
{
    printf("[KeloStub] Calling -------> %s\n", __func__);
    if (path == nullptr || q == nullptr) {
        printf("[KELO] Invalid Pointer!\n");
        return KELO_IPC_INVALID_POINTER;
    }
    q->bKey = ftok(path, projectId);
    if (q->bKey == -1) {
        printf("[KeloStub][ftok] Get key failed!\n");
        return KELO_IPC_SYSCALL_FAILED;
    }
    // Permission bits 0, as on the device: only privileged processes use the queues.
    q->i4MsgQueId = msgget(q->bKey, IPC_CREAT);
    if (q->i4MsgQueId == -1) {
        printf("[KeloStub][msgget] ERR = %s\n", strerror(errno));
        return KELO_IPC_SYSCALL_FAILED;
    }
    return KELO_IPC_OK;
}

int32 kelo_delete_msg_queue(long id)
{
    if (msgctl(static_cast<int>(id), IPC_RMID, nullptr) == -1) {
        printf("[KeloStub][msgctl] ERR = %s\n", strerror(errno));
        return KELO_IPC_SYSCALL_FAILED;
    }
    return KELO_IPC_OK;
}

int32 kelo_ipc_send_msg(long id, KELO_MSG_T* m, long flags)
{
    if (m == nullptr) {
        printf("[KELO] Invalid Pointer!\n");
        return KELO_IPC_INVALID_POINTER;
    }
    if (msgsnd(static_cast<int>(id), m, KELO_MSG_DATA_SIZE, static_cast<int>(flags)) == -1)
        return KELO_IPC_SYSCALL_FAILED;
    return KELO_IPC_OK;
}

int32 kelo_ipc_recv_msg(long id, KELO_MSG_T* m, long flags)
{
    if (m == nullptr) {
        printf("[KELO] Invalid Pointer!\n");
        return KELO_IPC_INVALID_POINTER;
    }
    if (msgrcv(static_cast<int>(id), m, KELO_MSG_DATA_SIZE, 0, static_cast<int>(flags)) == -1)
        return KELO_IPC_SYSCALL_FAILED;
    return KELO_IPC_OK;
}

int32 init_kelo_msg_queue()
{
    printf("[KeloStub] Calling -------> %s\n", __func__);
    if (g_rKeloMsgQue) {
        printf("[KeloStub]The Kelo message queue ahs already been initilized!\n");
        return KELO_IPC_OK;
    }
    const std::string keyPath = Kapi::SystemUtil::devicePath(KELO_IPC_KEY_PATH);
    int32 ret = kelo_new_msg_que(keyPath.c_str(), 1, &rKeloAppMsgQue);
    if (ret != KELO_IPC_OK) {
        printf("[KeloStub][msgget] ERR = %d\n", ret);
        return ret;
    }
    printf("[KeloStub] KeloAppMsgQue id:%d \n", rKeloAppMsgQue.i4MsgQueId);
    ret = kelo_new_msg_que(keyPath.c_str(), 2, &rKeloStubMsgQue);
    if (ret != KELO_IPC_OK) {
        printf("[KeloStub][msgget] ERR = %d\n", ret);
        kelo_delete_msg_queue(rKeloAppMsgQue.i4MsgQueId);
        rKeloAppMsgQue.i4MsgQueId = 0;
        return ret;
    }
    printf("[KeloStub] KeloStubMsgQue id:%d \n", rKeloStubMsgQue.i4MsgQueId);
    g_rKeloMsgQue = true;
    return KELO_IPC_OK;
}

int32 uninit_kelo_msg_queue()
{
    int32 ret = kelo_delete_msg_queue(rKeloAppMsgQue.i4MsgQueId);
    int32 ret2 = kelo_delete_msg_queue(rKeloStubMsgQue.i4MsgQueId);
    rKeloAppMsgQue = IPC_MSG_QUE_T{};
    rKeloStubMsgQue = IPC_MSG_QUE_T{};
    g_rKeloMsgQue = false;
    return ret != KELO_IPC_OK ? ret : ret2;
}

static int32 sendOn_i(const char* caller, const IPC_MSG_QUE_T& q, KELO_MSG_T* m)
{
    printf("[KeloStub] Calling -------> %s, MSG ID = [%ld]\n", caller,
           m != nullptr ? static_cast<long>(m->tMsgType) : -1L);
    int32 ret = kelo_ipc_send_msg(q.i4MsgQueId, m, 0);
    if (ret != KELO_IPC_OK)
        printf("[KeloStub][kelo_ipc_send_msg] ERR = %d\n", ret);
    return ret;
}

static int32 recvOn_i(const IPC_MSG_QUE_T& q, KELO_MSG_T* m)
{
    int32 ret = kelo_ipc_recv_msg(q.i4MsgQueId, m, 0);
    if (ret == KELO_IPC_SYSCALL_FAILED)
        printf("[KeloStub][kelo_ipc_recv_msg] ERR = %d\n", ret);
    return ret;
}

int32 kelo_stub_send_ipc_msg(KELO_MSG_T* m)
{
    return sendOn_i(__func__, rKeloAppMsgQue, m);
}

int32 kelo_app_send_ipc_msg(KELO_MSG_T* m)
{
    return sendOn_i(__func__, rKeloStubMsgQue, m);
}

int32 kelo_stub_recv_ipc_msg(KELO_MSG_T* m)
{
    return recvOn_i(rKeloStubMsgQue, m);
}

int32 kelo_app_recv_ipc_msg(KELO_MSG_T* m)
{
    return recvOn_i(rKeloAppMsgQue, m);
}

int32 kelo_stub_recv_ipc_msg_nowait(KELO_MSG_T* m)
{
    return kelo_ipc_recv_msg(rKeloStubMsgQue.i4MsgQueId, m, IPC_NOWAIT);
}

int32 kelo_stub_send_type(int32 type)
{
    KELO_MSG_T msg;
    memset(&msg, 0, sizeof(msg));
    msg.tMsgType = type;
    return kelo_stub_send_ipc_msg(&msg);
}
