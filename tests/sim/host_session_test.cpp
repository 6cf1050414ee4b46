// The host simulator's pieces: command lines, message fields at their protocol offsets, the
// printed form of messages, a session against real queues, and kelo_host's usage and exit
// statuses.
#include "HostFields.h"
#include "HostSession.h"
#include "sim/KeloRoot.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace KeloHost;

namespace {

Command parse(const std::string& line)
{
    Command c;
    std::string error;
    EXPECT_TRUE(parseCommandLine(line, &c, &error)) << error;
    return c;
}

std::string checkError(const std::string& line)
{
    std::string error;
    Command c = parse(line);
    EXPECT_FALSE(checkCommand(c, &error)) << line;
    return error;
}

KELO_MSG_T message(int32 type)
{
    KELO_MSG_T msg;
    memset(&msg, 0, sizeof(msg));
    msg.tMsgType = type;
    return msg;
}

// Runs commands on a session writing into a memory stream; returns what it printed.
std::string runSession(const std::vector<std::string>& lines, bool* allOk, double timeout = 5)
{
    char* buffer = nullptr;
    size_t size = 0;
    FILE* out = open_memstream(&buffer, &size);
    *allOk = true;
    {
        HostSession session(timeout, out);
        if (!session.open())
            *allOk = false;
        for (const std::string& line : lines)
            if (*allOk && !session.run(parse(line)))
                *allOk = false;
    }
    fclose(out);
    std::string text(buffer, size);
    free(buffer);
    return text;
}

} // namespace

TEST(HostCommands, WordsQuotesAndComments)
{
    Command c = parse("  send KELO_MSG_OPEN_URL pcSiteAdd=\"http://a b/\" h_wind=3 # note");
    EXPECT_EQ(c.verb, "send");
    EXPECT_EQ(c.words,
              (std::vector<std::string>{"KELO_MSG_OPEN_URL", "pcSiteAdd=http://a b/", "h_wind=3"}));
    EXPECT_EQ(parse("# only a comment").verb, "");
    EXPECT_EQ(parse("").verb, "");
    Command bad;
    std::string error;
    EXPECT_FALSE(parseCommandLine("send 3 pcSiteAdd=\"open", &bad, &error));
    EXPECT_EQ(error, "unterminated quote in 'send 3 pcSiteAdd=\"open'");
}

TEST(HostCommands, CheckingRefusesBadCommandsWithReasons)
{
    EXPECT_EQ(checkError("launch"), "unknown command 'launch'");
    EXPECT_EQ(checkError("send"), "send needs a message type");
    EXPECT_EQ(checkError("send KELO_MSG_NOPE"), "unknown message type 'KELO_MSG_NOPE'");
    EXPECT_EQ(checkError("send KELO_MSG_CLEAR kind=1"),
              "message 23 KELO_MSG_CLEAR has no field 'kind'");
    EXPECT_EQ(checkError("send KELO_MSG_CLEAR tType"), "expected FIELD=VALUE, got 'tType'");
    EXPECT_EQ(checkError("expect"), "expect needs one message type");
    EXPECT_EQ(checkError("wait soon"), "wait needs a number of seconds");
    EXPECT_EQ(checkError("nothing -1"), "nothing needs a number of seconds");
    EXPECT_EQ(checkError("listen now"), "listen takes no arguments");
    std::string error;
    for (const char* ok : {"send 3", "send KELO_MSG_STUB_UNINIT", "expect 42", "wait 0.5",
                           "nothing 1", "listen", "remove", "fields KELO_MSG_HISTORY"})
        EXPECT_TRUE(checkCommand(parse(ok), &error)) << ok << ": " << error;
}

TEST(HostFields, ValuesLandAtTheRecordOffsets)
{
    KELO_MSG_T msg = message(KELO_MSG_NEED_INPUT_BOX);
    std::string error;
    ASSERT_TRUE(setField(msg, "hIme", "0x01020304", &error)) << error;
    ASSERT_TRUE(setField(msg, "y", "-2", &error)) << error;
    ASSERT_TRUE(setField(msg, "pcInputStr", "abc", &error)) << error;
    ASSERT_TRUE(setField(msg, "tType", "1", &error)) << error;
    const uint8* raw = reinterpret_cast<const uint8*>(&msg);
    // The payload starts 8 bytes into the record.
    EXPECT_EQ(raw[8], 0x04);
    EXPECT_EQ(raw[11], 0x01);
    EXPECT_EQ(raw[8 + 8], 0xfe); // tRect.y, little-endian -2
    EXPECT_EQ(raw[8 + 11], 0xff);
    EXPECT_EQ(memcmp(raw + 8 + 20, "abc", 4), 0);
    EXPECT_EQ(raw[8 + 1044], 1);

    KELO_MSG_T time = message(KELO_MSG_UPDATE_TIME);
    ASSERT_TRUE(setField(time, "time", "4294967296", &error));
    EXPECT_EQ(reinterpret_cast<const uint8*>(&time)[8 + 8 + 4], 1); // bit 32 of the u64 at 8

    KELO_MSG_T props = message(KELO_MSG_WINDOW_PROPERTY);
    ASSERT_TRUE(setField(props, "hasForward", "1", &error));
    EXPECT_EQ(reinterpret_cast<const uint8*>(&props)[8 + 260], 1);
}

