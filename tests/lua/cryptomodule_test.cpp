// The "crypto" script module agrees with the openssl and base64 command-line tools: digests,
// HMAC, ciphers in both directions, base64 with 64-character lines; and raises its documented
// errors.
#include "kapi/lua/Modules.h"

#include "LuaTestState.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <random>

using KeloTest::runProcess;

namespace {

const char* const kOpenssl = "/usr/bin/openssl";

std::string hexOf(const std::string& bytes)
{
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char c : bytes) {
        text += kDigits[c >> 4];
        text += kDigits[c & 15];
    }
    return text;
}

std::string randomBytes(std::mt19937& random, size_t length)
{
    std::string bytes(length, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(random());
    }
    return bytes;
}

// The first word of the tool's output ("<hex> *stdin" with -r).
std::string firstWord(const std::string& text)
{
    return text.substr(0, text.find_first_of(" \n"));
}

class CryptoModuleTest : public ::testing::Test
{
protected:
    void SetUp() override { Kapi::Lua::openModules(m_lua); }

    void setGlobal(const char* name, const std::string& bytes)
    {
        lua_pushlstring(m_lua, bytes.data(), bytes.size());
        lua_setglobal(m_lua, name);
    }

    // The string a Lua expression returns (which must not fail).
    std::string call(const std::string& expression)
    {
        const std::string error = m_lua.run("return " + expression, 1);
        EXPECT_EQ(error, "") << expression;
        if (!error.empty()) {
            return "<error>";
        }
        size_t length = 0;
        const char* text = lua_tolstring(m_lua, -1, &length);
        std::string result(text != nullptr ? text : "", length);
        lua_pop(m_lua, 1);
        return result;
    }

    LuaTestState m_lua;
};

TEST_F(CryptoModuleTest, DigestsMatchOpensslDgst)
{
    EXPECT_EQ(call("crypto.digest.hash('md5', '')"), "d41d8cd98f00b204e9800998ecf8427e");
    std::mt19937 random(3);
    for (const char* name : {"md5", "sha1", "sha256", "sha512"}) {
        for (size_t length : {0u, 1u, 1000u, 70000u}) {
            const std::string data = randomBytes(random, length);
            setGlobal("data", data);
            const auto tool = runProcess(kOpenssl, {"dgst", std::string("-") + name, "-r"}, data);
            ASSERT_EQ(tool.exitStatus, 0) << tool.err;
            const std::string expected = firstWord(tool.out);
            EXPECT_EQ(call(std::string("crypto.digest.hash('") + name + "', data)"), expected)
                << name << " " << length;
            EXPECT_EQ(hexOf(call(std::string("crypto.digest.hash('") + name + "', data, true)")),
                      expected);
        }
    }
}

TEST_F(CryptoModuleTest, HmacMatchesOpensslDgstWithBinaryKeys)
{
    std::mt19937 random(5);
    for (const char* name : {"sha1", "sha256", "md5"}) {
        for (size_t keyLength : {1u, 20u, 100u}) {
            std::string key = randomBytes(random, keyLength);
            key[0] = '\0'; // embedded zero bytes count
            const std::string data = std::string("\0head", 5) + randomBytes(random, 300);
            setGlobal("key", key);
            setGlobal("data", data);
            const auto tool = runProcess(kOpenssl,
                                         {"dgst", std::string("-") + name, "-mac", "HMAC",
                                          "-macopt", "hexkey:" + hexOf(key), "-r"},
                                         data);
            ASSERT_EQ(tool.exitStatus, 0) << tool.err;
            EXPECT_EQ(call(std::string("crypto.hmac.hash('") + name + "', data, key)"),
                      firstWord(tool.out))
                << name;
        }
    }
}

struct CipherCase
{
    const char* name;
    size_t keyLength;
    size_t ivLength; // 0: no IV
    std::vector<std::string> providers;
};

