#ifndef KAPI_NET_NAMEDADDRESS_H
#define KAPI_NET_NAMEDADDRESS_H
// Kapi::Net::NamedAddress: a host name with the IPv4 address it resolved to and a port. `ip`
// and `port` are in host order; ip_NO() and port_NO() give network order. A failed set() or
// lookup leaves the object as it was. Any thread, one object per thread.
#include "kapi/KapiTypes.h"

#include <string>

namespace Kapi {
namespace Net {

class NamedAddress
{
public:
    // "host" or "host:port" (port an unsigned 16-bit number); anything else fails. Without a
    // port the current port is kept.
    bool set(const std::string& text);
    // Resolves `host` (gethostbyname_r) and keeps the name and its first IPv4 address.
    bool getHostByName(const std::string& host);

    uint32 ip_NO() const;
    uint16 port_NO() const;

    std::string name;
    uint32 ip = 0;
    uint16 port = 0;
};

} // namespace Net
} // namespace Kapi

#endif
