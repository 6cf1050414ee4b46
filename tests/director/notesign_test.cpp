// Note signatures against the openssl command line: ours equal `openssl dgst -sha1 -sign` over
// the packed note, theirs verify here, and any changed byte fails. Keys are made fresh for the
// suite in a temporary directory.
#include "kapi/RsaUtil.h"
#include "kapi/director/NoteBinary.h"
#include "kapi/director/NoteSign.h"

#include "note_test_util.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include "support/TestFiles.h"

#include <cstdlib>

using Kapi::Director::NoteBinary;
using Kapi::Director::NoteSign;
using KeloTest::runProcess;
using vUtil::RsaUtil;
using namespace NoteTest;

using KeloTest::readFile;
using KeloTest::writeFile;

namespace {

const char* const kOpenssl = "/usr/bin/openssl";
const int kKey = 7;      // 2048-bit pair
const int kSmallKey = 8; // 1024-bit pair
const int kNoKey = 9;

class NoteSignTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        char pattern[] = "/tmp/kelo-notesign-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        s_dir = pattern;
        makeKey("key", 2048);
        makeKey("small", 1024);
        RsaUtil::setPrivateKey(kKey, readFile(path("key.pem")));
        RsaUtil::setPublicKey(kKey, readFile(path("key.pub")));
        RsaUtil::setPrivateKey(kSmallKey, readFile(path("small.pem")));
        RsaUtil::setPublicKey(kSmallKey, readFile(path("small.pub")));
    }
    static void TearDownTestSuite()
    {
        RsaUtil::removeKey(kKey);
        RsaUtil::removeKey(kSmallKey);
        runProcess("/bin/rm", {"-rf", s_dir});
    }
    static void makeKey(const std::string& name, int bits)
    {
        ASSERT_EQ(runProcess(kOpenssl, {"genpkey", "-algorithm", "RSA", "-pkeyopt",
                                        "rsa_keygen_bits:" + std::to_string(bits), "-out",
                                        path(name + ".pem")})
                      .exitStatus,
                  0);
        ASSERT_EQ(runProcess(kOpenssl, {"pkey", "-in", path(name + ".pem"), "-pubout", "-out",
                                        path(name + ".pub")})
                      .exitStatus,
                  0);
    }
    static std::string path(const std::string& name) { return s_dir + "/" + name; }

    // `openssl dgst -sha1 -sign` over the packed note, in one-line base64.
    static std::string opensslSignature(const NotePtr& note, const std::string& key)
    {
        std::string data;
        EXPECT_TRUE(NoteBinary::packToString(note, &data));
        writeFile(path("data.bin"), data);
        KeloTest::ProcessResult sig =
            runProcess(kOpenssl, {"dgst", "-sha1", "-sign", path(key), path("data.bin")});
        EXPECT_EQ(sig.exitStatus, 0) << sig.err;
        KeloTest::ProcessResult text = runProcess(kOpenssl, {"base64", "-A"}, sig.out);
        EXPECT_EQ(text.exitStatus, 0);
        return text.out;
    }

    static NotePtr sample()
    {
        NotePtr n = Note::create("deviceProvisionResponse");
        n->add("clientId", "0x1234");
        n->add("zone", "eu");
        NotePtr sub = Note::create("key");
        sub->add("index", "2");
        n->add("keys", sub);
        return n;
    }

    static std::string s_dir;
};

std::string NoteSignTest::s_dir;

} // namespace

TEST_F(NoteSignTest, OurSignatureEqualsOpensslsOverTheSameBytes)
{
    NotePtr n = sample();
    const std::string expected = opensslSignature(n, "key.pem");
    ASSERT_TRUE(NoteSign::sign(kKey, n));
    std::string signature;
    ASSERT_TRUE(n->getString("signature", 0, &signature));
    EXPECT_EQ(signature, expected);
    EXPECT_EQ(signature.size(), 344u); // 256 bytes in base64, one line
    EXPECT_EQ(signature.find('\n'), std::string::npos);

    // Signing a signed note fails and changes nothing.
    NotePtr before = n->deepCopy();
    EXPECT_FALSE(NoteSign::sign(kKey, n));
    EXPECT_TRUE(n->equals(*before));

    ASSERT_TRUE(NoteSign::verify(kKey, n));
    EXPECT_EQ(n->count("signature"), 0u);
    EXPECT_TRUE(n->equals(*sample()));

    // Every signature entry is removed and only the first string one is checked.
    ASSERT_TRUE(NoteSign::sign(kKey, n));
    n->add("signature", "a second, bogus signature");
    EXPECT_TRUE(NoteSign::verify(kKey, n));
    EXPECT_EQ(n->count("signature"), 0u);
}

