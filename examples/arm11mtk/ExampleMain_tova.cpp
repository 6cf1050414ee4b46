// The program entry of the device client: kelo_client MODEL LANGUAGE. It prepares the process
// (signal handlers, device identity, streaming buffer, configuration text), runs one
// KELO::Core with the platform drivers, and polls the host message queue once a second until
// the host or the user asks it to quit; then it stops the core, tells the host it exits and
// releases the drivers. Every message goes to standard output.
//
// Two development switches from the environment: KELO_MIRROR=1 shows the screen in a desktop
// window that also takes keys (sim/mirror), and KELO_SCREENSHOT=PATH runs the "screenshot"
// console command with PATH when the host asks the client to quit, before the core stops.
//
// Results: -1 for a bad command line or model code, 1 when the core did not start, 0 after a
// normal exit, or the failing sigaction's result.
#include "BootScreen.h"
#include "CrashHandler.h"
#include "DesktopMirror.h"
#include "DeviceModel.h"
#include "DeviceState.h"
#include "MyCoreEventListener.h"
#include "PlaybackControl.h"
#include "PortDrivers.h"
#include "core/Core.h"
#include "core/CoreLinks.h"
#include "kapi/OpensslCryptoDriver.h"
#include "kelouipc/kelo_ipc.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace {

constexpr size_t kStreamingBufferSize = 25165824;  // 24 MiB
constexpr size_t kStreamingBufferZeroed = 5242880; // only the first 5 MiB are cleared

void sendToHost_i(int32 type)
{
    int32 ret = kelo_stub_send_type(type);
    if (ret != KELO_IPC_OK)
        printf("[kelo tester] kelo_app_send_msg() failed! ERR = %d \n", ret);
}

// One poll of the stub queue and the second's wait after it.
void pollHost_i()
{
    KELO_MSG_T msg;
    memset(&msg, 0, sizeof(msg));
    if (kelo_stub_recv_ipc_msg_nowait(&msg) == KELO_IPC_OK) {
        printf("[kelo tester] receieve IPC %d\n", msg.tMsgType);
        switch (msg.tMsgType) {
        case KELO_MSG_STUB_INIT:
            puts("[kelo tester] KELO_MSG_STUB_INIT ");
            break;
        case KELO_MSG_STUB_UNINIT:
            puts("[kelo tester] KELO_MSG_STUB_UNINIT ");
            sendToHost_i(KELO_MSG_STUB_UNINIT_RET);
            _fgKeloQuit = true;
            break;
        case KELO_MSG_STUB_FINALIZE:
            puts("[kelo tester] KELO_MSG_STUB_FINALIZE ");
            _fgKeloQuit = true;
            break;
        case KELO_MSG_SS_ON:
            puts("[kelo tester] KELO_MSG_SS_ON, stop recv key ");
            g_fgRecvKey = false;
            break;
        case KELO_MSG_SS_OFF:
            puts("[kelo tester] KELO_MSG_SS_ON, start recv key "); // the device's own text
            g_fgRecvKey = true;
            break;
        case KELO_MSG_DOWNLOAD_FILE:
            puts("[kelo tester] KELO_MSG_DOWNLOAD_FILE ");
            g_downloadfile = true;
            break;
        default:
            break;
        }
    }
    sleep(1);
}

struct Drivers
{
    KELO::CryptoDriver* crypto = nullptr;
    KELO::SystemDriver* system = nullptr;
    KELO::MultimediaDriver* multimedia = nullptr;
    KELO::UserInputDriver* userInput = nullptr;
    KELO::LinkStatusDriver* linkStatus = nullptr;
    KELO::RemuxerDriver* remuxer = nullptr;
};

void createAndRegister_i(KELO::Core& core, Drivers& d)
{
    d.crypto = CreateOpensslCryptoDriver();
    core.registerCryptoDriver(d.crypto);
    d.system = CreateArm11mtkSystemDriver("/misc/kelo-settings.db");
    core.registerSystemDriver(d.system);
    d.multimedia = CreateDfbMultimediaDriver();
    core.registerMultimediaDriver(d.multimedia);
    d.userInput = CreateDfbUserInputDriver();
    core.registerUserInputDriver(d.userInput);
    d.linkStatus = CreateGenericLinkStatusDriver();
    core.registerLinkStatusDriver(d.linkStatus);
    d.remuxer = VRMX_CreateRemuxerDriver();
    core.registerRemuxerDriver(d.remuxer);
    KELO::CoreLinks::setScreenMaker(&KELO::BootScreen::make);
    SimMirror::startDesktopMirrorIfRequested();
}

