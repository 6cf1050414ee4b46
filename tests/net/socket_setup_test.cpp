// Socket set-up without a running loop: the socket options as the kernel records them (in
// process with getsockopt, and as system calls under strace in a probe), the bind address
// taken from KKBINDADDR, failures with their exact log lines, the loop's end on repeated poll
// failures (in a probe), handle sharing, host names and the interface lookup compared with
// what the kernel shows through `ip` and sysfs.
#include "kapi/net/BoundTCP.h"
#include "kapi/net/NamedAddress.h"
#include "kapi/net/NetAddress.h"
#include "kapi/net/SocketTCP.h"
#include "kapi/net/SocketUDP.h"
#include "kapi/net/System.h"

#include "support/LogCapture.h"
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <regex>
#include <sstream>
#include <sys/socket.h>
#include <unistd.h>

using namespace Kapi::Net;
using KeloTest::readFile;
using Lines = std::vector<std::string>;

namespace {

constexpr unsigned kLoopback = 0x7f000001;

int intOption(int fd, int level, int name)
{
    int value = -1;
    socklen_t length = sizeof(value);
    EXPECT_EQ(getsockopt(fd, level, name, &value, &length), 0);
    return value;
}

} // namespace

TEST(SocketSetup, OptionsAreTheChosenOnes)
{
    System system;
    BoundTCP server;
    ASSERT_TRUE(server.bindTo(&system, 0, kLoopback));
    EXPECT_EQ(intOption(server->getFd(), SOL_SOCKET, SO_REUSEADDR), 1);
    EXPECT_NE(fcntl(server->getFd(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(server.getLocalIP(), kLoopback);
    EXPECT_NE(server.getLocalPort(), 0);

    SocketTCP client;
    ASSERT_TRUE(client.connectTo(&system, kLoopback, server.getLocalPort(), 0, 1000));
    const int fd = client->getFd();
    const int mss = intOption(fd, IPPROTO_TCP, TCP_MAXSEG); // loopback may connect at once
    EXPECT_GT(mss, 0);
    EXPECT_LE(mss, 1000);
    unsigned short reported = 0;
    EXPECT_TRUE(client.getMss(&reported));
    EXPECT_GT(reported, 0);
    EXPECT_LE(reported, 1000);
    EXPECT_EQ(intOption(fd, SOL_SOCKET, SO_REUSEADDR), 1);
    EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(intOption(fd, IPPROTO_TCP, TCP_NODELAY), 0);
    EXPECT_TRUE(client.enableTcpNoDelay());
    EXPECT_EQ(intOption(fd, IPPROTO_TCP, TCP_NODELAY), 1);
    EXPECT_EQ(client.getRemoteIP(), kLoopback);
    EXPECT_EQ(client.getRemotePort(), server.getLocalPort());

    SocketTCP plain;
    ASSERT_TRUE(plain.connectTo(&system, kLoopback, server.getLocalPort(), 0, 0));
    EXPECT_NE(intOption(plain->getFd(), IPPROTO_TCP, TCP_MAXSEG), 1000);

    SocketUDP udp;
    ASSERT_TRUE(udp.bindTo(&system, kLoopback, 0));
    EXPECT_NE(fcntl(udp->getFd(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_TRUE(udp.setPmtuDisc(true));
    EXPECT_EQ(intOption(udp->getFd(), IPPROTO_IP, IP_MTU_DISCOVER), 2);
    EXPECT_TRUE(udp.setPmtuDisc(false));
    EXPECT_EQ(intOption(udp->getFd(), IPPROTO_IP, IP_MTU_DISCOVER), 1);
    EXPECT_EQ(system.getSocketCount(), 4u);
}

TEST(SocketSetup, StraceSeesExactlyTheSocketOptionCalls)
{
    if (access("/usr/bin/strace", X_OK) != 0)
        GTEST_SKIP() << "strace is not installed";
    char dir[] = "/tmp/netsocket_strace_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string traceFile = std::string(dir) + "/trace";
    KeloTest::ProcessResult run = KeloTest::runProcess(
        "/usr/bin/strace",
        {"-f", "-e", "trace=setsockopt", "-o", traceFile, KeloTest::binPath("netsocket_probe"),
         "options"},
        "", {"ASAN_OPTIONS=detect_leaks=0"}); // the leak checker cannot run under ptrace
    if (run.exitStatus != 0 && run.err.find("ptrace") != std::string::npos)
        GTEST_SKIP() << "strace cannot trace here: " << run.err;
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, "done\n");
    // Drop the process id strace puts in front under -f and the descriptor numbers.
    Lines calls;
    std::istringstream lines(readFile(traceFile));
    std::string line;
    const std::regex shape(R"(^(?:\d+\s+)?setsockopt\(\d+, (.*)$)");
    std::smatch match;
    while (std::getline(lines, line)) {
        if (!std::regex_match(line, match, shape))
            continue;
        // Some strace versions name the path-MTU modes; compare the numbers.
        std::string call = std::regex_replace(match[1].str(), std::regex("IP_PMTUDISC_DO"), "2");
        calls.push_back(std::regex_replace(call, std::regex("IP_PMTUDISC_WANT"), "1"));
    }
    EXPECT_EQ(
        calls,
        (Lines{"SOL_SOCKET, SO_REUSEADDR, [1], 4) = 0", "SOL_TCP, TCP_MAXSEG, [1000], 4) = 0",
               "SOL_SOCKET, SO_REUSEADDR, [1], 4) = 0", "SOL_TCP, TCP_NODELAY, [1], 4) = 0",
               "SOL_IP, IP_MTU_DISCOVER, [2], 4) = 0", "SOL_IP, IP_MTU_DISCOVER, [1], 4) = 0"}));
    unlink(traceFile.c_str());
    rmdir(dir);
}

TEST(SocketSetup, TheBindAddressComesFromTheEnvironmentOnce)
{
    KeloTest::ProcessResult run =
        KeloTest::runProcess(KeloTest::binPath("netsocket_probe"), {"bindaddr"}, "",
                             {"KKBINDADDR=127.0.0.2", "VLOGTOCONSOLE=1", "VLOGLEVEL=debug"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    std::istringstream out(run.out);
    std::string bindLine, ipLine, localLine;
    std::getline(out, bindLine);
    std::getline(out, ipLine);
    std::getline(out, localLine);
    EXPECT_EQ(bindLine, "bind 7f000002");
    EXPECT_EQ(ipLine.substr(2), " yes 7f000002"); // reported as the device's address
    ASSERT_EQ(localLine.rfind("local 7f000002 port ", 0), 0u) << localLine;
    const std::string port = localLine.substr(strlen("local 7f000002 port "));
    char connecting[96];
    snprintf(connecting, sizeof(connecting), "connecting (7f000002:0) -> (7f000001:%s)",
             port.c_str());
    EXPECT_NE(run.err.find("<kapi_net.info>: Binding to 7f000002:0\n"), std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find(std::string("<kapi_net.debug>: ") + connecting + "\n"),
              std::string::npos)
        << run.err;

    run = KeloTest::runProcess(KeloTest::binPath("netsocket_probe"), {"bindaddr"}, "",
                               {"KKBINDADDR", "VLOGLEVEL"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out.substr(0, 14), "bind 00000000\n");
}

TEST(SocketSetup, RepeatedPollFailuresEndTheProcess)
{
    KeloTest::ProcessResult run =
        KeloTest::runProcess(KeloTest::binPath("netsocket_probe"), {"pollerrors"}, "",
                             {"VLOGTOCONSOLE=1", "VLOGLEVEL=error", "ASAN_OPTIONS=detect_leaks=0"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_NE(run.err.find("<kapi_net.error>: Repeated poll() errors, terminating: Bad file "
                           "descriptor\n"),
              std::string::npos)
        << run.err;
}

TEST(SocketSetup, FailuresAreLoggedAndKeepNothing)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    System system;
    BoundTCP first;
    ASSERT_TRUE(first.bindTo(&system, 0, kLoopback));
    ASSERT_EQ(listen(first->getFd(), 1), 0);
    const unsigned short port = first.getLocalPort();
    const std::string portText = std::to_string(port);

    BoundTCP second;
    EXPECT_FALSE(second.bindTo(&system, port, kLoopback));
    EXPECT_FALSE(second.valid());
    SocketTCP client;
    EXPECT_FALSE(client.connectTo(&system, kLoopback, 1, port, 0));
    EXPECT_FALSE(client.valid());
    EXPECT_EQ(system.getSocketCount(), 1u);

    EXPECT_EQ(client.sRead(nullptr, 0), 0); // no socket: nothing happens
    SocketTCP open;
    ASSERT_TRUE(open.connectTo(&system, kLoopback, port, 0, 0));
    char byte = 'x';
    EXPECT_EQ(open.sRead(&byte, 0), 0);
    EXPECT_EQ(open.sWrite(&byte, 0, 0), 0);
    EXPECT_EQ(capture.summary(),
              (Lines{"kapi_net.error: bind failed (port=" + portText + "): Address already in use",
                     "kapi_net.info: Binding to 0:" + portText,
                     "kapi_net.error: bind (0:" + portText + ") : Address already in use",
                     "kapi_net.debug: connecting (0:0) -> (7f000001:" + portText + ")",
                     "kapi_net.error: Socket asked to sRead 0 bytes?",
                     "kapi_net.error: Socket asked to sWrite 0 bytes?"}));
}

TEST(SocketSetup, AcceptorOnAnInvalidListenerHearsMinusTwoAtOnce)
{
    BoundTCP never;
    std::vector<int> statuses;
    never.setAcceptor(&statuses, [](void* self, SocketTCP socket, int status) {
        EXPECT_FALSE(socket.valid());
        static_cast<std::vector<int>*>(self)->push_back(status);
    });
    EXPECT_EQ(statuses, std::vector<int>{-2});
}

TEST(SocketSetup, HandlesShareOneSocketAndTheLastOneClosesIt)
{
    System system;
    SocketUDP a;
    ASSERT_TRUE(a.bindTo(&system, kLoopback, 0));
    const int fd = a->getFd();
    {
        SocketUDP b = a;
        SocketUDP c;
        c = b;
        EXPECT_EQ(a->getRefCount(), 3);
        EXPECT_EQ(b.get(), a.get());
        EXPECT_EQ(system.getSocketCount(), 1u);
    }
    EXPECT_EQ(a->getRefCount(), 1);
    a.reset();
    EXPECT_EQ(system.getSocketCount(), 0u);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1); // the descriptor is closed
}

TEST(NamedAddress, HostAndPortTexts)
{
    NamedAddress address;
    EXPECT_TRUE(address.set("localhost:8080"));
    EXPECT_EQ(address.name, "localhost");
    EXPECT_EQ(address.ip, kLoopback);
    EXPECT_EQ(address.port, 8080);
    EXPECT_EQ(address.ip_NO(), htonl(kLoopback));
    EXPECT_EQ(address.port_NO(), htons(8080));

    EXPECT_TRUE(address.set("127.0.0.9")); // no port: the port stays
    EXPECT_EQ(address.ip, 0x7f000009u);
    EXPECT_EQ(address.port, 8080);

    for (const char* bad :
         {"localhost:99999", "localhost:80:81", "localhost:", "localhost:-1", "localhost:8x"}) {
        EXPECT_FALSE(address.set(bad)) << bad;
        EXPECT_EQ(address.ip, 0x7f000009u) << bad;
        EXPECT_EQ(address.port, 8080) << bad;
    }
}

TEST(NetAddress, InterfaceLookupMatchesTheKernelsView)
{
    // The first interface, in index order, that is up, not loopback and has an IPv4 address.
    KeloTest::ProcessResult ip = KeloTest::runProcess("/usr/sbin/ip", {"-o", "-4", "addr", "show"});
    if (ip.exitStatus != 0)
        GTEST_SKIP() << "no ip command";
    std::istringstream lines(ip.out);
    std::string line, name, address;
    int prefix = -1;
    const std::regex shape(R"(^\d+:\s+(\S+)\s+inet\s+(\d+\.\d+\.\d+\.\d+)/(\d+)\s.*)");
    std::smatch match;
    while (std::getline(lines, line)) {
        if (!std::regex_match(line, match, shape))
            continue;
        const std::string flags = readFile("/sys/class/net/" + match[1].str() + "/flags");
        const unsigned long bits = strtoul(flags.c_str(), nullptr, 16);
        if ((bits & 0x1) == 0 || (bits & 0x8) != 0) // IFF_UP, IFF_LOOPBACK
            continue;
        name = match[1];
        address = match[2];
        prefix = std::stoi(match[3]);
        break;
    }
    unsigned gotIp = 0, gotMask = 0;
    unsigned char mac[6] = {};
    if (name.empty()) {
        EXPECT_FALSE(getAddress(&gotIp, &gotMask, mac));
        return;
    }
    ASSERT_TRUE(getAddress(&gotIp, &gotMask, mac));
    EXPECT_EQ(gotIp, ntohl(inet_addr(address.c_str())));
    EXPECT_EQ(gotMask, prefix == 0 ? 0u : ~0u << (32 - prefix));
    char macText[18];
    snprintf(macText, sizeof(macText), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
             mac[3], mac[4], mac[5]);
    EXPECT_EQ(std::string(macText) + "\n", readFile("/sys/class/net/" + name + "/address"));
    unsigned single = 0;
    EXPECT_TRUE(getIpAddress(&single));
    EXPECT_EQ(single, gotIp);
    EXPECT_TRUE(getSubnetMask(&single));
    EXPECT_EQ(single, gotMask);
    unsigned char mac2[6] = {};
    EXPECT_TRUE(getMacAddress(mac2));
    EXPECT_EQ(memcmp(mac, mac2, 6), 0);
}
