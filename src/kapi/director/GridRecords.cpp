// The grid records' field-by-field encodings. Unpacking reads into a temporary and assigns it
// only when the reader is still ok, so a failed unpack leaves the record as it was.
#include "kapi/director/GridRecords.h"

namespace Kapi {

namespace Types {

bool P2PAddress_1::pack(Stream::Writer* writer) const
{
    writer->addVarI32(m_kind);
    writer->addString(m_address);
    return writer->ok();
}

bool P2PAddress_1::unpack(Stream::Reader* reader)
{
    P2PAddress_1 read;
    read.m_kind = reader->getVarI32();
    read.m_address = reader->getString();
    if (reader->ok())
        *this = std::move(read);
    return reader->ok();
}

} // namespace Types

namespace Version {

bool Version_1::pack(Stream::Writer* writer) const
{
    writer->addVarU32(m_serverMajor);
    writer->addVarU32(m_serverMinor);
    writer->addVarU32(m_c2cMajor);
    writer->addVarU32(m_c2cMinor);
    return writer->ok();
}

bool Version_1::unpack(Stream::Reader* reader)
{
    Version_1 read;
    read.m_serverMajor = reader->getVarU32();
    read.m_serverMinor = reader->getVarU32();
    read.m_c2cMajor = reader->getVarU32();
    read.m_c2cMinor = reader->getVarU32();
    if (reader->ok())
        *this = read;
    return reader->ok();
}

} // namespace Version

namespace Grid {

bool ClientLogin_2::pack(Stream::Writer* writer) const
{
    writer->addVarI32(m_flags);
    writer->addVarU32(static_cast<uint32>(m_addresses.size()));
    for (const Types::P2PAddress_1& address : m_addresses)
        address.pack(writer);
    return writer->ok();
}

bool ClientLogin_2::unpack(Stream::Reader* reader)
{
    ClientLogin_2 read;
    read.m_flags = reader->getVarI32();
    const uint32 count = reader->getVarU32();
    if (!reader->ok())
        return false;
    // Every address takes at least 3 bytes; a count above the bytes left cannot be real, and
    // checking it first keeps a hostile count from reserving memory.
    if (count > reader->remaining()) {
        reader->setFailed();
        return false;
    }
    read.m_addresses.reserve(count);
    for (uint32 i = 0; i < count && reader->ok(); ++i) {
        Types::P2PAddress_1 address;
        if (address.unpack(reader))
            read.m_addresses.push_back(std::move(address));
    }
    if (reader->ok())
        *this = std::move(read);
    return reader->ok();
}

size_t ClientLogin_2::getWireSize() const
{
    size_t size = 10;
    for (const Types::P2PAddress_1& address : m_addresses)
        size += address.getWireSize();
    return size;
}

bool ClientLoginFailed_1::pack(Stream::Writer* writer) const
{
    writer->addVarI32(m_error);
    writer->addString(m_message);
    return writer->ok();
}

bool ClientLoginFailed_1::unpack(Stream::Reader* reader)
{
    ClientLoginFailed_1 read;
    read.m_error = reader->getVarI32();
    read.m_message = reader->getString();
    if (reader->ok())
        *this = std::move(read);
    return reader->ok();
}

bool ClientLoginFailed_2::pack(Stream::Writer* writer) const
{
    writer->addVarI32(m_error);
    writer->addString(m_message);
    writer->addString(m_extra);
    return writer->ok();
}

bool ClientLoginFailed_2::unpack(Stream::Reader* reader)
{
    ClientLoginFailed_2 read;
    read.m_error = reader->getVarI32();
    read.m_message = reader->getString();
    read.m_extra = reader->getString();
    if (reader->ok())
        *this = std::move(read);
    return reader->ok();
}

bool ClientInfo_2::pack(Stream::Writer* writer) const
{
    writer->addVarI32(m_a);
    writer->addVarI32(m_b);
    writer->addVarI32(m_c);
    writer->addU32(m_d);
    writer->addU32(m_e);
    return writer->ok();
}

bool ClientInfo_2::unpack(Stream::Reader* reader)
{
    ClientInfo_2 read;
    read.m_a = reader->getVarI32();
    read.m_b = reader->getVarI32();
    read.m_c = reader->getVarI32();
    read.m_d = reader->getU32();
    read.m_e = reader->getU32();
    if (reader->ok())
        *this = read;
    return reader->ok();
}

bool GetTime_1::pack(Stream::Writer* writer) const
{
    writer->addU64(m_clientTime);
    return writer->ok();
}

bool GetTime_1::unpack(Stream::Reader* reader)
{
    const uint64 clientTime = reader->getU64();
    if (reader->ok())
        m_clientTime = clientTime;
    return reader->ok();
}

bool Time_1::pack(Stream::Writer* writer) const
{
    writer->addU64(m_clientTime);
    writer->addU64(m_serverReceived);
    writer->addU64(m_serverSent);
    return writer->ok();
}

bool Time_1::unpack(Stream::Reader* reader)
{
    Time_1 read;
    read.m_clientTime = reader->getU64();
    read.m_serverReceived = reader->getU64();
    read.m_serverSent = reader->getU64();
    if (reader->ok())
        *this = read;
    return reader->ok();
}

} // namespace Grid
} // namespace Kapi
