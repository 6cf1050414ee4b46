// Runs the link-status monitor and the MAC address lookup inside a private network namespace
// with a veth pair "kv0"/"kv1", and prints what the monitor reports for each step:
//   linkstatus_netns_probe link ROOT   initial events, then link down, link up, service-down
//                                      file created, removed: "<step>: <events>" per line
//   linkstatus_netns_probe uid         the unique ids with the wired interface, with a missing
//                                      one (fallback to the connection) and without any
// Exit status 77 (with the reason on standard error) when the namespace or the veth pair
// cannot be made here.
#include "LinkStatusDriverGeneric.h"
#include "SystemDriverLinuxGeneric.h"

#include "../LinkEventRecorder.h"
#include "../PortDrivers.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

const int kSkip = 77;

bool run(const std::string& command)
{
    const std::string ip = access("/usr/sbin/ip", X_OK) == 0 ? "/usr/sbin/ip" : "ip";
    return std::system((ip + " " + command + " >/dev/null 2>&1").c_str()) == 0;
}

bool makeNamespace()
{
    if (unshare(CLONE_NEWNET) != 0) {
        fprintf(stderr, "cannot make a network namespace: %s\n", strerror(errno));
        return false;
    }
    if (!run("link add kv0 type veth peer name kv1") ||
        !run("link set kv0 address 02:11:22:33:44:5a") || !run("addr add 10.77.0.1/24 dev kv0") ||
        !run("link set kv1 up") || !run("link set kv0 up")) {
        fprintf(stderr, "cannot make a veth pair in the namespace\n");
        return false;
    }
    return true;
}

std::string eventsText(const std::vector<int>& events, size_t from)
{
    std::string text;
    for (size_t i = from; i < events.size(); ++i)
        text += (text.empty() ? "" : " ") + std::to_string(events[i]);
    return text;
}

// Waits for the next event, then two more polls, and prints what came since `step` began.
size_t report(const char* step, LinkEventRecorder& recorder, size_t seen)
{
    recorder.waitFor(seen + 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));
    const std::vector<int> events = recorder.events();
    printf("%s: %s\n", step, eventsText(events, seen).c_str());
    fflush(stdout);
    return events.size();
}

int linkSteps(const std::string& root)
{
    setenv("KELO_ROOT", root.c_str(), 1);
    setenv("KELO_LINK_INTERFACE", "kv0", 1);
    const std::string flag = root + "/tmp/kknetcfg.service.down";

    KELO::LinkStatusDriver* driver = CreateGenericLinkStatusDriver();
    auto* monitor = static_cast<LinkStatusMonitorGeneric*>(driver->getLinkStatusMonitor());
    // The carrier comes up shortly after the pair does.
    for (int i = 0; i < 200 && !monitor->getLinkStatus(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));

    LinkEventRecorder recorder;
    monitor->AddListener(nullptr, &recorder);
    size_t seen = recorder.events().size();
    printf("initial: %s\n", eventsText(recorder.events(), 0).c_str());

    run("link set kv0 down");
    seen = report("link down", recorder, seen);
    run("link set kv0 up");
    seen = report("link up", recorder, seen);
    const int fd = open(flag.c_str(), O_WRONLY | O_CREAT, 0644);
    close(fd);
    seen = report("service down", recorder, seen);
    unlink(flag.c_str());
    seen = report("service up", recorder, seen);

    monitor->RemoveListener(&recorder);
    DestroyGenericLinkStatusDriver();
    return 0;
}

void printUid(const char* label)
{
    KELO::SystemDriverLinuxGeneric driver("TOVA", "M130");
    std::string uid;
    const bool ok = driver.getUID(uid);
    printf("%s: %d %s\n", label, ok ? 1 : 0, uid.c_str());
    fflush(stdout);
}

int uidSteps()
{
    setenv("KELO_LINK_INTERFACE", "kv0", 1);
    printUid("wired");
    setenv("KELO_LINK_INTERFACE", "nosuch0", 1);
    printUid("connection");
    run("link del kv0");
    printUid("none");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    if ((mode != "link" || argc != 3) && mode != "uid") {
        fprintf(stderr, "usage: linkstatus_netns_probe link ROOT | uid\n");
        return 2;
    }
    if (!makeNamespace())
        return kSkip;
    return mode == "link" ? linkSteps(argv[2]) : uidSteps();
}
