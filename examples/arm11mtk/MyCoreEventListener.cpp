// The core event listener of the entry (MyCoreEventListener.h).
#include "MyCoreEventListener.h"

#include "DeviceState.h"
#include "kelouipc/kelo_ipc.h"

#include <cstdio>
#include <cstring>

void MyCoreEventListener::Callback(const KELO::Core::Event& event)
{
    switch (event.type) {
    case KELO::Core::Event::EVENT_USER_REQUESTED_QUIT:
        puts("[kelo tester] kelo receive EVENT_USER_REQUESTED_QUIT");
        _fgKeloQuit = true;
        break;
    case KELO::Core::Event::EVENT_USER_IS_IDLE: {
        puts("[kelo tester] kelo receive EVENT_USER_IS_IDLE");
        int32 ret = kelo_stub_send_type(KELO_MSG_SS_START);
        puts("[kelo tester] kelo client Callback send  KELO_MSG_SS_START ");
        if (ret != KELO_IPC_OK)
            printf("[kelo_client] kelo_app_send_msg() failed! ERR = %d \n", ret);
        break;
    }
    case KELO::Core::Event::EVENT_NAMED: {
        const std::string text = event.toString();
        printf("[kelo tester] KELO Core sent event '%s'\n", text.c_str());
        char name[256] = {};
        strncpy(name, text.c_str(), sizeof(name) - 1);
        if (strcmp(name, "newPlaybackSession") == 0) {
            int32 ret = kelo_stub_send_type(KELO_MSG_SS_STOP);
            puts("[kelo tester] kelo client Callback send  KELO_MSG_SS_STOP ");
            if (ret != KELO_IPC_OK)
                printf("[kelo tester] kelo_app_send_msg() failed! ERR = %d \n", ret);
        }
        break;
    }
    default:
        break;
    }
}
