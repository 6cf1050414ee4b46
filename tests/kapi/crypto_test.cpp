// Crypto engines against published vectors (SHA-1 FIPS 180, AES FIPS-197 and SP 800-38A,
// base64 RFC 4648), the driver registry, the hardware engines over the software crypto driver,
// their fall-back log lines without a driver, and the fatal checks of the symmetric cipher.
#include "core/CryptoDriver.h"
#include "core/KeloStatus.h"
#include "core/Services.h"
#include "kapi/Base64.h"
#include "kapi/KapiCryptoInit.h"
#include "kapi/Log.h"
#include "kapi/OpenSslInit.h"
#include "kapi/OpensslCryptoDriver.h"
#include "kapi/PortingSha1.h"
#include "kapi/Random.h"
#include "kapi/Rsa.h"
#include "kapi/RsaPorting.h"
#include "kapi/Sha1.h"
#include "kapi/SymCipher.h"
#include "kapi/SymCipherPorting.h"

#include "crypto_test_util.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace CryptoTest;
using Kapi::SymCipher;

namespace {

struct DriverDeleter
{
    void operator()(KELO::CryptoDriver* driver) const { DestroyOpensslCryptoDriver(driver); }
};
typedef std::unique_ptr<KELO::CryptoDriver, DriverDeleter> OwnedDriver;

std::string digestOf(Kapi::Sha1& sha1)
{
    unsigned char digest[Kapi::Sha1::kDigestLength];
    sha1.hashCode(digest);
    return toHex(digest, sizeof(digest));
}

// A driver that has no objects to offer.
class EmptyDriver : public KELO::CryptoDriver
{
public:
    KELO::Rsa* CreateRsa() override { return nullptr; }
    int32 DestroyRsa(KELO::Rsa*) override { return KELO::FAILURE; }
    KELO::Sha1* CreateSha1() override { return nullptr; }
    int32 DestroySha1(KELO::Sha1*) override { return KELO::FAILURE; }
    KELO::SymCipher* CreateSymCipher() override { return nullptr; }
    int32 DestroySymCipher(KELO::SymCipher*) override { return KELO::FAILURE; }
};

Bytes runCipher(SymCipher& cipher, SymCipher::Algorithm algorithm, SymCipher::Direction direction,
                const Bytes& key, const Bytes& iv, const Bytes& input)
{
    EXPECT_TRUE(cipher.selectAlgorithm(algorithm, direction));
    EXPECT_TRUE(cipher.loadClearKey(key.size(), key.data(), iv.size(), iv.data()));
    Bytes output(input.size(), 0xEE);
    EXPECT_TRUE(cipher.run(input.size(), input.data(), output.data()));
    return output;
}

const Bytes kAesKey = fromHex("2b7e151628aed2a6abf7158809cf4f3c");
const Bytes kCbcIv = fromHex("000102030405060708090a0b0c0d0e0f");
const Bytes kCbcPlain = fromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
const std::string kCbcCipher = "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
                               "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7";

} // namespace