// The development screenshot switch (KELO_SCREENSHOT).
void screenshotIfAsked_i(KELO::Core& core)
{
    const char* path = getenv("KELO_SCREENSHOT");
    if (path == nullptr || *path == '\0')
        return;
    Kapi::StringVector args;
    args.push_back(path);
    printf("[kelo tester] screenshot %s: %s\n", path,
           core.executeConsoleCommand("screenshot", args) ? "written" : "failed");
}

void unregisterAndDestroy_i(KELO::Core& core, Drivers& d)
{
    core.unregisterRemuxerDriver();
    core.unregisterLinkStatusDriver();
    core.unregisterUserInputDriver();
    core.unregisterMultimediaDriver();
    core.unregisterSystemDriver();
    core.unregisterCryptoDriver();
    SimMirror::stopDesktopMirror();
    KELO::CoreLinks::setScreenMaker(nullptr);
    VRMX_DestroyRemuxerDriver(d.remuxer);
    DestroyGenericLinkStatusDriver();
    DestroyDfbUserInputDriver();
    DestroyDfbMultimediaDriver();
    DestroyArm11mtkSystemDriver();
    DestroyOpensslCryptoDriver(d.crypto);
    d = Drivers{};
}

} // namespace

int main(int argc, char** argv)
{
    // Line-buffered so that the host and the demo see each line as it happens.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    puts("kelo client enter main");
    int ret = installSignalHandlers();
    if (ret != 0)
        return ret;

    if (argc != 3) {
        printf("kelo client argc=%d\n", argc);
        return -1;
    }
    puts("argc is right");
    if (!applyDeviceModel(argv[1])) {
        printf("kelo client exit argv[1]=%s\n", argv[1]);
        return -1;
    }
    if (argv[2] != nullptr)
        appendLanguageConfig(argv[2]);

    ret = init_kelo_msg_queue();
    if (ret == KELO_IPC_OK)
        puts("[kelo tester] init_kelo_msg_queue successful ");
    else
        printf("[kelo tester] init_kelo_msg_queue fail %d \n", ret);

    platformInitArm11mtk();

    // Never freed: the core's streaming allocator owns the region until the process ends.
    _pcKelo_Streamaddr = malloc(kStreamingBufferSize);
    printf("open kelomem ok %" PRIxPTR " \n", reinterpret_cast<uintptr_t>(_pcKelo_Streamaddr));
    if (_pcKelo_Streamaddr != nullptr)
        memset(_pcKelo_Streamaddr, 0, kStreamingBufferZeroed);
    appendStreamingConfig(_pcKelo_Streamaddr);

    auto core = std::make_unique<KELO::Core>(CONFIG);
    MyCoreEventListener listener;
    core->setEventListener(&listener);
    Drivers drivers;
    createAndRegister_i(*core, drivers);

    _fgKeloQuit = false;
    bool keepRunning = true;
    int result = 0;
    bool started = true;
    while (keepRunning) {
        puts("KeloMain: START MOVIE UI");
        if (!core->start("movies", KELO::Core::CommandArgs())) {
            puts("Core failed to start.  Check logs for errors.");
            result = 1;
            started = false;
            break;
        }
        mpbcinit();
        // A quit that came before the poll leaves keepRunning set: the core is stopped and
        // started again with the flag still set, as on the device.
        if (!_fgKeloQuit) {
            for (;;) {
                pollHost_i();
                if (_fgKeloQuit) {
                    keepRunning = false;
                    break;
                }
            }
        }
        screenshotIfAsked_i(*core);
        puts("[kelo tester] Stopping Core...");
        for (int32 p = _StartPlayer; p == 1 || p == 2; p = _StartPlayer) {
            printf("[kelo tester] waiting pb thread exit, %d \n", p);
            sleep(1);
        }
        mpbcuninit();
        core->stop();
        puts("[kelo tester] Core stopped.");
    }

    if (started) {
        sendToHost_i(KELO_MSG_EXIT_SELF);
        core->setEventListener(nullptr);
        unregisterAndDestroy_i(*core, drivers);
        platformUninitArm11mtk();
        result = 0;
    }
    core.reset();
    return result;
}