TEST(HostFields, ValuesThatDoNotFitAreRefused)
{
    KELO_MSG_T msg = message(KELO_MSG_HISTORY);
    std::string error;
    EXPECT_FALSE(setField(msg, "title", std::string(255, 'x'), &error));
    EXPECT_EQ(error, "field title: text longer than 254 bytes");
    EXPECT_TRUE(setField(msg, "title", std::string(254, 'x'), &error));
    KELO_MSG_T hot = message(KELO_MSG_INPUT_HOT_PLUG);
    EXPECT_FALSE(setField(hot, "is_plug_in", "256", &error));
    EXPECT_EQ(error, "field is_plug_in: '256' is not a number that fits");
    EXPECT_FALSE(setField(hot, "t_type", "2147483648", &error));
    EXPECT_FALSE(setField(hot, "t_type", "1x", &error));
    KELO_MSG_T count = message(KELO_MSG_HISTORY_COUNT);
    EXPECT_FALSE(setField(count, "i4Count", "-1", &error));
    KELO_MSG_T none = message(KELO_MSG_STUB_UNINIT);
    EXPECT_FALSE(setField(none, "x", "1", &error));
    EXPECT_EQ(error, "message 3 KELO_MSG_STUB_UNINIT has no field 'x'");
}

TEST(HostFields, PrintedForms)
{
    EXPECT_EQ(describeType(42), "42 KELO_MSG_EXIT_SELF");
    EXPECT_EQ(describeType(77), "77 ?");
    int32 type = 0;
    EXPECT_TRUE(parseType("KELOAPP_MSG_PLUGIN_DESTROY_DONE", &type));
    EXPECT_EQ(type, 107);
    EXPECT_TRUE(parseType("0x2a", &type));
    EXPECT_EQ(type, 42);
    EXPECT_FALSE(parseType("kelo_msg_exit_self", &type)); // names are case-sensitive

    KELO_MSG_T time = message(KELO_MSG_UPDATE_TIME);
    std::string error;
    setField(time, "status", "2", &error);
    setField(time, "time", "1500", &error);
    EXPECT_EQ(describePayload(time), " status=2 time=1500");
    KELO_MSG_T url = message(KELO_MSG_OPEN_URL);
    setField(url, "pcSiteAdd", "http://x/", &error);
    EXPECT_EQ(describePayload(url), " h_wind=0 pcSiteAdd=\"http://x/\"");
    KELO_MSG_T bare = message(KELO_MSG_EXIT_SELF);
    EXPECT_EQ(describePayload(bare), "");
    reinterpret_cast<uint8*>(&bare.uMsgData)[2] = 0xab;
    EXPECT_EQ(describePayload(bare), " data=0000ab");
    EXPECT_STREQ(recordOf(KELO_MSG_SET_PROXY), "rProxy");
    EXPECT_EQ(fieldsOf(KELO_MSG_SET_PROXY).size(), 6u);
}

