#ifndef KAPI_DIRECTOR_GRIDRECORDS_H
#define KAPI_DIRECTOR_GRIDRECORDS_H
// The records of the grid-management protocol, each field in wire order with the encodings of
// the byte streams (kapi/StreamReader.h): vari32, varu32, u32, u64 little-endian, and strings
// with a u16 length.
//
// Every record: pack(writer) writes all fields and returns the writer's ok flag; unpack(reader)
// reads all fields and returns the reader's ok flag, changing the record only on success; the
// constructor from a reader unpacks and reports through its flag; getWireSize() is an upper
// bound of the packed size; == compares every field.
#include "kapi/KapiTypes.h"
#include "kapi/StreamReader.h"
#include "kapi/StreamWriter.h"

#include <string>
#include <utility>
#include <vector>

namespace Kapi {

namespace Types {

// A peer address: its kind, then its text form.
struct P2PAddress_1
{
    P2PAddress_1() = default;
    P2PAddress_1(int32 kind, std::string address) : m_kind(kind), m_address(std::move(address)) {}
    P2PAddress_1(Stream::Reader* reader, bool* ok) { *ok = unpack(reader); }

    bool pack(Stream::Writer* writer) const;
    bool unpack(Stream::Reader* reader);
    size_t getWireSize() const { return m_address.size() + 7; }
    bool operator==(const P2PAddress_1&) const = default;

    int32 m_kind = 0;
    std::string m_address;
};

} // namespace Types

namespace Version {

// The protocol versions a client speaks: to the server, and client to client.
struct Version_1
{
    Version_1() = default;
    Version_1(uint32 serverMajor, uint32 serverMinor, uint32 c2cMajor, uint32 c2cMinor)
        : m_serverMajor(serverMajor), m_serverMinor(serverMinor), m_c2cMajor(c2cMajor),
          m_c2cMinor(c2cMinor)
    {
    }
    Version_1(Stream::Reader* reader, bool* ok) { *ok = unpack(reader); }

    bool pack(Stream::Writer* writer) const;
    bool unpack(Stream::Reader* reader);
    size_t getWireSize() const { return 20; }
    bool operator==(const Version_1&) const = default;

    uint32 m_serverMajor = 0;
    uint32 m_serverMinor = 0;
    uint32 m_c2cMajor = 0;
    uint32 m_c2cMinor = 0;
};

} // namespace Version

namespace Grid {

// The login record: flags, then the addresses the client can be reached at.
struct ClientLogin_2
{
    ClientLogin_2() = default;
    explicit ClientLogin_2(int32 flags) : m_flags(flags) {}
    ClientLogin_2(Stream::Reader* reader, bool* ok) { *ok = unpack(reader); }

    bool pack(Stream::Writer* writer) const;
    // A count larger than the bytes left fails (and fails the reader) before anything is
    // allocated for it.
    bool unpack(Stream::Reader* reader);
    size_t getWireSize() const;
    bool operator==(const ClientLogin_2&) const = default;

    int32 m_flags = 0;
    std::vector<Types::P2PAddress_1> m_addresses;
};

struct ClientLoginFailed_1
{
    ClientLoginFailed_1() = default;
    ClientLoginFailed_1(int32 error, std::string message)
        : m_error(error), m_message(std::move(message))
    {
    }
    ClientLoginFailed_1(Stream::Reader* reader, bool* ok) { *ok = unpack(reader); }

    bool pack(Stream::Writer* writer) const;
    bool unpack(Stream::Reader* reader);
    size_t getWireSize() const { return 5 + 2 + m_message.size(); }
    bool operator==(const ClientLoginFailed_1&) const = default;

    int32 m_error = 0; // a ClientLoginError
    std::string m_message;
};

struct ClientLoginFailed_2
{
    ClientLoginFailed_2() = default;
    ClientLoginFailed_2(int32 error, std::string message, std::string extra)
        : m_error(error), m_message(std::move(message)), m_extra(std::move(extra))
    {
    }
    ClientLoginFailed_2(Stream::Reader* reader, bool* ok) { *ok = unpack(reader); }

    bool pack(Stream::Writer* writer) const;
    bool unpack(Stream::Reader* reader);
    size_t getWireSize() const { return 5 + 2 + m_message.size() + 2 + m_extra.size(); }
    bool operator==(const ClientLoginFailed_2&) const = default;

    int32 m_error = 0; // a ClientLoginError
    std::string m_message;
    std::string m_extra;
};

struct ClientInfo_2
{
    ClientInfo_2() = default;
    ClientInfo_2(int32 a, int32 b, int32 c, uint32 d, uint32 e)
        : m_a(a), m_b(b), m_c(c), m_d(d), m_e(e)
    {
    }
    ClientInfo_2(Stream::Reader* reader, bool* ok) { *ok = unpack(reader); }

    bool pack(Stream::Writer* writer) const;
    bool unpack(Stream::Reader* reader);
    size_t getWireSize() const { return 3 * 5 + 2 * 4; }
    bool operator==(const ClientInfo_2&) const = default;

    int32 m_a = 0;
    int32 m_b = 0;
    int32 m_c = 0;
    uint32 m_d = 0;
    uint32 m_e = 0;
};

// The client's question for the time: its own clock, in microseconds.
struct GetTime_1
{
    GetTime_1() = default;
    explicit GetTime_1(uint64 clientTime) : m_clientTime(clientTime) {}
    GetTime_1(Stream::Reader* reader, bool* ok) { *ok = unpack(reader); }

    bool pack(Stream::Writer* writer) const;
    bool unpack(Stream::Reader* reader);
    size_t getWireSize() const { return 8; }
    bool operator==(const GetTime_1&) const = default;

    uint64 m_clientTime = 0;
};

// The service's answer: the client's time echoed, the service's receive and send times.
struct Time_1
{
    Time_1() = default;
    Time_1(uint64 clientTime, uint64 serverReceived, uint64 serverSent)
        : m_clientTime(clientTime), m_serverReceived(serverReceived), m_serverSent(serverSent)
    {
    }
    Time_1(Stream::Reader* reader, bool* ok) { *ok = unpack(reader); }

    bool pack(Stream::Writer* writer) const;
    bool unpack(Stream::Reader* reader);
    size_t getWireSize() const { return 24; }
    bool operator==(const Time_1&) const = default;

    uint64 m_clientTime = 0;
    uint64 m_serverReceived = 0;
    uint64 m_serverSent = 0;
};

} // namespace Grid
} // namespace Kapi

#endif