TEST_F(NoteSignTest, OpensslsSignatureVerifiesAndAnyChangedByteFails)
{
    NotePtr n = sample();
    const std::string theirs = opensslSignature(n, "key.pem");
    NotePtr signedNote = n->deepCopy();
    signedNote->add("signature", theirs);
    EXPECT_TRUE(NoteSign::verify(kKey, signedNote->deepCopy()));

    // A changed value, a changed type, an added entry: all fail.
    NotePtr changed = signedNote->deepCopy();
    changed->remove("zone", 0);
    changed->add("zone", "eU");
    EXPECT_FALSE(NoteSign::verify(kKey, changed));
    changed = signedNote->deepCopy();
    changed->setType("deviceProvisionResponsf");
    EXPECT_FALSE(NoteSign::verify(kKey, changed));
    changed = signedNote->deepCopy();
    changed->add("extra", "");
    EXPECT_FALSE(NoteSign::verify(kKey, changed));

    // Every single flipped bit of the packed note, decoded again, fails (or no longer decodes).
    std::string data;
    ASSERT_TRUE(NoteBinary::packToString(signedNote, &data));
    for (size_t i = 0; i < data.size(); i += 7) {
        std::string flipped = data;
        flipped[i] = static_cast<char>(flipped[i] ^ 0x01);
        NotePtr decoded = NoteBinary::unpackBytes(flipped.data(), flipped.size());
        if (decoded) {
            EXPECT_FALSE(NoteSign::verify(kKey, decoded)) << "byte " << i;
        }
    }
}

TEST_F(NoteSignTest, RefusalsAreLoggedAndVerifyAlwaysDropsTheSignature)
{
    LogCapture capture(VLOGSRC_KAPI_DIRECTOR, VLOG_DEBUG);
    NotePtr unsignedNote = sample();
    EXPECT_FALSE(NoteSign::verify(kKey, unsignedNote));
    EXPECT_TRUE(unsignedNote->equals(*sample()));

    NotePtr badText = sample();
    badText->add("signature", "!!!");
    EXPECT_FALSE(NoteSign::verify(kKey, badText));
    EXPECT_EQ(badText->count("signature"), 0u);

    NotePtr small = sample();
    ASSERT_TRUE(NoteSign::sign(kSmallKey, small));
    NotePtr other = small->deepCopy();
    EXPECT_FALSE(NoteSign::verify(kKey, small));
    EXPECT_EQ(small->count("signature"), 0u);
    EXPECT_FALSE(NoteSign::verify(kNoKey, other));
    EXPECT_FALSE(NoteSign::sign(kNoKey, sample()));

    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{
                  "kapi_director.info: NoteSign::verify: note has no signature!?",
                  "kapi_director.info: NoteSign::verify: can't decode signature?",
                  "kapi_director.info: NoteSign::verify: signature has bad length (128 != 256)",
                  "kapi_director.info: NoteSign::verify: can't load the key (9)"}));
}

TEST_F(NoteSignTest, KeyTableHalvesAreSeparate)
{
    std::unique_ptr<Kapi::Rsa> rsa = Kapi::Rsa::NewSoftwareEngine();
    EXPECT_TRUE(RsaUtil::loadKey(kKey, rsa.get()));
    EXPECT_EQ(rsa->keyLen(), 256u);
    EXPECT_TRUE(RsaUtil::loadPublicKey(kSmallKey, rsa.get()));
    EXPECT_EQ(rsa->keyLen(), 128u);
    EXPECT_FALSE(RsaUtil::loadKey(kNoKey, rsa.get()));
    EXPECT_EQ(rsa->keyLen(), 128u); // a failed load keeps what the engine held

    RsaUtil::setPublicKey(kNoKey, readFile(path("key.pub")));
    EXPECT_TRUE(RsaUtil::loadPublicKey(kNoKey, rsa.get()));
    EXPECT_FALSE(RsaUtil::loadKey(kNoKey, rsa.get()));
    RsaUtil::setPublicKey(kNoKey, "");
    EXPECT_FALSE(RsaUtil::loadPublicKey(kNoKey, rsa.get()));
    RsaUtil::setPublicKey(kNoKey, "not a key");
    EXPECT_FALSE(RsaUtil::loadPublicKey(kNoKey, rsa.get()));
    RsaUtil::removeKey(kNoKey);
}
