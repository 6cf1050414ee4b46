// Child process for the socket tests: behaviour fixed at process start (the cached KKBINDADDR)
// and system calls observed from outside (strace). No loop runs: creating, binding and
// connecting sockets needs none.
//   netsocket_probe options     sets every socket option the layer uses, prints "done"
//   netsocket_probe bindaddr    prints the cached bind address, the address getIpAddress()
//                               reports and the local address of a loopback connection
//   netsocket_probe pollerrors  runs a loop whose epoll descriptor is closed under it; the
//                               loop must end the process with status 1
#include "kapi/net/BoundTCP.h"
#include "kapi/net/NetAddress.h"
#include "kapi/net/SocketTCP.h"
#include "kapi/net/SocketUDP.h"
#include "kapi/net/System.h"
#include "kapi/net/Timeout.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using namespace Kapi::Net;

namespace {

constexpr unsigned kLoopback = 0x7f000001;

int options()
{
    System system;
    BoundTCP server;
    SocketTCP client;
    SocketUDP udp;
    if (!server.bindTo(&system, 0, kLoopback) ||
        !client.connectTo(&system, kLoopback, server.getLocalPort(), 0, 1000) ||
        !udp.bindTo(&system, kLoopback, 0))
        return 2;
    client.enableTcpNoDelay();
    udp.setPmtuDisc(true);
    udp.setPmtuDisc(false);
    printf("done\n");
    return 0;
}

int bindAddress()
{
    printf("bind %08x\n", getKKBINDADDR());
    unsigned ip = 0;
    const bool found = getIpAddress(&ip);
    printf("ip %s %08x\n", found ? "yes" : "no", ip);
    System system;
    BoundTCP server;
    SocketTCP client;
    if (!server.bindTo(&system, 0, kLoopback) || listen(server->getFd(), 1) != 0 ||
        !client.connectTo(&system, kLoopback, server.getLocalPort(), 0, 0))
        return 2;
    printf("local %08x port %u\n", client.getLocalIP(), unsigned{server.getLocalPort()});
    return 0;
}

// Closes every epoll descriptor of the process: the loop's next waits fail with EBADF.
void closeEpollDescriptors(void*)
{
    for (int fd = 3; fd < 1024; ++fd) {
        char target[64] = {};
        const std::string link = "/proc/self/fd/" + std::to_string(fd);
        if (readlink(link.c_str(), target, sizeof(target) - 1) > 0 &&
            strcmp(target, "anon_inode:[eventpoll]") == 0)
            close(fd);
    }
}

int pollErrors()
{
    System system;
    system.configureEnableThreading(); // keeps the loop waiting for posts
    Timeout sabotage(nullptr, &closeEpollDescriptors);
    sabotage.submitInstant(&system);
    system.run();
    return 0; // not reached
}

} // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc == 2 ? argv[1] : "";
    if (mode == "options")
        return options();
    if (mode == "bindaddr")
        return bindAddress();
    if (mode == "pollerrors")
        return pollErrors();
    fprintf(stderr, "usage: netsocket_probe options|bindaddr|pollerrors\n");
    return 1;
}
