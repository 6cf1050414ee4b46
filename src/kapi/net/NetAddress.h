#ifndef KAPI_NET_NETADDRESS_H
#define KAPI_NET_NETADDRESS_H
// Process-level address helpers of the socket layer. Addresses are IPv4 in host order.
//
// The bind address comes from the environment variable "KKBINDADDR" (dotted quad, read once
// with inet_addr and cached; absent means 0, any address): sockets bind to it when their
// caller gives no address, and getAddress() reports it as the device's IP.
//
// Interface lookups walk the SIOCGIFCONF list in order, skip interfaces that are down or
// loopback, and take the first interface that yields everything asked for. Safe from any
// thread.
namespace Kapi {
namespace Net {

// The cached KKBINDADDR address (host order), 0 when unset.
unsigned getKKBINDADDR();
bool makeSocketNonBlocking(int fd);
// Re-reads the resolver configuration (res_init).
void reloadResolver();
// Any pointer may be null; `mac` receives 6 bytes. False when no interface answers all asked.
bool getAddress(unsigned* ip, unsigned* mask, unsigned char* mac);
bool getIpAddress(unsigned* ip);
bool getSubnetMask(unsigned* mask);
bool getMacAddress(unsigned char* mac);

} // namespace Net
} // namespace Kapi

#endif
