#ifndef KAPI_ADDRESS_H
#define KAPI_ADDRESS_H
/*
 * Numeric network addresses.
 *
 * `IpAddress` is an IPv4 or IPv6 address held as its network-order bytes (4 or 16 of them)
 * with its family; the family None means "no address" and is what failed parsing yields.
 * `Address` adds an optional port (a flag and a 16-bit value, so ":0" stays distinguishable
 * from no port). Text forms, both read and written:
 *
 *     1.2.3.4        1.2.3.4:80        ::1        [::1]        [::1]:443
 *
 * Only numeric addresses are accepted; a host name is not resolved and gives an invalid
 * address, as does any white space, a zone suffix ("%eth0") or a port outside 0..65535.
 * Values are plain copyable data, safe to use from any thread.
 */
#include "kapi/KapiTypes.h"

#include <string>
#include <sys/socket.h>

namespace Kapi {

class IpAddress
{
public:
    enum Family
    {
        None = 0,
        V4 = 4,
        V6 = 6
    };

    IpAddress() = default;
    // IPv4 from a host-order number (0x7f000001 is 127.0.0.1).
    static IpAddress fromV4(uint32 hostOrder);
    // IPv6 from its 16 network-order bytes.
    static IpAddress fromV6(const uint8* bytes);
    // Dotted quad or IPv6 text (no brackets, no port). False and `out` unchanged on failure.
    static bool parse(const std::string& text, IpAddress& out);

    bool isValid() const { return mFamily != None; }
    bool isV4() const { return mFamily == V4; }
    bool isV6() const { return mFamily == V6; }
    Family getFamily() const { return mFamily; }
    // Host-order IPv4 value; 0 unless isV4().
    uint32 getV4() const;
    // The network-order bytes: 4 for IPv4, 16 for IPv6, none when invalid.
    const uint8* getBytes() const { return mBytes; }
    unsigned getByteCount() const;

    // Canonical text ("::1", "1.2.3.4"); "" when invalid.
    std::string toString() const;
    // Invalid < IPv4 < IPv6, then byte-wise.
    int compareTo(const IpAddress& other) const;
    bool operator==(const IpAddress& other) const { return compareTo(other) == 0; }
    bool operator<(const IpAddress& other) const { return compareTo(other) < 0; }

private:
    Family mFamily = None;
    uint8 mBytes[16] = {};
};

class Address
{
public:
    Address() = default;
    // Parses `text`; a bad text leaves the address invalid.
    explicit Address(const std::string& text);
    Address(const IpAddress& ip, uint16 port);

    // False and `out` unchanged when `text` is not one of the forms above.
    static bool parse(const std::string& text, Address& out);

    bool isValid() const { return mIp.isValid(); }
    const IpAddress& getIp() const { return mIp; }
    void setIp(const IpAddress& ip) { mIp = ip; }
    bool hasPort() const { return mHasPort; }
    // 0 when there is no port.
    uint16 getPort() const { return mHasPort ? mPort : 0; }
    void setPort(uint16 port);
    void clearPort();

    // The text form above; "" when invalid.
    std::string toString() const;
    // By IP address, then no port before any port, then by port.
    int compareTo(const Address& other) const;
    bool operator==(const Address& other) const { return compareTo(other) == 0; }
    bool operator!=(const Address& other) const { return compareTo(other) != 0; }
    bool operator<(const Address& other) const { return compareTo(other) < 0; }

    // The socket form (port 0 when none); false when invalid.
    bool toSockaddr(sockaddr_storage& out, socklen_t& length) const;
    // From an AF_INET or AF_INET6 socket address (always with its port); false otherwise.
    static bool fromSockaddr(const sockaddr* address, socklen_t length, Address& out);

private:
    IpAddress mIp;
    uint16 mPort = 0;
    bool mHasPort = false;
};

} // namespace Kapi

#endif
