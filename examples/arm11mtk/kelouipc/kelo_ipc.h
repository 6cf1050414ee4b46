#ifndef ARM11MTK_KELO_IPC_H
#define ARM11MTK_KELO_IPC_H
// The host message queue: two System V message queues shared with the device's host
// application, both keyed with ftok on the client's program file ("/usr/local/bin/kelo_client"
// under KELO_ROOT). The app queue (project id 1) carries messages to the host; the stub queue
// (project id 2) carries messages to this program. Both sides exchange the same 1056-byte
// record KELO_MSG_T: a 32-bit type (also the System V message type), 4 bytes of padding and a
// 1048-byte union of payload records. Every queue call passes 1048 bytes (the record less its
// leading 8 bytes) and receives with message type 0 (the first message of any type).
//
// The layout is the host protocol's, native little-endian, the same on the 32-bit device and
// on a 64-bit build: handles are 32-bit values, BOOL is one byte, strings are NUL-terminated in
// fixed arrays. Every record's size and field offsets are checked below.
//
// Functions return 0 on success, KELO_IPC_INVALID_POINTER (-3) for a null pointer and
// KELO_IPC_SYSCALL_FAILED (-4) for a failed system call; they print their diagnostics to
// standard output. The queue descriptors are process-wide and unguarded: one thread creates
// and removes them; sends and receives may then come from any thread.
#include "kapi/KapiTypes.h"
#include "kelouipc/kelo_msg_records.h"

#include <cstddef>
#include <sys/types.h>

constexpr int32 KELO_IPC_OK = 0;
constexpr int32 KELO_IPC_INVALID_POINTER = -3;
constexpr int32 KELO_IPC_SYSCALL_FAILED = -4;
// Bytes passed to msgsnd/msgrcv: the record less its type and padding.
constexpr size_t KELO_MSG_DATA_SIZE = 1048;
// The key file, a device path.
constexpr const char* KELO_IPC_KEY_PATH = "/usr/local/bin/kelo_client";

enum IPC_MSG_TYPE : int32
{
    KELO_MSG_STA_ID = 0,
    KELO_MSG_STUB_INIT = 1,
    KELO_MSG_STUB_INIT_DONE = 2,
    KELO_MSG_STUB_UNINIT = 3,
    KELO_MSG_STUB_UNINIT_RET = 4,
    KELO_MSG_STUB_FINALIZE = 5,
    KELO_MSG_STUB_FINALIZE_DONE = 6,
    KELO_MSG_OPEN_WIND_ID = 7,
    KELO_MSG_OPEN_WIND_RET_ID = 8,
    KELO_MSG_CLOSE_WIND_ID = 9,
    KELO_MSG_CLOSE_WIND_RET_ID = 10,
    KELO_MSG_APP_GO_BG = 11,
    KELO_MSG_APP_GO_FG = 12,
    KELO_MSG_OPEN_URL = 13,
    KELO_MSG_OPEN_URL_RET = 14,
    KELO_MSG_LOADING_START = 15,
    KELO_MSG_LOADING_FINISHED = 16,
    KELO_MSG_WINDOW_PROPERTY = 17,
    KELO_MSG_NEED_INPUT_BOX = 18,
    KELO_MSG_INPUT_STRING = 19,
    KELO_MSG_NEED_LOGIN_DIALOG = 20,
    KELO_MSG_LOGIN = 21,
    KELO_MSG_SET_PROXY = 22,
    KELO_MSG_CLEAR = 23,
    KELO_MSG_SET_WINDOW = 24,
    KELO_MSG_KEEP_ALIVE = 25,
    KELO_MSG_SERIOUS_ERROR_OCCURED = 26,
    KELO_MSG_TAB_CMD = 27,
    KELO_MSG_INFO_MSGBOX = 28,
    KELO_MSG_CHANGE_RES = 29,
    KELO_MSG_CHANGE_ZOOM = 30,
    KELO_MSG_INPUT_HOT_PLUG = 31,
    KELO_MSG_CHANGE_ENCODING = 32,
    KELO_MSG_GET_HISTORY = 33,
    KELO_MSG_HISTORY_COUNT = 34,
    KELO_MSG_HISTORY = 35,
    KELO_MSG_SS_STOP = 36,
    KELO_MSG_SS_START = 37,
    KELO_MSG_SS_ON = 38,
    KELO_MSG_SS_OFF = 39,
    KELO_MSG_NETWORK_SETUP = 40,
    KELO_MSG_UPDATE_TIME = 41,
    KELO_MSG_EXIT_SELF = 42,
    KELO_MSG_SET_DISC_TYPE = 43,
    KELO_MSG_DOWNLOAD_FILE = 44,
    KELOST_MSG_PLUGIN_NEW_STREAM = 100,
    KELOST_MSG_PLUGIN_SET_WINDOW = 101,
    KELOST_MSG_PLUGIN_DESTROY_STREAM = 102,
    KELOST_MSG_PLUGIN_ACTIVATE = 103,
    KELOAPP_MSG_PLUGIN_NEW_STREAM_DONE = 104,
    KELOST_MSG_PLUGIN_FL_PLAY = 105,
    KELOST_MSG_PLUGIN_DESTROY = 106,
    KELOAPP_MSG_PLUGIN_DESTROY_DONE = 107,
    KELO_MSG_APP_MSG_NUM = 108 // count marker
};

// The name of a message type ("KELO_MSG_STUB_UNINIT"), or null for a number without one.
const char* kelo_msg_type_name(int32 type);
// The type of a name; false when the name is unknown.
bool kelo_msg_type_from_name(const char* name, int32* type);

// A System V queue of the host protocol.
struct IPC_MSG_QUE_T
{
    key_t bKey;
    int32 i4MsgQueId;
};

extern IPC_MSG_QUE_T rKeloAppMsgQue;  // project id 1: read by the host
extern IPC_MSG_QUE_T rKeloStubMsgQue; // project id 2: read by this program
extern bool g_rKeloMsgQue;            // both queues exist

int32 kelo_new_msg_que(const char* path, char projectId, IPC_MSG_QUE_T* q);
int32 kelo_delete_msg_queue(long id);
int32 kelo_ipc_send_msg(long id, KELO_MSG_T* m, long flags);
int32 kelo_ipc_recv_msg(long id, KELO_MSG_T* m, long flags);

int32 init_kelo_msg_queue();
int32 uninit_kelo_msg_queue();

// This program's side: send to the host (app queue), receive from it (stub queue).
int32 kelo_stub_send_ipc_msg(KELO_MSG_T* m);
int32 kelo_stub_recv_ipc_msg(KELO_MSG_T* m);
// No message waiting gives KELO_IPC_SYSCALL_FAILED without a diagnostic.
int32 kelo_stub_recv_ipc_msg_nowait(KELO_MSG_T* m);
// The host's side: send to this program (stub queue), receive from it (app queue).
int32 kelo_app_send_ipc_msg(KELO_MSG_T* m);
int32 kelo_app_recv_ipc_msg(KELO_MSG_T* m);

// Clears a record and sends a message of `type` with no payload to the host; the result of
// kelo_stub_send_ipc_msg.
int32 kelo_stub_send_type(int32 type);

#endif