TEST(HostSessionQueues, ExpectNothingAndListenJudgeWhatTheClientSent)
{
    KeloTest::KeloRoot root;
    bool ok = false;
    // Play the client: two messages waiting on the app queue.
    ASSERT_EQ(init_kelo_msg_queue(), KELO_IPC_OK);
    ASSERT_EQ(kelo_stub_send_type(KELO_MSG_STUB_UNINIT_RET), KELO_IPC_OK);
    ASSERT_EQ(kelo_stub_send_type(KELO_MSG_EXIT_SELF), KELO_IPC_OK);
    g_rKeloMsgQue = false; // the session attaches to the same queues again

    std::string out = runSession({"expect KELO_MSG_STUB_UNINIT_RET", "expect 42", "nothing 0.1",
                                  "send KELO_MSG_CLEAR tType=4"},
                                 &ok);
    EXPECT_TRUE(ok) << out;
    EXPECT_NE(out.find("host: recv 4 KELO_MSG_STUB_UNINIT_RET\nhost: recv 42 KELO_MSG_EXIT_SELF\n"
                       "host: send 23 KELO_MSG_CLEAR tType=4\n"),
              std::string::npos)
        << out;
    // The client's side receives what the host sent.
    KELO_MSG_T got;
    memset(&got, 0, sizeof(got));
    ASSERT_EQ(kelo_stub_recv_ipc_msg_nowait(&got), KELO_IPC_OK);
    EXPECT_EQ(got.tMsgType, KELO_MSG_CLEAR);
    EXPECT_EQ(got.uMsgData.rClear.tType, 4);

    ASSERT_EQ(kelo_stub_send_type(KELO_MSG_SS_START), KELO_IPC_OK);
    g_rKeloMsgQue = false;
    out = runSession({"expect KELO_MSG_EXIT_SELF"}, &ok);
    EXPECT_FALSE(ok);
    EXPECT_NE(out.find("host: FAILED: expect 42 KELO_MSG_EXIT_SELF: got 37 KELO_MSG_SS_START\n"),
              std::string::npos)
        << out;

    ASSERT_EQ(kelo_stub_send_type(KELO_MSG_SS_STOP), KELO_IPC_OK);
    g_rKeloMsgQue = false;
    out = runSession({"nothing 0.1"}, &ok);
    EXPECT_FALSE(ok);
    EXPECT_NE(out.find("host: FAILED: nothing 0.1: got 36 KELO_MSG_SS_STOP\n"), std::string::npos);

    g_rKeloMsgQue = false;
    out = runSession({"listen"}, &ok, 0.1);
    EXPECT_FALSE(ok);
    EXPECT_NE(out.find("host: FAILED: listen: no KELO_MSG_EXIT_SELF\n"), std::string::npos);
    uninit_kelo_msg_queue();
}

TEST(KeloHostProgram, UsageErrorsRunNothingAndAMissingKeyFileFails)
{
    KeloTest::KeloRoot root(false);
    const std::string host = KeloTest::binPath("kelo_host");
    KeloTest::ProcessResult r = KeloTest::runProcess(host, {}, "", {root.env()});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err.rfind("kelo_host: no commands\n\nUsage: kelo_host", 0), 0u) << r.err;

    r = KeloTest::runProcess(host, {"send KELO_MSG_STUB_UNINIT", "expect BOGUS"}, "", {root.env()});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(r.out, ""); // checked before anything is sent
    EXPECT_EQ(r.err.rfind("kelo_host: command 2: expect needs one message type\n", 0), 0u);

    r = KeloTest::runProcess(host, {"--timeout", "x", "listen"}, "", {root.env()});
    EXPECT_EQ(r.exitStatus, 2);

    r = KeloTest::runProcess(host, {"send 3"}, "", {root.env()});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_EQ(r.out, "host: FAILED: key file " + root.keyFile() + " does not exist\n");
    EXPECT_EQ(root.queueId(1), -1);

    r = KeloTest::runProcess(host, {"--help"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_NE(r.out.find("  host: recv <type> <NAME>[ field=value ...]"), std::string::npos);
}

TEST(KeloHostProgram, ScriptFromStandardInputRunsAfterTheArguments)
{
    KeloTest::KeloRoot root;
    KeloTest::ProcessResult r = KeloTest::runProcess(
        KeloTest::binPath("kelo_host"), {"--script", "-", "send KELO_MSG_SS_ON"},
        "# screen saver off again\nsend 39\nfields KELO_MSG_CHANGE_RES\nremove\n", {root.env()});
    EXPECT_EQ(r.exitStatus, 0) << r.out << r.err;
    const std::string expectedTail =
        "host: send 38 KELO_MSG_SS_ON\n"
        "[KeloStub] Calling -------> kelo_app_send_ipc_msg, MSG ID = [38]\n"
        "host: send 39 KELO_MSG_SS_OFF\n"
        "[KeloStub] Calling -------> kelo_app_send_ipc_msg, MSG ID = [39]\n"
        "host: fields 29 KELO_MSG_CHANGE_RES (rChangeResMsg): ui4_width ui4_height\n"
        "host: queues removed\n";
    ASSERT_GE(r.out.size(), expectedTail.size());
    EXPECT_EQ(r.out.substr(r.out.size() - expectedTail.size()), expectedTail);
    EXPECT_EQ(root.queueId(2), -1);
}
