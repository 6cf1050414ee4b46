// kelotool note as a user runs it: conversions between the four forms, signing with a key made
// by the openssl command line, verification, and refusals of bad input.
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

using KeloTest::binPath;
using KeloTest::ProcessResult;
using KeloTest::runProcess;

namespace {

ProcessResult kelotool(const std::vector<std::string>& args, const std::string& input = "")
{
    return runProcess(binPath("kelotool"), args, input, {"VLOGLEVEL", "VLOGMULTIPLE"});
}

std::string bytes(std::initializer_list<int> list)
{
    std::string out;
    for (int b : list)
        out.push_back(static_cast<char>(b));
    return out;
}

const char* const kQuery = "_type=deviceProvisionRequest&hardwareId=AB+12&keyMajorVersion=2";

// The binary form of kQuery, byte by byte.
const std::string kBinary = bytes({22}) + "deviceProvisionRequest" + bytes({0x01, 10}) +
                            "hardwareId" + bytes({5}) + "AB 12" + bytes({0x01, 15}) +
                            "keyMajorVersion" + bytes({1}) + "2" + bytes({0x00});

const char* const kXml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                         "<note type=\"deviceProvisionRequest\">\n"
                         "  <hardwareId>AB 12</hardwareId>\n"
                         "  <keyMajorVersion>2</keyMajorVersion>\n"
                         "</note>\n";

class KelotoolNote : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        char pattern[] = "/tmp/kelo-note-tool-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        s_dir = pattern;
        ASSERT_EQ(runProcess("/usr/bin/openssl", {"genpkey", "-algorithm", "RSA", "-pkeyopt",
                                                  "rsa_keygen_bits:2048", "-out", path("key.pem")})
                      .exitStatus,
                  0);
        ASSERT_EQ(runProcess("/usr/bin/openssl",
                             {"pkey", "-in", path("key.pem"), "-pubout", "-out", path("pub.pem")})
                      .exitStatus,
                  0);
    }
    static void TearDownTestSuite() { runProcess("/bin/rm", {"-rf", s_dir}); }
    static std::string path(const std::string& name) { return s_dir + "/" + name; }
    static void writeFile(const std::string& name, const std::string& data)
    {
        std::ofstream(path(name), std::ios::binary) << data;
    }

    static std::string s_dir;
};

std::string KelotoolNote::s_dir;

} // namespace

TEST_F(KelotoolNote, ConvertsBetweenAllFormsWithExactOutput)
{
    ProcessResult r =
        kelotool({"note", "convert", "--from", "url", "--to", "bin"}, std::string(kQuery) + "\n");
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, kBinary);
    EXPECT_EQ(r.err, "");

    writeFile("note.bin", kBinary);
    r = kelotool({"note", "convert", "--from", "bin", "--to", "xml", path("note.bin")});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, kXml);
    ProcessResult lint = runProcess("/usr/bin/xmllint", {"--noout", "-"}, r.out);
    EXPECT_EQ(lint.exitStatus, 0) << lint.err;

    r = kelotool({"note", "convert", "--from", "xml", "--to", "path"}, kXml);
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "_type/deviceProvisionRequest/hardwareId/AB+12/keyMajorVersion/2\n");

    r = kelotool({"note", "convert", "--from", "path", "--to", "url"}, r.out);
    ASSERT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, std::string(kQuery) + "\n");

    r = kelotool({"note", "convert", "--from", "bin", "--to", "bin", "-"}, kBinary);
    EXPECT_EQ(r.out, kBinary);
}

