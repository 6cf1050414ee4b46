// Grid protocol types: name tables, and every record and the login message against bytes that
// python3's struct module builds from the field descriptions on its own.
#include "kapi/StreamBufferReader.h"
#include "kapi/StreamStringWriter.h"
#include "kapi/director/GridEnums.h"
#include "kapi/director/GridLogin.h"
#include "kapi/director/GridRecords.h"

#include "note_test_util.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

using namespace Kapi::Grid;
using Kapi::Stream::BufferReader;
using Kapi::Stream::StringWriter;
using Kapi::Types::P2PAddress_1;
using Kapi::Version::Version_1;
using NoteTest::bytes;
using NoteTest::hex;

namespace {

// The encodings written out in python from their descriptions; `expression` builds the bytes.
std::string python(const std::string& expression)
{
    const std::string program =
        "import struct, sys\n"
        "def u32(v): return struct.pack('<I', v)\n"
        "def u64(v): return struct.pack('<Q', v)\n"
        "def varu32(v):\n"
        "    if v < 0x80: return struct.pack('B', v)\n"
        "    if v < 0x4000: return struct.pack('>H', 0x8000 | v)\n"
        "    if v < 0x200000: return struct.pack('>I', 0xC00000 | v)[1:]\n"
        "    if v < 0x10000000: return struct.pack('>I', 0xE0000000 | v)\n"
        "    return b'\\xff' + struct.pack('<I', v)\n"
        "def vari32(v): return varu32(2 * v if v >= 0 else 2 * (-v - 1) + 1)\n"
        "def string(s): return struct.pack('<H', len(s)) + s\n"
        "sys.stdout.write((" +
        expression + ").hex(' '))\n";
    KeloTest::ProcessResult r = KeloTest::runProcess("/usr/bin/python3", {"-c", program});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    return r.out;
}

template <typename Record> std::string packed(const Record& record)
{
    StringWriter writer;
    EXPECT_TRUE(record.pack(&writer));
    EXPECT_LE(writer.str().size(), record.getWireSize());
    return writer.str();
}

template <typename Record> void expectRoundTrip(const Record& record)
{
    const std::string data = packed(record);
    BufferReader reader(data.data(), data.size());
    bool ok = false;
    Record back(&reader, &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(reader.remaining(), 0u);
    EXPECT_TRUE(back == record);
}

} // namespace

TEST(GridEnums, NamesParseAndPrintBothWays)
{
    std::string name;
    EXPECT_TRUE(printMessageType(MT_KEEP_ALIVE_PONG, name));
    EXPECT_EQ(name, "MT_KEEP_ALIVE_PONG");
    MessageType type = MT_UNKNOWN;
    EXPECT_TRUE(parseMessageType("MT_READY_TO_PEER", type));
    EXPECT_EQ(type, 24);
    EXPECT_FALSE(parseMessageType("mt_login", type));
    EXPECT_EQ(type, 24);

    ClientSideError error = ERR_CONNECT_FAILED;
    EXPECT_TRUE(parseClientSideError("ERR_OK", error));
    EXPECT_EQ(error, 0);
    EXPECT_TRUE(parseClientSideError("ERR_LOGIN_FAILED_ERROR_LAST", error));
    EXPECT_EQ(error, 3999);
    EXPECT_TRUE(printClientSideError(ERR_INTERRUPTED_FROM_CONNECTED, name));
    EXPECT_EQ(name, "ERR_INTERRUPTED_FROM_CONNECTED");
    {
        LogCapture capture(VLOGSRC_KAPI_DDL, VLOG_DEBUG);
        EXPECT_FALSE(printClientSideError(static_cast<ClientSideError>(1007), name));
        EXPECT_EQ(name, "1007"); // inside the kickstart transfer band, no name of its own
        EXPECT_EQ(capture.summary(), std::vector<std::string>{
                                         "kapi_ddl.info: Invalid value for ClientSideError: 1007"});
    }
    ClientLoginError loginError = LOGIN_ERROR_UNSPECIFIED;
    EXPECT_TRUE(parseClientLoginError("LOGIN_ERROR_NEED_ACTIVATION", loginError));
    EXPECT_EQ(loginError, 6);
    EXPECT_TRUE(printConnectionFailureType(CONNECTION_FAILURE_SERVER_REJECTED, name));
    EXPECT_EQ(name, "CONNECTION_FAILURE_SERVER_REJECTED");
    ConnectionFailureType failure = CONNECTION_FAILURE_NONE;
    EXPECT_TRUE(parseConnectionFailureType("CONNECTION_FAILURE_NEED_ACTIVATION", failure));
    EXPECT_EQ(failure, 2);
}

TEST(GridRecords, BytesMatchAnIndependentPythonEncoding)
{
    P2PAddress_1 address(-3, "10.0.0.1:4000");
    EXPECT_EQ(hex(packed(address)), python("vari32(-3) + string(b'10.0.0.1:4000')"));

    ClientLogin_2 login(70000);
    login.m_addresses.push_back(address);
    login.m_addresses.push_back(P2PAddress_1(5, ""));
    EXPECT_EQ(hex(packed(login)), python("vari32(70000) + varu32(2) + vari32(-3) + "
                                         "string(b'10.0.0.1:4000') + vari32(5) + string(b'')"));

    EXPECT_EQ(hex(packed(ClientLoginFailed_1(4, "rejected"))),
              python("vari32(4) + string(b'rejected')"));
    EXPECT_EQ(hex(packed(ClientLoginFailed_2(6, "activate", "code=12"))),
              python("vari32(6) + string(b'activate') + string(b'code=12')"));
    EXPECT_EQ(hex(packed(ClientInfo_2(-1, 200000, -2147483647 - 1, 0xDEADBEEF, 7))),
              python("vari32(-1) + vari32(200000) + vari32(-2**31) + u32(0xDEADBEEF) + u32(7)"));
    EXPECT_EQ(hex(packed(GetTime_1(1234567890123456ull))), python("u64(1234567890123456)"));
    EXPECT_EQ(hex(packed(Time_1(1, 0x0102030405060708ull, 0xFFFFFFFFFFFFFFFFull))),
              python("u64(1) + u64(0x0102030405060708) + u64(2**64 - 1)"));
    EXPECT_EQ(hex(packed(Version_1(6, 4, 0x3FFF, 0x12345678))),
              python("varu32(6) + varu32(4) + varu32(0x3FFF) + varu32(0x12345678)"));
}

TEST(GridRecords, RecordsRoundTrip)
{
    ClientLogin_2 login(1);
    for (int i = 0; i < 40; ++i)
        login.m_addresses.push_back(P2PAddress_1(i * 1000 - 5, std::string(i, 'a')));
    expectRoundTrip(login);
    expectRoundTrip(ClientLogin_2());
    expectRoundTrip(ClientLoginFailed_2(-9, "m", std::string(300, 'e')));
    expectRoundTrip(ClientInfo_2(1, -2, 3, 4, 5));
    expectRoundTrip(Time_1(9, 8, 7));
    expectRoundTrip(Version_1(0xFFFFFFFF, 0, 0x80, 0x200000));
}

TEST(GridRecords, AnAddressCountPastTheEndFailsTheReader)
{
    // Count 3 with two bytes left.
    const std::string data = bytes({0x02, 0x03, 0x00, 0x00});
    BufferReader reader(data.data(), data.size());
    ClientLogin_2 login(42);
    EXPECT_FALSE(login.unpack(&reader));
    EXPECT_FALSE(reader.ok());
    EXPECT_EQ(login.m_flags, 42); // unchanged

    // A truncated record leaves every record unchanged too.
    const std::string cut = bytes({0x08, 0x05, 0x00, 'a', 'b'});
    BufferReader shortReader(cut.data(), cut.size());
    ClientLoginFailed_1 failed(1, "kept");
    EXPECT_FALSE(failed.unpack(&shortReader));
    EXPECT_EQ(failed.m_message, "kept");
}

TEST(GridLogin, TheMessageMatchesPythonAndAnswersComeInBothRefusalForms)
{
    StringWriter writer;
    ASSERT_TRUE(packLoginMessage(&writer, 0x00C0FFEE));
    EXPECT_EQ(hex(writer.str()), python("varu32(2) + varu32(1) + u32(0x00C0FFEE) + varu32(6) + "
                                        "varu32(4) + varu32(6) + varu32(19) + vari32(1) + "
                                        "varu32(0)"));
    EXPECT_EQ(hex(writer.str()), "02 01 ee ff c0 00 06 04 06 13 02 00");
    EXPECT_LE(writer.str().size(), kMaxLoginMessageSize);

    // Answers, with both forms of the refusal record.
    LogCapture capture(VLOGSRC_P2S_CLIENT, VLOG_DEBUG);
    LoginAnswer answer;
    std::string ok = bytes({0x02, 0x02, 0x44, 0x33, 0x22, 0x11});
    ASSERT_TRUE(unpackLoginAnswer(ok.data(), ok.size(), &answer));
    EXPECT_EQ(answer.type, MT_LOGIN_OK);
    EXPECT_EQ(answer.clientId, 0x11223344u);

    StringWriter newer;
    newer.addVarU32(2);
    newer.addVarU32(MT_LOGIN_FAILED);
    newer.addU32(0x10);
    ClientLoginFailed_2(LOGIN_ERROR_BAD_VERSION, "too old", "6.5").pack(&newer);
    ASSERT_TRUE(unpackLoginAnswer(newer.str().data(), newer.str().size(), &answer));
    EXPECT_EQ(answer.type, MT_LOGIN_FAILED);
    EXPECT_FALSE(answer.oldFailureRecord);
    EXPECT_TRUE(answer.failure == ClientLoginFailed_2(1, "too old", "6.5"));

    // Only an error and one string: the older record.
    StringWriter older;
    older.addVarU32(2);
    older.addVarU32(MT_LOGIN_FAILED);
    older.addU32(0x10);
    ClientLoginFailed_1(LOGIN_ERROR_REJECTED, "no").pack(&older);
    ASSERT_TRUE(unpackLoginAnswer(older.str().data(), older.str().size(), &answer));
    EXPECT_TRUE(answer.oldFailureRecord);
    EXPECT_TRUE(answer.failure == ClientLoginFailed_2(4, "no", ""));

    const std::string garbage = bytes({0x02, 0x03, 0x10, 0, 0, 0, 0x08});
    EXPECT_FALSE(unpackLoginAnswer(garbage.data(), garbage.size(), &answer));
    const std::string wrongCategory = bytes({0x05, 0x02, 0, 0, 0, 0});
    EXPECT_FALSE(unpackLoginAnswer(wrongCategory.data(), wrongCategory.size(), &answer));

    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{
                  "p2s_client.warning: loginFailed for 0x10: too old (1)",
                  "p2s_client.info: oldLoginFailed.unpacked = 1",
                  "p2s_client.warning: loginFailed for 0x10: no (4)",
                  "p2s_client.info: oldLoginFailed.unpacked = 0",
                  "p2s_client.error: loginFailed and can't unpack ClientLoginFailed_1"}));
}
