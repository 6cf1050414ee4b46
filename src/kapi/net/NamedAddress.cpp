// Host name and port parsing and the reentrant host lookup behind NamedAddress.
#include "kapi/net/NamedAddress.h"

#include "kapi/StringUtil.h"
#include "kapi/vLog.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netdb.h>

namespace Kapi {
namespace Net {

namespace {

constexpr size_t kLookupWorkBytes = 512;

} // namespace

bool NamedAddress::set(const std::string& text)
{
    const size_t colon = text.find(':');
    if (colon == std::string::npos)
        return getHostByName(text);
    if (text.find(':', colon + 1) != std::string::npos)
        return false;
    const std::string portText = text.substr(colon + 1);
    uint16 newPort = 0;
    if (portText.empty() || !StringUtil::asUInteger16(portText, newPort))
        return false;
    if (!getHostByName(text.substr(0, colon)))
        return false;
    port = newPort;
    return true;
}

bool NamedAddress::getHostByName(const std::string& host)
{
    hostent entry{};
    hostent* result = nullptr;
    char work[kLookupWorkBytes];
    int hostError = 0;
    const int status =
        gethostbyname_r(host.c_str(), &entry, work, sizeof(work), &result, &hostError);
    if (status != 0) {
        errno = status;
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "NamedAddress: Host lookup (\"%s\") fails: %m", host.c_str());
        return false;
    }
    if (result == nullptr || result->h_addr_list[0] == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "NamedAddress: Host lookup (\"%s\") fails: not found.", host.c_str());
        return false;
    }
    if (result->h_addrtype != AF_INET) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "NamedAddress: Host lookup (\"%s\") bad addrtype?: %m", host.c_str());
        return false;
    }
    if (result->h_length != 4) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "NamedAddress: Host lookup (\"%s\") bad addrlen?: %d", host.c_str(),
                        result->h_length);
        return false;
    }
    uint32 networkOrder = 0;
    memcpy(&networkOrder, result->h_addr_list[0], sizeof(networkOrder));
    name = host;
    ip = ntohl(networkOrder);
    return true;
}

uint32 NamedAddress::ip_NO() const
{
    return htonl(ip);
}

uint16 NamedAddress::port_NO() const
{
    return htons(port);
}

} // namespace Net
} // namespace Kapi
