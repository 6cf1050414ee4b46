// The "crypto" script module: digests, HMAC and symmetric ciphers by OpenSSL name (so any
// algorithm the linked OpenSSL offers, with its standard padding), and base64 through the
// project's line-oriented base64 engine.
//
// Lua errors unwind with longjmp, which skips C++ destructors: every function below finishes
// its native work (and frees it) in a helper or a closed scope, and raises only afterwards.
#include "kapi/Base64.h"
#include "kapi/OpensslSupport.h"
#include "kapi/lua/LuaHeaders.h"
#include "kapi/lua/Modules.h"

#include <algorithm>
#include <cstring>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <string>
#include <vector>

namespace {

constexpr size_t kMaxCipherInput = 4096;

void pushBytes(lua_State* L, const unsigned char* bytes, size_t length, bool raw)
{
    if (raw) {
        lua_pushlstring(L, reinterpret_cast<const char*>(bytes), length);
        return;
    }
    static const char kDigits[] = "0123456789abcdef";
    luaL_Buffer text;
    luaL_buffinit(L, &text);
    for (size_t i = 0; i < length; ++i) {
        luaL_addchar(&text, kDigits[bytes[i] >> 4]);
        luaL_addchar(&text, kDigits[bytes[i] & 0x0f]);
    }
    luaL_pushresult(&text);
}

// The digest named by argument 1; raises the argument error for an unknown name.
const EVP_MD* checkDigest(lua_State* L)
{
    const EVP_MD* md = EVP_get_digestbyname(luaL_checkstring(L, 1));
    if (md == nullptr) {
        luaL_argerror(L, 1, "invalid digest type");
    }
    return md;
}

int digest_hash(lua_State* L)
{
    const EVP_MD* md = checkDigest(L);
    size_t length = 0;
    const char* data = luaL_checklstring(L, 2, &length);
    const bool raw = lua_toboolean(L, 3) != 0;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digestLength = 0;
    if (EVP_Digest(data, length, digest, &digestLength, md, nullptr) != 1) {
        return luaL_error(L, "crypto operation failed");
    }
    pushBytes(L, digest, digestLength, raw);
    return 1;
}

int hmac_hash(lua_State* L)
{
    const EVP_MD* md = checkDigest(L);
    size_t length = 0;
    const char* data = luaL_checklstring(L, 2, &length);
    size_t keyLength = 0;
    const char* key = luaL_checklstring(L, 3, &keyLength);
    const bool raw = lua_toboolean(L, 4) != 0;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digestLength = 0;
    if (HMAC(md, key, static_cast<int>(keyLength), reinterpret_cast<const unsigned char*>(data),
             length, digest, &digestLength) == nullptr) {
        return luaL_error(L, "crypto operation failed");
    }
    pushBytes(L, digest, digestLength, raw);
    return 1;
}

enum class CipherResult
{
    Ok,
    InitFailed,
    OperationFailed
};

// Keys and IVs shorter than the cipher wants are padded with zero bytes (OpenSSL would read
// past the caller's string); longer ones are cut to the cipher's length.
CipherResult runCipher(const EVP_CIPHER* cipher, const unsigned char* data, size_t length,
                       const char* key, size_t keyLength, const char* iv, size_t ivLength,
                       bool encrypt, unsigned char* out, int* outLength)
{
    unsigned char keyBytes[EVP_MAX_KEY_LENGTH] = {};
    unsigned char ivBytes[EVP_MAX_IV_LENGTH] = {};
    memcpy(keyBytes, key, std::min(keyLength, sizeof keyBytes));
    if (iv != nullptr) {
        memcpy(ivBytes, iv, std::min(ivLength, sizeof ivBytes));
    }
    EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
    if (context == nullptr) {
        return CipherResult::InitFailed;
    }
    CipherResult result = CipherResult::Ok;
    int updated = 0;
    int finished = 0;
    if (EVP_CipherInit_ex(context, cipher, nullptr, keyBytes, iv != nullptr ? ivBytes : nullptr,
                          encrypt ? 1 : 0) != 1) {
        result = CipherResult::InitFailed;
    } else if (EVP_CipherUpdate(context, out, &updated, data, static_cast<int>(length)) != 1 ||
               EVP_CipherFinal_ex(context, out + updated, &finished) != 1) {
        result = CipherResult::OperationFailed;
    }
    EVP_CIPHER_CTX_free(context);
    Kapi::CryptoSsl::clearErrors();
    *outLength = updated + finished;
    return result;
}

int cipher_docrypt(lua_State* L)
{
    const char* name = luaL_checkstring(L, 1);
    size_t length = 0;
    const char* data = luaL_checklstring(L, 2, &length);
    size_t keyLength = 0;
    const char* key = luaL_checklstring(L, 3, &keyLength);
    const bool encrypt = lua_toboolean(L, 4) != 0;
    const bool raw = lua_toboolean(L, 5) != 0;
    size_t ivLength = 0;
    const char* iv = luaL_optlstring(L, 6, nullptr, &ivLength);
    const EVP_CIPHER* cipher = EVP_get_cipherbyname(name);
    if (cipher == nullptr) {
        return luaL_argerror(L, 1, name);
    }
    if (length > kMaxCipherInput) {
        return luaL_argerror(L, 2, "data > 4096 bytes not yet supported");
    }
    unsigned char out[kMaxCipherInput + EVP_MAX_BLOCK_LENGTH];
    int outLength = 0;
    switch (runCipher(cipher, reinterpret_cast<const unsigned char*>(data), length, key, keyLength,
                      iv, ivLength, encrypt, out, &outLength)) {
    case CipherResult::InitFailed:
        return luaL_error(L, "crypto init failed");
    case CipherResult::OperationFailed:
        return luaL_error(L, "crypto operation failed");
    case CipherResult::Ok:
        break;
    }
    pushBytes(L, out, static_cast<size_t>(outLength), raw);
    return 1;
}

// Pushes the encoded text; false (nothing pushed) when nothing could be encoded.
bool pushBase64Encoded(lua_State* L, const char* data, size_t length)
{
    std::string text;
    if (length == 0 || length > UINT32_MAX ||
        !Kapi::Base64::NewSoftwareEngine(false)->encode(
            reinterpret_cast<const unsigned char*>(data), static_cast<unsigned>(length), text)) {
        return false;
    }
    lua_pushlstring(L, text.data(), text.size());
    return true;
}

bool pushBase64Decoded(lua_State* L, const char* text, size_t length)
{
    std::vector<unsigned char> bytes(length + 1);
    unsigned int decoded = 0;
    if (!Kapi::Base64::NewSoftwareEngine(false)->decode(std::string(text, length), bytes.data(),
                                                        &decoded) ||
        decoded == 0) {
        return false;
    }
    lua_pushlstring(L, reinterpret_cast<const char*>(bytes.data()), decoded);
    return true;
}

int base64_encode(lua_State* L)
{
    size_t length = 0;
    const char* data = luaL_checklstring(L, 1, &length);
    if (!pushBase64Encoded(L, data, length)) {
        return luaL_error(L, "encode failed");
    }
    return 1;
}

int base64_decode(lua_State* L)
{
    size_t length = 0;
    const char* text = luaL_checklstring(L, 1, &length);
    if (!pushBase64Decoded(L, text, length)) {
        return luaL_error(L, "decode failed");
    }
    return 1;
}

const luaL_Reg kCryptoFunctions[] = {{nullptr, nullptr}};
const luaL_Reg kCipherFunctions[] = {{"docrypt", cipher_docrypt}, {nullptr, nullptr}};
const luaL_Reg kDigestFunctions[] = {{"hash", digest_hash}, {nullptr, nullptr}};
const luaL_Reg kHmacFunctions[] = {{"hash", hmac_hash}, {nullptr, nullptr}};
const luaL_Reg kBase64Functions[] = {
    {"encode", base64_encode}, {"decode", base64_decode}, {nullptr, nullptr}};

} // namespace

extern "C" int luaopen_crypto(lua_State* L)
{
    // OpenSSL 3 finds digests and ciphers by name without the old "add all" calls, but the
    // legacy ciphers (DES, Blowfish ...) need their provider loaded.
    Kapi::CryptoSsl::ensureProviders();
    luaL_register(L, "crypto", kCryptoFunctions);
    luaL_register(L, "crypto.cipher", kCipherFunctions);
    luaL_register(L, "crypto.digest", kDigestFunctions);
    luaL_register(L, "crypto.hmac", kHmacFunctions);
    luaL_register(L, "crypto.base64", kBase64Functions);
    lua_pop(L, 4);
    return 1;
}
