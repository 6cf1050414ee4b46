// Interface flags and addresses through SIOCGIFFLAGS and SIOCGIFADDR; the service flag file.
#include "LinkStatusMonitorGeneric.h"

#include "kapi/SystemUtil.h"
#include "kapi/vLog.h"

#include <cstdlib>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace {

const char kTag[] = "LinkStatusMonitorGeneric";
const char kServiceDownPath[] = "/tmp/kknetcfg.service.down";

// True when the interface has every bit of `wantedFlags` and a non-zero IPv4 address.
bool interfaceCounts_i(int sock, const char* name, short wantedFlags)
{
    struct ifreq request;
    memset(&request, 0, sizeof(request));
    strncpy(request.ifr_name, name, IFNAMSIZ - 1);
    if (ioctl(sock, SIOCGIFFLAGS, &request) != 0)
        return false;
    if ((request.ifr_flags & wantedFlags) != wantedFlags)
        return false;
    memset(&request, 0, sizeof(request));
    strncpy(request.ifr_name, name, IFNAMSIZ - 1);
    if (ioctl(sock, SIOCGIFADDR, &request) != 0)
        return false;
    struct sockaddr_in address;
    memcpy(&address, &request.ifr_addr, sizeof(address));
    return address.sin_addr.s_addr != 0;
}

} // namespace

bool LinkStatusMonitorGeneric::getLinkStatus()
{
    const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0)
        return false;
    const char* wired = getenv("KELO_LINK_INTERFACE");
    if (wired == nullptr || wired[0] == '\0')
        wired = "eth0";
    const bool up = interfaceCounts_i(sock, wired, IFF_UP | IFF_RUNNING) ||
                    interfaceCounts_i(sock, "ath0", IFF_UP) ||
                    interfaceCounts_i(sock, "ra0", IFF_UP);
    close(sock);
    return up;
}

bool LinkStatusMonitorGeneric::getServiceLinkStatus()
{
    const std::string path = Kapi::SystemUtil::devicePath(kServiceDownPath);
    struct stat info;
    if (stat(path.c_str(), &info) != 0)
        return true;
    _kkSysLog(LOG_INFO, "info", kTag, "%s: %s exists, service link down", "getServiceLinkStatus",
              path.c_str());
    return false;
}
