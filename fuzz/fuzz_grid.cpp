// The grid records and the login answer on arbitrary bytes; the first byte picks the record.
// Checks: nothing is read past the input (ASan); an unpacked record packs within its wire-size
// bound and unpacks again to an equal record; a failed unpack leaves the record untouched.
#include "kapi/StreamBufferReader.h"
#include "kapi/StreamStringWriter.h"
#include "kapi/director/GridLogin.h"
#include "kapi/director/GridRecords.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace Kapi::Grid;
using Kapi::Stream::BufferReader;
using Kapi::Stream::StringWriter;

namespace {

template <typename Record> void check(const uint8_t* data, size_t size)
{
    BufferReader reader(data, size);
    Record record;
    const Record before = record;
    if (!record.unpack(&reader)) {
        if (!(record == before))
            abort();
        return;
    }
    StringWriter writer;
    if (!record.pack(&writer) || writer.str().size() > record.getWireSize())
        abort();
    BufferReader again(writer.str().data(), writer.str().size());
    bool ok = false;
    Record back(&again, &ok);
    if (!ok || again.remaining() != 0 || !(back == record))
        abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const uint8_t* rest = data + 1;
    const size_t restSize = size - 1;
    switch (data[0] % 9) {
    case 0:
        check<Kapi::Types::P2PAddress_1>(rest, restSize);
        break;
    case 1:
        check<ClientLogin_2>(rest, restSize);
        break;
    case 2:
        check<ClientLoginFailed_1>(rest, restSize);
        break;
    case 3:
        check<ClientLoginFailed_2>(rest, restSize);
        break;
    case 4:
        check<ClientInfo_2>(rest, restSize);
        break;
    case 5:
        check<GetTime_1>(rest, restSize);
        break;
    case 6:
        check<Time_1>(rest, restSize);
        break;
    case 7:
        check<Kapi::Version::Version_1>(rest, restSize);
        break;
    default: {
        LoginAnswer answer;
        (void)unpackLoginAnswer(rest, restSize, &answer);
        break;
    }
    }
    return 0;
}
