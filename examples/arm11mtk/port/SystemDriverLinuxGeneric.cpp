// The generic Linux system driver: identity from the MAC address, memory from meminfo.
#include "SystemDriverLinuxGeneric.h"

#include "kapi/FileUtil.h"
#include "kapi/SystemUtil.h"
#include "kapi/vLog.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

namespace KELO {

namespace {

const char kTag[] = "SystemDriverLinuxGeneric";

std::string linkInterface_i()
{
    const char* name = getenv("KELO_LINK_INTERFACE");
    return name != nullptr && name[0] != '\0' ? name : "eth0";
}

bool hardwareAddress_i(int sock, const char* name, unsigned char mac[6])
{
    struct ifreq request;
    memset(&request, 0, sizeof(request));
    strncpy(request.ifr_name, name, IFNAMSIZ - 1);
    if (ioctl(sock, SIOCGIFHWADDR, &request) != 0)
        return false;
    memcpy(mac, request.ifr_hwaddr.sa_data, 6);
    return true;
}

bool isZero_i(const unsigned char mac[6])
{
    for (int i = 0; i < 6; ++i)
        if (mac[i] != 0)
            return false;
    return true;
}

} // namespace

SystemDriverLinuxGeneric::SystemDriverLinuxGeneric(const std::string& mfgId,
                                                   const std::string& modelId,
                                                   const std::string& softwareVersion)
    : m_mfgId(mfgId), m_modelId(modelId), m_softwareVersion(softwareVersion)
{
}

int32 SystemDriverLinuxGeneric::GetSettings(Settings** settings)
{
    if (settings == nullptr)
        return INVALID_ARGUMENTS;
    *settings = nullptr;
    return NOT_SUPPORTED;
}

std::string SystemDriverLinuxGeneric::getSoftwareVersion() const
{
    return m_softwareVersion;
}

std::string SystemDriverLinuxGeneric::getTempPath() const
{
    return Kapi::SystemUtil::devicePath("/tmp");
}

int SystemDriverLinuxGeneric::parseMemTotal(const std::string& whole)
{
    const std::string text = whole.substr(0, 99);
    static const char kHead[] = "MemTotal:";
    if (text.compare(0, sizeof(kHead) - 1, kHead) != 0)
        return -1;
    size_t at = sizeof(kHead) - 1;
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t'))
        ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        negative = text[at] == '-';
        ++at;
    }
    if (at >= text.size() || text[at] < '0' || text[at] > '9')
        return -1;
    unsigned long long value = 0;
    bool tooLarge = false;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = value * 10 + static_cast<unsigned>(text[at] - '0');
        if (value > static_cast<unsigned long long>(INT_MAX))
            tooLarge = true, value = static_cast<unsigned long long>(INT_MAX) + 1;
    }
    if (negative)
        return value == 0 ? 0 : -1;
    return tooLarge ? INT_MIN : static_cast<int>(value);
}

int SystemDriverLinuxGeneric::getSystemMemoryKB() const
{
    std::string path = Kapi::SystemUtil::devicePath("/proc/meminfo");
    if (!Kapi::FileUtil::exists(path))
        path = "/proc/meminfo";
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    char buffer[100];
    size_t got = 0;
    while (got < 99) {
        const ssize_t n = read(fd, buffer + got, 99 - got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        got += static_cast<size_t>(n);
    }
    close(fd);
    return parseMemTotal(std::string(buffer, got));
}

bool SystemDriverLinuxGeneric::getMACAddress(unsigned char mac[6]) const
{
    const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR, "getAddress: socket: %m");
        return false;
    }
    unsigned char found[6] = {};
    bool ok = hardwareAddress_i(sock, linkInterface_i().c_str(), found);
    if (!ok) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_WARNING))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_WARNING,
                        "Get hw addr for eth0 / wlan0 failed, try current connection");
        ok = getMACAddressFromConnection_i(sock, found);
    }
    close(sock);
    if (ok)
        memcpy(mac, found, 6);
    return ok;
}

bool SystemDriverLinuxGeneric::getMACAddressFromConnection_i(int sock, unsigned char mac[6]) const
{
    // SIOCGIFCONF lists the interfaces that carry an IPv4 address; the first one that is up,
    // not loopback and has a hardware address carries the connection.
    struct ifreq requests[32];
    struct ifconf conf;
    memset(&conf, 0, sizeof(conf));
    conf.ifc_len = sizeof(requests);
    conf.ifc_req = requests;
    if (ioctl(sock, SIOCGIFCONF, &conf) != 0) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR, "SIOCGIFCONF: %m");
        return false;
    }
    const int count = conf.ifc_len / static_cast<int>(sizeof(struct ifreq));
    for (int i = 0; i < count; ++i) {
        struct ifreq flags = requests[i];
        if (ioctl(sock, SIOCGIFFLAGS, &flags) != 0)
            continue;
        if ((flags.ifr_flags & IFF_UP) == 0 || (flags.ifr_flags & IFF_LOOPBACK) != 0)
            continue;
        unsigned char found[6];
        if (hardwareAddress_i(sock, requests[i].ifr_name, found) && !isZero_i(found)) {
            memcpy(mac, found, 6);
            return true;
        }
    }
    errno = ENODEV;
    return false;
}

std::string SystemDriverLinuxGeneric::makeUID(const std::string& mfgId, const std::string& modelId)
{
    unsigned char mac[6];
    std::string macText;
    if (getMACAddress(mac)) {
        char hex[13];
        snprintf(hex, sizeof(hex), "%02X%02X%02X%02X%02X%02X", mac[0], mac[1], mac[2], mac[3],
                 mac[4], mac[5]);
        macText = hex;
    } else {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                        "SystemDriverLinuxGeneric: Failed to get MAC address - %m");
        macText = "NoMacAddress";
    }
    return mfgId + "-" + modelId + "-" + macText;
}

bool SystemDriverLinuxGeneric::getUID(std::string& uid)
{
    if (m_uid.empty()) {
        m_uid = makeUID(m_mfgId, m_modelId);
        _kkSysLog(LOG_INFO, "info", kTag, "UID: %s", m_uid.c_str());
        _kkSysLog(LOG_INFO, "info", kTag, "######## mfg %s model %s id %s", m_mfgId.c_str(),
                  m_modelId.c_str(), m_uid.c_str());
    }
    uid = m_uid;
    return !uid.empty();
}

} // namespace KELO