TEST_F(CryptoModuleTest, CiphersMatchOpensslEncBothWays)
{
    const std::vector<CipherCase> cases = {
        {"aes-128-cbc", 16, 16, {}},
        {"aes-256-ecb", 32, 0, {}},
        {"des-ede3-cbc", 24, 8, {}},
        {"bf-cbc", 16, 8, {"-provider", "legacy", "-provider", "default"}},
    };
    std::mt19937 random(9);
    for (const CipherCase& c : cases) {
        for (size_t length : {0u, 1u, 15u, 16u, 17u, 4096u}) {
            const std::string key = randomBytes(random, c.keyLength);
            const std::string iv = randomBytes(random, c.ivLength);
            const std::string data = randomBytes(random, length);
            setGlobal("key", key);
            setGlobal("iv", iv);
            setGlobal("data", data);
            std::vector<std::string> args = {"enc", std::string("-") + c.name, "-K", hexOf(key)};
            if (c.ivLength != 0) {
                args.insert(args.end(), {"-iv", hexOf(iv)});
            }
            args.insert(args.end(), c.providers.begin(), c.providers.end());
            const auto encrypted = runProcess(kOpenssl, args, data);
            ASSERT_EQ(encrypted.exitStatus, 0) << encrypted.err;

            const std::string ivArgument = c.ivLength != 0 ? "iv" : "nil";
            const std::string name = std::string("'") + c.name + "'";
            EXPECT_EQ(call("crypto.cipher.docrypt(" + name + ", data, key, true, true, " +
                           ivArgument + ")"),
                      encrypted.out)
                << c.name << " " << length;
            EXPECT_EQ(call("crypto.cipher.docrypt(" + name + ", data, key, true, false, " +
                           ivArgument + ")"),
                      hexOf(encrypted.out));

            setGlobal("secret", encrypted.out);
            if (encrypted.out.size() <= 4096) {
                EXPECT_EQ(call("crypto.cipher.docrypt(" + name + ", secret, key, false, true, " +
                               ivArgument + ")"),
                          data);
            }
            std::vector<std::string> decryptArgs = args;
            decryptArgs.insert(decryptArgs.begin() + 1, "-d");
            const std::string ours = call("crypto.cipher.docrypt(" + name +
                                          ", data, key, true, true, " + ivArgument + ")");
            const auto decrypted = runProcess(kOpenssl, decryptArgs, ours);
            ASSERT_EQ(decrypted.exitStatus, 0) << decrypted.err;
            EXPECT_EQ(decrypted.out, data);
        }
    }
}

TEST_F(CryptoModuleTest, ErrorsAreRaisedWithTheirMessages)
{
    EXPECT_EQ(m_lua.run("crypto.digest.hash('nosuch', 'x')"),
              "[string \"test\"]:1: bad argument #1 to 'hash' (invalid digest type)");
    const std::string block16 = "string.rep('k', 16), ";
    const std::pair<std::string, std::vector<const char*>> cases[] = {
        {"crypto.hmac.hash('nosuch', 'x', 'k')", {"invalid digest type"}},
        {"crypto.cipher.docrypt('nosuch-cipher', 'x', 'k', true)", {"(nosuch-cipher)"}},
        {"crypto.cipher.docrypt('aes-128-cbc', string.rep('x', 4097), " + block16 + "true)",
         {"bad argument #2", "(data > 4096 bytes not yet supported)"}},
        // Ciphertext that is not whole blocks cannot be decrypted.
        {"crypto.cipher.docrypt('aes-128-cbc', string.rep('x', 20), " + block16 +
             "false, true, string.rep('i', 16))",
         {"crypto operation failed"}},
        {"crypto.base64.encode('')", {"encode failed"}},
        {"crypto.base64.decode('')", {"decode failed"}},
        {"crypto.base64.decode('!!!!')", {"decode failed"}},
        {"crypto.digest.hash()", {"bad argument #1"}}};
    for (const auto& [code, parts] : cases) {
        const std::string error = m_lua.run(code);
        for (const char* part : parts)
            EXPECT_NE(error.find(part), std::string::npos) << code << ": " << error;
    }
    // 4096 bytes are fine and give 4112 bytes (one block of padding).
    EXPECT_EQ(call("#crypto.cipher.docrypt('aes-128-cbc', string.rep('x', 4096), " + block16 +
                   "true, true, string.rep('i', 16))"),
              "4112");
}

TEST_F(CryptoModuleTest, Base64MatchesTheBase64ToolWithSixtyFourCharacterLines)
{
    std::string sixtyFour;
    for (int i = 0; i < 16; ++i) {
        sixtyFour += "YWFh";
    }
    EXPECT_EQ(call("crypto.base64.encode(string.rep('a', 48))"), sixtyFour + "\n");
    EXPECT_EQ(call("crypto.base64.encode(string.rep('a', 49))"), sixtyFour + "\nYQ==\n");
    std::mt19937 random(13);
    for (size_t length = 1; length <= 200; length += 7) {
        const std::string data = randomBytes(random, length);
        setGlobal("data", data);
        const auto tool = runProcess("/usr/bin/base64", {"-w", "64"}, data);
        ASSERT_EQ(tool.exitStatus, 0);
        EXPECT_EQ(call("crypto.base64.encode(data)"), tool.out) << length;
        setGlobal("text", tool.out);
        EXPECT_EQ(call("crypto.base64.decode(text)"), data) << length;
    }
}

TEST_F(CryptoModuleTest, ModulesAreRegisteredAndPreloadable)
{
    EXPECT_EQ(m_lua.eval("type(crypto) .. type(crypto.cipher.docrypt) .. type(json.decode)"),
              "tablefunctionfunction");
    LuaTestState fresh;
    Kapi::Lua::preloadModules(fresh);
    EXPECT_EQ(lua_gettop(fresh), 0);
    EXPECT_EQ(fresh.eval("crypto"), "nil");
    EXPECT_EQ(fresh.eval("require('crypto').digest.hash('md5', '')"),
              "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(fresh.eval("require('json').encode({1})"), "[1]");
    EXPECT_EQ(fresh.eval("require('crypto.base64').encode('hi')"), "aGk=\n");
    EXPECT_EQ(fresh.eval("require('crypto.base64') == crypto.base64"), "true");
}

} // namespace
