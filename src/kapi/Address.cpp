// Address and IpAddress: text and socket forms of numeric addresses (representation in
// Address.h). The address texts themselves are read and written by inet_pton/inet_ntop, so
// every accepted text is one the socket layer accepts too.
#include "kapi/Address.h"

#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>

namespace Kapi {

namespace {

// 1 to 5 decimal digits, at most 65535; no sign, no white space.
bool parsePort(const std::string& text, uint16& out)
{
    if (text.empty() || text.size() > 5)
        return false;
    unsigned value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    if (value > 65535)
        return false;
    out = static_cast<uint16>(value);
    return true;
}

bool parseV4(const std::string& text, IpAddress& out)
{
    in_addr address;
    if (inet_pton(AF_INET, text.c_str(), &address) != 1 || text.find('\0') != std::string::npos)
        return false;
    out = IpAddress::fromV4(ntohl(address.s_addr));
    return true;
}

bool parseV6(const std::string& text, IpAddress& out)
{
    in6_addr address;
    if (inet_pton(AF_INET6, text.c_str(), &address) != 1 || text.find('\0') != std::string::npos)
        return false;
    out = IpAddress::fromV6(address.s6_addr);
    return true;
}

} // namespace

IpAddress IpAddress::fromV4(uint32 hostOrder)
{
    IpAddress ip;
    ip.mFamily = V4;
    ip.mBytes[0] = static_cast<uint8>(hostOrder >> 24);
    ip.mBytes[1] = static_cast<uint8>(hostOrder >> 16);
    ip.mBytes[2] = static_cast<uint8>(hostOrder >> 8);
    ip.mBytes[3] = static_cast<uint8>(hostOrder);
    return ip;
}

IpAddress IpAddress::fromV6(const uint8* bytes)
{
    IpAddress ip;
    ip.mFamily = V6;
    memcpy(ip.mBytes, bytes, 16);
    return ip;
}

bool IpAddress::parse(const std::string& text, IpAddress& out)
{
    if (text.find(':') == std::string::npos)
        return parseV4(text, out);
    return parseV6(text, out);
}

uint32 IpAddress::getV4() const
{
    if (mFamily != V4)
        return 0;
    return (static_cast<uint32>(mBytes[0]) << 24) | (static_cast<uint32>(mBytes[1]) << 16) |
           (static_cast<uint32>(mBytes[2]) << 8) | static_cast<uint32>(mBytes[3]);
}

unsigned IpAddress::getByteCount() const
{
    return mFamily == V4 ? 4u : (mFamily == V6 ? 16u : 0u);
}

std::string IpAddress::toString() const
{
    char text[INET6_ADDRSTRLEN];
    if (mFamily == V4 && inet_ntop(AF_INET, mBytes, text, sizeof text) != nullptr)
        return text;
    if (mFamily == V6 && inet_ntop(AF_INET6, mBytes, text, sizeof text) != nullptr)
        return text;
    return std::string();
}

int IpAddress::compareTo(const IpAddress& other) const
{
    if (mFamily != other.mFamily)
        return mFamily < other.mFamily ? -1 : 1;
    const int c = memcmp(mBytes, other.mBytes, getByteCount());
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

Address::Address(const std::string& text)
{
    parse(text, *this);
}

Address::Address(const IpAddress& ip, uint16 port) : mIp(ip), mPort(port), mHasPort(true) {}

bool Address::parse(const std::string& text, Address& out)
{
    Address result;
    if (!text.empty() && text[0] == '[') {
        const size_t close = text.find(']');
        if (close == std::string::npos || !parseV6(text.substr(1, close - 1), result.mIp))
            return false;
        if (close + 1 < text.size()) {
            if (text[close + 1] != ':' || !parsePort(text.substr(close + 2), result.mPort))
                return false;
            result.mHasPort = true;
        }
    } else {
        const size_t colon = text.find(':');
        if (colon == std::string::npos) {
            if (!parseV4(text, result.mIp))
                return false;
        } else if (text.find(':', colon + 1) == std::string::npos) {
            if (!parseV4(text.substr(0, colon), result.mIp) ||
                !parsePort(text.substr(colon + 1), result.mPort))
                return false;
            result.mHasPort = true;
        } else if (!parseV6(text, result.mIp)) {
            return false;
        }
    }
    out = result;
    return true;
}

void Address::setPort(uint16 port)
{
    mPort = port;
    mHasPort = true;
}

void Address::clearPort()
{
    mPort = 0;
    mHasPort = false;
}

std::string Address::toString() const
{
    if (!isValid())
        return std::string();
    const std::string ip = mIp.toString();
    if (!mHasPort)
        return ip;
    const std::string port = std::to_string(mPort);
    return mIp.isV6() ? "[" + ip + "]:" + port : ip + ":" + port;
}

int Address::compareTo(const Address& other) const
{
    const int c = mIp.compareTo(other.mIp);
    if (c != 0)
        return c;
    if (mHasPort != other.mHasPort)
        return mHasPort ? 1 : -1;
    if (mPort != other.mPort)
        return mPort < other.mPort ? -1 : 1;
    return 0;
}

bool Address::toSockaddr(sockaddr_storage& out, socklen_t& length) const
{
    memset(&out, 0, sizeof out);
    if (mIp.isV4()) {
        sockaddr_in* in = reinterpret_cast<sockaddr_in*>(&out);
        in->sin_family = AF_INET;
        in->sin_port = htons(getPort());
        memcpy(&in->sin_addr, mIp.getBytes(), 4);
        length = sizeof(sockaddr_in);
        return true;
    }
    if (mIp.isV6()) {
        sockaddr_in6* in6 = reinterpret_cast<sockaddr_in6*>(&out);
        in6->sin6_family = AF_INET6;
        in6->sin6_port = htons(getPort());
        memcpy(&in6->sin6_addr, mIp.getBytes(), 16);
        length = sizeof(sockaddr_in6);
        return true;
    }
    return false;
}

bool Address::fromSockaddr(const sockaddr* address, socklen_t length, Address& out)
{
    if (address == nullptr)
        return false;
    if (address->sa_family == AF_INET && length >= sizeof(sockaddr_in)) {
        sockaddr_in in;
        memcpy(&in, address, sizeof in);
        out = Address(IpAddress::fromV4(ntohl(in.sin_addr.s_addr)), ntohs(in.sin_port));
        return true;
    }
    if (address->sa_family == AF_INET6 && length >= sizeof(sockaddr_in6)) {
        sockaddr_in6 in6;
        memcpy(&in6, address, sizeof in6);
        out = Address(IpAddress::fromV6(in6.sin6_addr.s6_addr), ntohs(in6.sin6_port));
        return true;
    }
    return false;
}

} // namespace Kapi
