// The bind address, non-blocking mode, resolver reload and the interface address lookup over
// the SIOCGIF* ioctls.
#include "kapi/net/NetAddress.h"

#include "kapi/vLog.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <resolv.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Kapi {
namespace Net {

namespace {

constexpr size_t kInterfaceListBytes = 320;
constexpr size_t kMacBytes = 6;

unsigned readBindAddress()
{
    const char* text = getenv("KKBINDADDR");
    return text != nullptr ? ntohl(inet_addr(text)) : 0;
}

uint32_t addressOf(const ifreq& request)
{
    sockaddr_in address;
    memcpy(&address, &request.ifr_addr, sizeof(address));
    return ntohl(address.sin_addr.s_addr);
}

// Fills what was asked for from one interface; false when it is unusable or an ioctl fails.
bool readInterface(int fd, const char* name, unsigned* ip, unsigned* mask, unsigned char* mac)
{
    ifreq request{};
    strncpy(request.ifr_name, name, IFNAMSIZ - 1);
    if (ioctl(fd, SIOCGIFFLAGS, &request) != 0)
        return false;
    if ((request.ifr_flags & IFF_UP) == 0 || (request.ifr_flags & IFF_LOOPBACK) != 0)
        return false;
    if (ip != nullptr) {
        const unsigned bindAddress = getKKBINDADDR();
        if (bindAddress != 0) {
            *ip = bindAddress;
        } else {
            if (ioctl(fd, SIOCGIFADDR, &request) != 0)
                return false;
            *ip = addressOf(request);
        }
    }
    if (mask != nullptr) {
        if (ioctl(fd, SIOCGIFNETMASK, &request) != 0)
            return false;
        *mask = addressOf(request);
    }
    if (mac != nullptr) {
        if (ioctl(fd, SIOCGIFHWADDR, &request) != 0)
            return false;
        memcpy(mac, request.ifr_hwaddr.sa_data, kMacBytes);
    }
    return true;
}

} // namespace

unsigned getKKBINDADDR()
{
    static const unsigned s_bindAddress = readBindAddress();
    return s_bindAddress;
}

bool makeSocketNonBlocking(int fd)
{
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

void reloadResolver()
{
    const int status = res_init();
    if (status != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "reloadResolver(): res_init() failed with status %d", status);
    }
}

bool getAddress(unsigned* ip, unsigned* mask, unsigned char* mac)
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "getAddress: socket: %m");
        return false;
    }
    alignas(ifreq) char buffer[kInterfaceListBytes];
    ifconf list{};
    list.ifc_len = sizeof(buffer);
    list.ifc_buf = buffer;
    if (ioctl(fd, SIOCGIFCONF, &list) != 0 || list.ifc_len < static_cast<int>(sizeof(ifreq))) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "SIOCGIFCONF: %m");
        close(fd);
        return false;
    }
    const size_t count = static_cast<size_t>(list.ifc_len) / sizeof(ifreq);
    for (size_t i = 0; i < count; ++i) {
        unsigned foundIp = 0;
        unsigned foundMask = 0;
        unsigned char foundMac[kMacBytes] = {};
        if (!readInterface(fd, list.ifc_req[i].ifr_name, ip != nullptr ? &foundIp : nullptr,
                           mask != nullptr ? &foundMask : nullptr,
                           mac != nullptr ? foundMac : nullptr))
            continue;
        if (ip != nullptr)
            *ip = foundIp;
        if (mask != nullptr)
            *mask = foundMask;
        if (mac != nullptr)
            memcpy(mac, foundMac, kMacBytes);
        close(fd);
        return true;
    }
    close(fd);
    return false;
}

bool getIpAddress(unsigned* ip)
{
    return getAddress(ip, nullptr, nullptr);
}

bool getSubnetMask(unsigned* mask)
{
    return getAddress(nullptr, mask, nullptr);
}

bool getMacAddress(unsigned char* mac)
{
    return getAddress(nullptr, nullptr, mac);
}

} // namespace Net
} // namespace Kapi
