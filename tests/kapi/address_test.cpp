// Addresses from configuration text: the accepted forms and their canonical text, everything
// that must be refused (host names above all), ordering, ports and the socket form.
#include "kapi/Address.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>

using Kapi::Address;
using Kapi::IpAddress;

TEST(AddressParse, AcceptedFormsRoundTripAndEverythingElseIsRefused)
{
    const struct
    {
        const char* text;
        const char* canonical;
        bool v6;
        int port; // -1: none
    } rows[] = {
        {"1.2.3.4", "1.2.3.4", false, -1},
        {"1.2.3.4:80", "1.2.3.4:80", false, 80},
        {"1.2.3.4:00080", "1.2.3.4:80", false, 80},
        {"0.0.0.0:0", "0.0.0.0:0", false, 0},
        {"255.255.255.255:65535", "255.255.255.255:65535", false, 65535},
        {"::1", "::1", true, -1},
        {"[::1]", "::1", true, -1},
        {"[::1]:443", "[::1]:443", true, 443},
        {"2001:DB8:0:0:0:0:0:1", "2001:db8::1", true, -1},
        {"[::ffff:10.0.0.1]:8080", "[::ffff:10.0.0.1]:8080", true, 8080},
    };
    for (const auto& row : rows) {
        const Address address(row.text);
        ASSERT_TRUE(address.isValid()) << row.text;
        EXPECT_EQ(address.toString(), row.canonical) << row.text;
        EXPECT_EQ(address.getIp().isV6(), row.v6) << row.text;
        EXPECT_EQ(address.hasPort(), row.port >= 0) << row.text;
        EXPECT_EQ(address.getPort(), row.port >= 0 ? row.port : 0) << row.text;
        EXPECT_EQ(Address(address.toString()), address) << row.text;
    }

    const std::vector<std::vector<std::string>> bad = {
        {"", "localhost", "localhost:80", "example.com", "1.2.3", "1.2.3.4.5", "01.2.3.4"},
        {"256.1.1.1", "1.2.3.4:", ":80", "1.2.3.4:65536", "1.2.3.4:-1", "1.2.3.4:+80"},
        {"1.2.3.4:8a", " 1.2.3.4", "1.2.3.4 ", "[::1", "::1]", "[::1]80", "[::1]:", "[]:80"},
        {"[1.2.3.4]:80", "fe80::1%eth0", "::1:80:x", "1:2:3:4:5:6:7:8:9", {"1.2.3.4\0", 8}}};
    for (const auto& group : bad) {
        for (const std::string& text : group) {
            EXPECT_FALSE(Address(text).isValid()) << text;
            Address out("9.9.9.9:9");
            EXPECT_FALSE(Address::parse(text, out)) << text;
            EXPECT_EQ(out.toString(), "9.9.9.9:9") << text;
        }
    }
    EXPECT_FALSE(Address().isValid());
    EXPECT_EQ(Address().toString(), "");
    EXPECT_EQ(IpAddress().toString(), "");
    EXPECT_EQ(IpAddress().getByteCount(), 0u);
}

TEST(AddressIp, NumbersAndBytes)
{
    IpAddress ip;
    ASSERT_TRUE(IpAddress::parse("127.0.0.1", ip));
    EXPECT_TRUE(ip.isV4());
    EXPECT_EQ(ip.getV4(), 0x7f000001u);
    EXPECT_EQ(IpAddress::fromV4(0xc0a80102u).toString(), "192.168.1.2");
    ASSERT_TRUE(IpAddress::parse("::2", ip));
    EXPECT_EQ(ip.getV4(), 0u);
    EXPECT_EQ(ip.getByteCount(), 16u);
    EXPECT_EQ(ip.getBytes()[15], 2);
    EXPECT_FALSE(IpAddress::parse("1.2.3.4:80", ip));
    EXPECT_TRUE(ip.isV6());
}

TEST(AddressCompare, OrdersByFamilyBytesThenPortAndPortsCanBeSetAndCleared)
{
    const Address ascending[] = {
        Address(),          Address("1.2.3.4"), Address("1.2.3.4:0"), Address("1.2.3.4:80"),
        Address("1.2.3.5"), Address("::1")};
    for (size_t i = 0; i + 1 < std::size(ascending); ++i) {
        EXPECT_LT(ascending[i], ascending[i + 1]) << i;
        EXPECT_NE(ascending[i], ascending[i + 1]) << i;
    }
    EXPECT_EQ(Address("1.2.3.5").compareTo(Address("1.2.3.4")), 1);
    EXPECT_EQ(Address("::0:1"), Address("::1"));

    Address address("10.0.0.1");
    address.setPort(0);
    EXPECT_TRUE(address.hasPort());
    EXPECT_EQ(address.toString(), "10.0.0.1:0");
    address.setPort(8080);
    EXPECT_EQ(address.toString(), "10.0.0.1:8080");
    address.clearPort();
    EXPECT_FALSE(address.hasPort());
    EXPECT_EQ(address.getPort(), 0);
    EXPECT_EQ(address.toString(), "10.0.0.1");
    Address v6("::");
    v6.setPort(1);
    EXPECT_EQ(v6.toString(), "[::]:1");
}

TEST(AddressSocket, BothFamiliesRoundTrip)
{
    sockaddr_storage storage;
    socklen_t length = 0;
    for (const char* text : {"[2001:db8::7]:65535", "10.1.1.1", "192.168.0.10:554"}) {
        const Address address(text);
        ASSERT_TRUE(address.toSockaddr(storage, length)) << text;
        Address back;
        ASSERT_TRUE(Address::fromSockaddr(reinterpret_cast<sockaddr*>(&storage), length, back));
        Address expected = address;
        expected.setPort(address.getPort()); // a socket address always has a port
        EXPECT_EQ(back, expected) << text;
    }
    ASSERT_EQ(length, sizeof(sockaddr_in));
    const sockaddr_in* in = reinterpret_cast<const sockaddr_in*>(&storage);
    EXPECT_EQ(in->sin_family, AF_INET);
    EXPECT_EQ(ntohs(in->sin_port), 554);
    EXPECT_EQ(ntohl(in->sin_addr.s_addr), 0xc0a8000au);

    EXPECT_FALSE(Address().toSockaddr(storage, length));
    Address untouched("1.1.1.1");
    sockaddr unixAddress{};
    unixAddress.sa_family = AF_UNIX;
    EXPECT_FALSE(Address::fromSockaddr(&unixAddress, sizeof unixAddress, untouched));
    EXPECT_FALSE(Address::fromSockaddr(reinterpret_cast<sockaddr*>(&storage), 4, untouched));
    EXPECT_EQ(untouched.toString(), "1.1.1.1");
}