TEST(CryptoSha1, PublishedVectorsOnBothEngines)
{
    OwnedDriver driver(CreateOpensslCryptoDriver());
    DriverScope scope(driver.get());
    std::vector<std::unique_ptr<Kapi::Sha1>> engines;
    engines.push_back(Kapi::Sha1::NewSoftwareEngine());
    engines.push_back(Kapi::Sha1::NewHardwareEngine());
    ASSERT_NE(dynamic_cast<Kapi::PortingSha1*>(engines[1].get()), nullptr);
    const std::string million(1000000, 'a');
    for (auto& sha1 : engines) {
        EXPECT_EQ(digestOf(*sha1), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
        sha1->update(reinterpret_cast<const unsigned char*>("ab"), 2);
        sha1->update(reinterpret_cast<const unsigned char*>("c"), 1);
        EXPECT_EQ(digestOf(*sha1), "a9993e364706816aba3e25717850c26c9cd0d89d");
        // hashCode does not end the run: it can be asked again, and updates continue it.
        EXPECT_EQ(digestOf(*sha1), "a9993e364706816aba3e25717850c26c9cd0d89d");
        sha1->update(reinterpret_cast<const unsigned char*>("d"), 1);
        EXPECT_EQ(digestOf(*sha1), "81fe8bfe87576c3ecb22426f8e57847382917acf"); // "abcd"
        sha1->reset();
        const std::string m448 = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
        sha1->update(reinterpret_cast<const unsigned char*>(m448.data()), m448.size());
        EXPECT_EQ(digestOf(*sha1), "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
        sha1->reset();
        sha1->update(reinterpret_cast<const unsigned char*>(million.data()), million.size());
        EXPECT_EQ(digestOf(*sha1), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    }
}

TEST(CryptoSymCipher, AesVectorsOnBothEnginesInBothDirections)
{
    OwnedDriver driver(CreateOpensslCryptoDriver());
    DriverScope scope(driver.get());
    std::vector<std::unique_ptr<SymCipher>> engines;
    engines.push_back(SymCipher::NewSoftwareEngine());
    engines.push_back(SymCipher::NewHardwareEngine(0));
    ASSERT_NE(dynamic_cast<Kapi::PortingSymCipher*>(engines[1].get()), nullptr);
    struct EcbCase
    {
        const char* key;
        const char* plain;
        const char* cipher;
    };
    const EcbCase ecb[] = {
        // FIPS-197 appendix B, and C.1 / C.3
        {"2b7e151628aed2a6abf7158809cf4f3c", "3243f6a8885a308d313198a2e0370734",
         "3925841d02dc09fbdc118597196a0b32"},
        {"000102030405060708090a0b0c0d0e0f", "00112233445566778899aabbccddeeff",
         "69c4e0d86a7b0430d8cdb78070b4c55a"},
        {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
         "00112233445566778899aabbccddeeff", "8ea2b7ca516745bfeafc49904b496089"},
    };
    for (auto& engine : engines) {
        for (const EcbCase& c : ecb) {
            const Bytes key = fromHex(c.key);
            EXPECT_EQ(toHex(runCipher(*engine, SymCipher::ALGORITHM_AES_ECB,
                                      SymCipher::DIRECTION_ENCRYPT, key, {}, fromHex(c.plain))),
                      c.cipher);
            EXPECT_EQ(toHex(runCipher(*engine, SymCipher::ALGORITHM_AES_ECB,
                                      SymCipher::DIRECTION_DECRYPT, key, {}, fromHex(c.cipher))),
                      c.plain);
        }
        EXPECT_EQ(toHex(runCipher(*engine, SymCipher::ALGORITHM_AES_CBC,
                                  SymCipher::DIRECTION_ENCRYPT, kAesKey, kCbcIv, kCbcPlain)),
                  kCbcCipher);
        // The IV is not chained between runs: the same run gives the same output again.
        Bytes again(kCbcPlain.size(), 0);
        EXPECT_TRUE(engine->run(kCbcPlain.size(), kCbcPlain.data(), again.data()));
        EXPECT_EQ(toHex(again), kCbcCipher);
        EXPECT_EQ(runCipher(*engine, SymCipher::ALGORITHM_AES_CBC, SymCipher::DIRECTION_DECRYPT,
                            kAesKey, kCbcIv, fromHex(kCbcCipher)),
                  kCbcPlain);
    }
}

TEST(CryptoSymCipher, NoTransformationPassThroughAndEmptyRuns)
{
    std::unique_ptr<SymCipher> cipher = SymCipher::NewSoftwareEngine();
    const Bytes input = fromHex("00112233445566778899aabbccddeeff");
    Bytes output(16, 0xEE);
    ASSERT_TRUE(cipher->selectAlgorithm(SymCipher::ALGORITHM_NONE, SymCipher::DIRECTION_ENCRYPT));
    EXPECT_TRUE(cipher->run(16, input.data(), output.data()));
    EXPECT_EQ(output, Bytes(16, 0xEE)); // no transformation: the destination is left alone
    ASSERT_TRUE(
        cipher->selectAlgorithm(SymCipher::ALGORITHM_AES_CBC, SymCipher::DIRECTION_PASSTHRU));
    EXPECT_TRUE(cipher->run(16, input.data(), output.data()));
    EXPECT_EQ(output, input);
    // Length 0 on DES touches nothing, even before any key is loaded.
    Bytes untouched(8, 0xEE);
    ASSERT_TRUE(
        cipher->selectAlgorithm(SymCipher::ALGORITHM_3DES_ABA_CBC, SymCipher::DIRECTION_ENCRYPT));
    EXPECT_TRUE(cipher->run(0, input.data(), untouched.data()));
    EXPECT_EQ(untouched, Bytes(8, 0xEE));
    // The software engine cannot unwrap keys.
    EXPECT_FALSE(cipher->loadWrappedKey(SymCipher::WRAP_COMMON, 16, input.data(), input.data(),
                                        input.data(), 16, input.data()));
    EXPECT_FALSE(cipher->loadWrappedKeyClearIv(SymCipher::WRAP_UNIQUE, 16, input.data(),
                                               input.data(), 16, input.data()));
}

TEST(CryptoSymCipher, HardwareContextReleaseKeepsTheLoadedState)
{
    OwnedDriver driver(CreateOpensslCryptoDriver());
    DriverScope scope(driver.get());
    EXPECT_EQ(SymCipher::getMaxHardwareContexts(), 1u);
    std::unique_ptr<SymCipher> cipher = SymCipher::NewHardwareEngine(0);
    runCipher(*cipher, SymCipher::ALGORITHM_AES_CBC, SymCipher::DIRECTION_ENCRYPT, kAesKey, kCbcIv,
              kCbcPlain);
    EXPECT_TRUE(SymCipher::releaseHardwareContext(cipher.get()));
    Bytes output(kCbcPlain.size(), 0);
    EXPECT_FALSE(cipher->run(kCbcPlain.size(), kCbcPlain.data(), output.data()));
    EXPECT_TRUE(SymCipher::reacquireHardwareContext(cipher.get()));
    EXPECT_TRUE(cipher->run(kCbcPlain.size(), kCbcPlain.data(), output.data()));
    EXPECT_EQ(toHex(output), kCbcCipher);
    // Software engines have no context to give back.
    std::unique_ptr<SymCipher> software = SymCipher::NewSoftwareEngine();
    EXPECT_TRUE(SymCipher::releaseHardwareContext(software.get()));
    EXPECT_TRUE(SymCipher::reacquireHardwareContext(software.get()));
}

TEST(CryptoSymCipher, DriverCipherRefusesMisuseWithStatusCodes)
{
    OwnedDriver driver(CreateOpensslCryptoDriver());
    KELO::SymCipher* cipher = driver->CreateSymCipher();
    ASSERT_NE(cipher, nullptr);
    const Bytes block(16, 1);
    Bytes out(16, 0);
    EXPECT_EQ(cipher->run(16, block.data(), out.data()), KELO::FAILURE); // nothing selected
    EXPECT_EQ(cipher->selectAlgorithm(KELO::SymCipher::ALG_MAX, KELO::SymCipher::ENCRYPT),
              KELO::INVALID_ARGUMENTS);
    EXPECT_EQ(
        cipher->selectAlgorithm(KELO::SymCipher::ALG_AES_128_ECB, KELO::SymCipher::DIR_INVALID),
        KELO::INVALID_ARGUMENTS);
    EXPECT_EQ(cipher->selectAlgorithm(KELO::SymCipher::ALG_AES_128_CBC, KELO::SymCipher::ENCRYPT),
              KELO::SUCCESS);
    EXPECT_EQ(cipher->run(16, block.data(), out.data()), KELO::INVALID_ARGUMENTS); // no key
    EXPECT_EQ(cipher->loadClearKey(16, kAesKey.data(), 8, kCbcIv.data()), KELO::SUCCESS);
    EXPECT_EQ(cipher->run(16, block.data(), out.data()), KELO::INVALID_ARGUMENTS); // short IV
    EXPECT_EQ(cipher->loadClearKey(16, kAesKey.data(), 16, kCbcIv.data()), KELO::SUCCESS);
    EXPECT_EQ(cipher->run(12, block.data(), out.data()), KELO::INVALID_ARGUMENTS);
    EXPECT_EQ(cipher->run(16, block.data(), const_cast<unsigned char*>(block.data())),
              KELO::INVALID_ARGUMENTS);
    EXPECT_EQ(cipher->run(16, block.data(), out.data()), KELO::SUCCESS);
    EXPECT_EQ(cipher->loadWrappedKey(KELO::SymCipher::WRAP_COMMON, 16, block.data(), block.data(),
                                     block.data(), 16, block.data()),
              KELO::NOT_SUPPORTED);
    EXPECT_EQ(driver->DestroySymCipher(cipher), KELO::SUCCESS);
    EXPECT_EQ(driver->DestroySymCipher(nullptr), KELO::INVALID_ARGUMENTS);
}

TEST(CryptoBase64, Rfc4648VectorsWithAndWithoutLineBreaks)
{
    const char* const vectors[][2] = {{"f", "Zg=="},         {"fo", "Zm8="},
                                      {"foo", "Zm9v"},       {"foob", "Zm9vYg=="},
                                      {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
    for (bool noNewLines : {false, true}) {
        std::unique_ptr<Kapi::Base64> base64 = Kapi::Base64::NewSoftwareEngine(noNewLines);
        const std::string end = noNewLines ? "" : "\n";
        for (const auto& vector : vectors) {
            const Bytes plain = fromText(vector[0]);
            std::string text = "unchanged?";
            ASSERT_TRUE(base64->encode(plain.data(), plain.size(), text));
            EXPECT_EQ(text, std::string(vector[1]) + end);
            Bytes decoded(text.size(), 0);
            unsigned int length = 99;
            ASSERT_TRUE(base64->decode(text, decoded.data(), &length)) << text;
            EXPECT_EQ(toText(decoded.substr(0, length)), vector[0]);
        }
        // Nothing to produce: false, and the output is left alone.
        std::string text = "kept";
        EXPECT_FALSE(base64->encode(reinterpret_cast<const unsigned char*>(""), 0, text));
        EXPECT_EQ(text, "kept");
        unsigned char buffer[8];
        unsigned int length = 99;
        EXPECT_FALSE(base64->decode("", buffer, &length));
        EXPECT_EQ(length, 0u);
        length = 99;
        EXPECT_FALSE(base64->decode("!!!!" + end, buffer, &length));
        EXPECT_EQ(length, 0u);
    }
}

TEST(CryptoBase64, LongInputBreaksLinesAtSixtyFourOnlyWhenAsked)
{
    Bytes data;
    for (int i = 0; i < 100; ++i)
        data.push_back(static_cast<unsigned char>(i * 7));
    std::unique_ptr<Kapi::Base64> lines = Kapi::Base64::NewSoftwareEngine(false);
    std::unique_ptr<Kapi::Base64> flatEngine = Kapi::Base64::NewSoftwareEngine(true);
    std::string text;
    ASSERT_TRUE(lines->encode(data.data(), 48, text));
    EXPECT_EQ(text.size(), 65u); // 64 characters and a newline
    EXPECT_EQ(text.back(), '\n');
    std::string flat;
    ASSERT_TRUE(flatEngine->encode(data.data(), data.size(), flat));
    ASSERT_EQ(flat.size(), 136u);
    EXPECT_EQ(flat.find('\n'), std::string::npos);
    ASSERT_TRUE(lines->encode(data.data(), data.size(), text));
    EXPECT_EQ(text,
              flat.substr(0, 64) + "\n" + flat.substr(64, 64) + "\n" + flat.substr(128) + "\n");
    for (const auto& [engine, source] :
         {std::pair{lines.get(), text}, std::pair{flatEngine.get(), flat}}) {
        Bytes decoded(source.size(), 0);
        unsigned int length = 0;
        ASSERT_TRUE(engine->decode(source, decoded.data(), &length));
        EXPECT_EQ(decoded.substr(0, length), data);
    }
}

TEST(CryptoRandom, OneInstanceGivingFreshBytes)
{
    Kapi::Random* random = Kapi::Random::GetSoftwareEngine();
    EXPECT_EQ(random, Kapi::Random::GetHardwareEngine());
    unsigned char first[32] = {};
    unsigned char second[32] = {};
    random->bytes(first, sizeof(first));
    random->bytes(second, sizeof(second));
    EXPECT_NE(toHex(first, 32), toHex(second, 32));
    EXPECT_NE(toHex(first, 32), std::string(64, '0'));
    random->bytes(nullptr, 0);
}

TEST(CryptoServices, SlotsRegisterReplaceAndReport)
{
    KELO::Services& services = KELO::Services::getInstance();
    KELO::CryptoService& crypto = services.getCryptoService();
    crypto.unregisterDriver();
    KELO::CryptoDriver* out = nullptr;
    EXPECT_EQ(crypto.getDriver(&out), 4);
    EXPECT_EQ(crypto.getDriver(nullptr), 4);
    EmptyDriver first, second;
    EXPECT_EQ(crypto.registerDriver(&first), 0);
    EXPECT_EQ(crypto.getDriver(nullptr), 4);
    EXPECT_EQ(crypto.registerDriver(&second), 0);
    EXPECT_EQ(crypto.getDriver(&out), 0);
    EXPECT_EQ(out, &second);
    EXPECT_EQ(crypto.unregisterDriver(), 0);
    EXPECT_EQ(crypto.getDriver(&out), 4);
    EXPECT_EQ(out, &second); // untouched on failure
    EXPECT_EQ(services.getMultimediaService().getSurfaceMemoryLimit(), 25165824u); // the default
    EXPECT_STREQ(KELO::statusToCString(KELO::OUT_OF_MEMORY), "OUT_OF_MEMORY");
    EXPECT_STREQ(KELO::statusToCString(KELO::SUCCESS), "SUCCESS");
    EXPECT_STREQ(KELO::statusToCString(8), "UNKNOWN");
}

TEST(CryptoSelection, HardwareEnginesFallBackToSoftwareWithLogLines)
{
    std::unique_ptr<Kapi::Sha1> sha1;
    std::unique_ptr<Kapi::Rsa> rsa;
    {
        DriverScope none(nullptr);
        LogCapture capture(VLOGSRC_KAPI_CRYPTO, VLOG_DEBUG);
        sha1 = Kapi::Sha1::NewHardwareEngine();
        rsa = Kapi::Rsa::NewHardwareEngine();
        EXPECT_EQ(capture.summary(),
                  (std::vector<std::string>{
                      "kapi_crypto.error: Failed to get handle to KELO crypto driver",
                      "kapi_crypto.debug: No SHA1 porting driver found, falling back to software "
                      "engine",
                      "kapi_crypto.error: Failed to get handle to KELO crypto driver",
                      "kapi_crypto.info: No RSA porting driver found, falling back to software "
                      "engine"}));
    }
    ASSERT_NE(sha1, nullptr);
    EXPECT_EQ(dynamic_cast<Kapi::PortingSha1*>(sha1.get()), nullptr);
    sha1->update(reinterpret_cast<const unsigned char*>("abc"), 3);
    EXPECT_EQ(digestOf(*sha1), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(dynamic_cast<Kapi::RsaPorting*>(rsa.get()), nullptr);
    {
        EmptyDriver empty;
        DriverScope scope(&empty);
        LogCapture capture(VLOGSRC_KAPI_CRYPTO, VLOG_DEBUG);
        EXPECT_NE(Kapi::Sha1::NewHardwareEngine(), nullptr);
        EXPECT_NE(Kapi::Rsa::NewHardwareEngine(), nullptr);
        EXPECT_EQ(capture.summary(),
                  (std::vector<std::string>{
                      "kapi_crypto.debug: No SHA1 porting driver found, falling back to software "
                      "engine",
                      "kapi_crypto.info: No RSA porting driver found, falling back to software "
                      "engine"}));
    }
    {
        OwnedDriver driver(CreateOpensslCryptoDriver());
        DriverScope scope(driver.get());
        LogCapture capture(VLOGSRC_KAPI_CRYPTO, VLOG_DEBUG);
        EXPECT_NE(dynamic_cast<Kapi::RsaPorting*>(Kapi::Rsa::NewHardwareEngine().get()), nullptr);
        EXPECT_TRUE(capture.summary().empty());
    }
}

TEST(CryptoInitNodes, StartAndStopLogTheirLines)
{
    LogCapture capture(VLOGSRC_KAPI_CRYPTO, VLOG_DEBUG);
    const Kapi::vConfig config;
    vUtil::OpenSslInitNode* openssl = vUtil::OpenSslInit::getOpenSslInitNode();
    vUtil::OpenSslSessionInitNode* session = vUtil::OpenSslInit::getOpenSslSessionInitNode();
    Kapi::Init::InitNode* crypto = Kapi::Crypto::getInitNode();
    EXPECT_TRUE(openssl->start(config) && session->start(config) && crypto->start(config));
    EXPECT_TRUE(crypto->stop() && session->stop() && openssl->stop());
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{
                  "kapi_crypto.info: OpenSslInitNode::start() IS_OPEN_SSL_INIT_NEEDED=1",
                  "kapi_crypto.debug: OpenSslInitNode: m_needLocking=false",
                  "kapi_crypto.info: OpenSslSessionInitNode::start() IS_OPEN_SSL_INIT_NEEDED=1",
                  "kapi_crypto.info: OpenSslSessionInitNode::stop() IS_OPEN_SSL_INIT_NEEDED=1",
                  "kapi_crypto.info: OpenSslInitNode::stop() IS_OPEN_SSL_INIT_NEEDED=1"}));
}

namespace {

// Runs `body` in a death test and expects the assertion with this file and expression.
#define EXPECT_CRYPTO_DEATH(body, file, expression)                                                \
    EXPECT_DEATH(                                                                                  \
        {                                                                                          \
            Kapi::Log::Get()->setLogToConsole(true);                                               \
            body;                                                                                  \
        },                                                                                         \
        std::string(file) + ":[0-9]+ Assertion failure: " + literal(expression))

void runSoftware(int algorithm, int direction, unsigned int length)
{
    std::unique_ptr<SymCipher> cipher = SymCipher::NewSoftwareEngine();
    cipher->selectAlgorithm(static_cast<SymCipher::Algorithm>(algorithm),
                            static_cast<SymCipher::Direction>(direction));
    cipher->loadClearKey(16, kAesKey.data(), 16, kCbcIv.data());
    Bytes in(32, 0), out(32, 0);
    cipher->run(length, in.data(), out.data());
}

} // namespace

TEST(CryptoSymCipherDeathTest, MisuseEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_CRYPTO_DEATH(runSoftware(2, 1, 12), "OpensslSymCipher",
                        "(length % DES_BLOCK_SIZE) == 0");
    EXPECT_CRYPTO_DEATH(runSoftware(4, 1, 24), "OpensslSymCipher",
                        "(length % AES_BLOCK_SIZE) == 0");
    EXPECT_CRYPTO_DEATH(runSoftware(6, 1, 16), "OpensslSymCipher",
                        "false && \"bad symcipher algorithm\"");
    EXPECT_CRYPTO_DEATH(runSoftware(5, 4, 16), "OpensslSymCipher",
                        "false && \"bad cipher direction\"");
    EXPECT_CRYPTO_DEATH(
        {
            std::unique_ptr<SymCipher> cipher = SymCipher::NewSoftwareEngine();
            cipher->selectAlgorithm(SymCipher::ALGORITHM_NONE, SymCipher::DIRECTION_ENCRYPT);
            unsigned char buffer[16];
            cipher->run(16, buffer, buffer);
        },
        "OpensslSymCipher", "source && destination && source != destination");
}

TEST(CryptoSymCipherDeathTest, HardwareEngineWithoutDriverOrCipherEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_CRYPTO_DEATH(
        {
            DriverScope none(nullptr);
            SymCipher::NewHardwareEngine(0);
        },
        "SymCipherPorting", "false && \"Failed to get handle to KELO crypto driver\"");
    EXPECT_CRYPTO_DEATH(
        {
            EmptyDriver empty;
            DriverScope scope(&empty);
            SymCipher::NewHardwareEngine(0);
        },
        "SymCipherPorting", "false && \"No symmetric cipher porting driver found\"");
}