TEST_F(KelotoolNote, BadInputPrintsTheDecodersErrorAndExits2)
{
    const struct
    {
        const char* form;
        std::string input;
        const char* message;
    } cases[] = {
        {"bin", bytes({0x00, 0x05, 0x00}), "NoteBinary: unexpected byte code 5 (~2)"},
        {"bin", bytes({0x01, 't', 0x01}), "not a binary note (3 bytes)"},
        {"xml", "<note type=\"\"><a>1<b/></a></note>", "element 'b' inside the string value 'a'"},
        {"url", "a.1.x=5", "index 1 is too big"},
        {"url", "a=%4", "UrlCodec::decode(): can't decode url '%4'"},
        {"path", "a/1/b", "NoteUrlPath::fromString(): not an even number of fields"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        ProcessResult r = kelotool({"note", "convert", "--from", c.form, "--to", "xml"}, c.input);
        EXPECT_EQ(r.exitStatus, 2);
        EXPECT_EQ(r.out, "");
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
        EXPECT_NE(r.err.find(std::string("kelotool note: cannot read the input as a '") + c.form +
                             "' note\n"),
                  std::string::npos)
            << r.err;
    }
}

TEST_F(KelotoolNote, SignMatchesOpensslAndVerifyAcceptsOnlyTheUnchangedNote)
{
    writeFile("note.bin", kBinary);
    ProcessResult theirs = runProcess(
        "/usr/bin/openssl", {"dgst", "-sha1", "-sign", path("key.pem"), path("note.bin")});
    ASSERT_EQ(theirs.exitStatus, 0) << theirs.err;
    ProcessResult base64 = runProcess("/usr/bin/openssl", {"base64", "-A"}, theirs.out);

    ProcessResult signedNote = kelotool({"note", "sign", "--key", path("key.pem")}, kBinary);
    ASSERT_EQ(signedNote.exitStatus, 0) << signedNote.err;
    ProcessResult asXml =
        kelotool({"note", "convert", "--from", "bin", "--to", "xml"}, signedNote.out);
    EXPECT_NE(asXml.out.find("<signature>" + base64.out + "</signature>"), std::string::npos)
        << asXml.out;

    ProcessResult ok = kelotool({"note", "verify", "--key", path("pub.pem")}, signedNote.out);
    EXPECT_EQ(ok.exitStatus, 0) << ok.err;
    EXPECT_EQ(ok.out, "verified\n");

    std::string changed = signedNote.out;
    const size_t at = changed.find("AB 12");
    ASSERT_NE(at, std::string::npos);
    changed[at + 4] = '3';
    ProcessResult bad = kelotool({"note", "verify", "--key", path("pub.pem")}, changed);
    EXPECT_EQ(bad.exitStatus, 1);
    EXPECT_EQ(bad.out, "not verified\n");

    ProcessResult unsignedNote = kelotool({"note", "verify", "--key", path("pub.pem")}, kBinary);
    EXPECT_EQ(unsignedNote.exitStatus, 1);
    EXPECT_NE(unsignedNote.err.find("note has no signature"), std::string::npos);

    // Signing a signed note, or with the wrong half of the key, is refused.
    EXPECT_EQ(kelotool({"note", "sign", "--key", path("key.pem")}, signedNote.out).exitStatus, 2);
    ProcessResult wrongKey = kelotool({"note", "sign", "--key", path("pub.pem")}, kBinary);
    EXPECT_EQ(wrongKey.exitStatus, 2);
    EXPECT_NE(wrongKey.err.find("holds no RSA private key"), std::string::npos);

    // The query form works as input too.
    ProcessResult fromUrl =
        kelotool({"note", "sign", "--key", path("key.pem"), "--from", "url"}, kQuery);
    EXPECT_EQ(fromUrl.out, signedNote.out);
}

TEST_F(KelotoolNote, UsageErrors)
{
    EXPECT_EQ(kelotool({"note"}).exitStatus, 64);
    EXPECT_EQ(kelotool({"note", "convert", "--from", "bin"}).exitStatus, 64);
    EXPECT_EQ(kelotool({"note", "convert", "--from", "json", "--to", "bin"}).exitStatus, 64);
    EXPECT_EQ(kelotool({"note", "convert", "--from", "bin", "--to", "xml", "a", "b"}).exitStatus,
              64);
    EXPECT_EQ(kelotool({"note", "sign"}).exitStatus, 64);
    EXPECT_EQ(kelotool({"note", "verify", "--key"}).exitStatus, 64);
    EXPECT_EQ(kelotool({"note", "frob"}).exitStatus, 64);
    ProcessResult missing =
        kelotool({"note", "convert", "--from", "bin", "--to", "xml", "/nonexistent/note.bin"});
    EXPECT_EQ(missing.exitStatus, 2);
    EXPECT_NE(missing.err.find("cannot read /nonexistent/note.bin"), std::string::npos);
}
