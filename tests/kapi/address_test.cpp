// Addresses from configuration text: the accepted forms and their canonical text, everything
// that must be refused (host names above all), ordering, ports and the socket form.
#include "kapi/Address.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>

using Kapi::Address;
using Kapi::IpAddress;

TEST(AddressParse, AcceptedFormsRoundTrip)
{
    struct Case
    {
        const char* text;
        const char* canonical;
        bool v6;
        bool hasPort;
        uint16 port;
    } cases[] = {
        {"1.2.3.4", "1.2.3.4", false, false, 0},
        {"1.2.3.4:80", "1.2.3.4:80", false, true, 80},
        {"0.0.0.0:0", "0.0.0.0:0", false, true, 0},
        {"255.255.255.255:65535", "255.255.255.255:65535", false, true, 65535},
        {"::1", "::1", true, false, 0},
        {"[::1]", "::1", true, false, 0},
        {"[::1]:443", "[::1]:443", true, true, 443},
        {"2001:DB8:0:0:0:0:0:1", "2001:db8::1", true, false, 0},
        {"[::ffff:10.0.0.1]:8080", "[::ffff:10.0.0.1]:8080", true, true, 8080},
        {"1.2.3.4:00080", "1.2.3.4:80", false, true, 80},
    };
    for (const Case& c : cases) {
        const Address address(c.text);
        ASSERT_TRUE(address.isValid()) << c.text;
        EXPECT_EQ(address.toString(), c.canonical) << c.text;
        EXPECT_EQ(address.getIp().isV6(), c.v6) << c.text;
        EXPECT_EQ(address.hasPort(), c.hasPort) << c.text;
        EXPECT_EQ(address.getPort(), c.port) << c.text;
        EXPECT_EQ(Address(address.toString()), address) << c.text;
    }
}

TEST(AddressParse, RefusesNamesAndMalformedText)
{
    const char* bad[] = {"",
                         "localhost",
                         "localhost:80",
                         "example.com",
                         "1.2.3",
                         "1.2.3.4.5",
                         "01.2.3.4",
                         "256.1.1.1",
                         "1.2.3.4:",
                         ":80",
                         "1.2.3.4:65536",
                         "1.2.3.4:-1",
                         "1.2.3.4:+80",
                         "1.2.3.4:8a",
                         " 1.2.3.4",
                         "1.2.3.4 ",
                         "[::1",
                         "::1]",
                         "[::1]80",
                         "[::1]:",
                         "[1.2.3.4]:80",
                         "[]:80",
                         "fe80::1%eth0",
                         "::1:80:x",
                         "1:2:3:4:5:6:7:8:9"};
    for (const char* text : bad) {
        EXPECT_FALSE(Address(text).isValid()) << text;
        Address out("9.9.9.9:9");
        EXPECT_FALSE(Address::parse(text, out)) << text;
        EXPECT_EQ(out.toString(), "9.9.9.9:9") << text;
    }
    EXPECT_FALSE(Address(std::string("1.2.3.4\0", 8)).isValid());
}

TEST(AddressParse, InvalidAddressHasNoText)
{
    const Address none;
    EXPECT_FALSE(none.isValid());
    EXPECT_EQ(none.toString(), "");
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

TEST(AddressCompare, OrdersByFamilyBytesThenPort)
{
    const Address invalid;
    const Address v4a("1.2.3.4");
    const Address v4aPort0("1.2.3.4:0");
    const Address v4aPort80("1.2.3.4:80");
    const Address v4b("1.2.3.5");
    const Address v6("::1");
    EXPECT_LT(invalid, v4a);
    EXPECT_LT(v4a, v4aPort0);
    EXPECT_LT(v4aPort0, v4aPort80);
    EXPECT_LT(v4aPort80, v4b);
    EXPECT_LT(v4b, v6);
    EXPECT_EQ(v4a, Address("1.2.3.4"));
    EXPECT_NE(v4a, v4aPort0);
    EXPECT_EQ(v4b.compareTo(v4a), 1);
    EXPECT_EQ(Address("::0:1"), v6);
}

TEST(AddressPort, SetAndClear)
{
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
    for (const char* text : {"192.168.0.10:554", "[2001:db8::7]:65535", "10.1.1.1"}) {
        const Address address(text);
        sockaddr_storage storage;
        socklen_t length = 0;
        ASSERT_TRUE(address.toSockaddr(storage, length)) << text;
        Address back;
        ASSERT_TRUE(Address::fromSockaddr(reinterpret_cast<sockaddr*>(&storage), length, back));
        Address expected = address;
        expected.setPort(address.getPort());
        EXPECT_EQ(back, expected) << text;
    }
    const Address v4("192.168.0.10:554");
    sockaddr_storage storage;
    socklen_t length = 0;
    ASSERT_TRUE(v4.toSockaddr(storage, length));
    ASSERT_EQ(length, sizeof(sockaddr_in));
    const sockaddr_in* in = reinterpret_cast<const sockaddr_in*>(&storage);
    EXPECT_EQ(in->sin_family, AF_INET);
    EXPECT_EQ(ntohs(in->sin_port), 554);
    EXPECT_EQ(ntohl(in->sin_addr.s_addr), 0xc0a8000au);

    EXPECT_FALSE(Address().toSockaddr(storage, length));
    Address untouched("1.1.1.1");
    sockaddr unix_address{};
    unix_address.sa_family = AF_UNIX;
    EXPECT_FALSE(Address::fromSockaddr(&unix_address, sizeof unix_address, untouched));
    EXPECT_FALSE(Address::fromSockaddr(reinterpret_cast<sockaddr*>(&storage), 4, untouched));
    EXPECT_EQ(untouched.toString(), "1.1.1.1");
}
