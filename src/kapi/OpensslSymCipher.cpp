// The software symmetric cipher over OpenSSL 3's EVP ciphers without padding. Two-key triple
// DES is OpenSSL's DES-EDE (K1 K2 K1) from the legacy provider, which must be loaded before the
// first DES run.
#include "kapi/OpensslSymCipher.h"

#include "kapi/OpensslSupport.h"
#include "kapi/PanicAssert.h"

#include <climits>
#include <cstring>
#include <openssl/evp.h>

namespace Kapi {

namespace {

const char* const kFile = "OpensslSymCipher";
const unsigned int kDesBlockSize = 8;
const unsigned int kAesBlockSize = 16;
const unsigned int kDesKeyLength = 16;

// OpenSSL's named cipher tables; each init fetches the implementation from the loaded
// providers, so the providers must be loaded first.
struct Ciphers
{
    const EVP_CIPHER* (*desEdeEcb)();
    const EVP_CIPHER* (*desEdeCbc)();
    const EVP_CIPHER* (*aesEcb[3])(); // 128, 192, 256 bits
    const EVP_CIPHER* (*aesCbc[3])();
};

const Ciphers& ciphers()
{
    static const Ciphers s_ciphers = [] {
        CryptoSsl::ensureProviders();
        return Ciphers{EVP_des_ede,
                       EVP_des_ede_cbc,
                       {EVP_aes_128_ecb, EVP_aes_192_ecb, EVP_aes_256_ecb},
                       {EVP_aes_128_cbc, EVP_aes_192_cbc, EVP_aes_256_cbc}};
    }();
    return s_ciphers;
}

} // namespace

bool OpensslSymCipher::selectAlgorithm(Algorithm algorithm, Direction direction)
{
    mAlgorithm = algorithm;
    mDirection = direction;
    return true;
}

bool OpensslSymCipher::loadClearKey(unsigned int keyLen, const unsigned char* keyData,
                                    unsigned int ivLen, const unsigned char* ivData)
{
    if ((keyLen > 0 && keyData == nullptr) || (ivLen > 0 && ivData == nullptr))
        return false;
    // assign() keeps the buffers' capacity, so a key no longer than the last reuses it.
    if (keyLen > 0)
        mKey.assign(keyData, keyData + keyLen);
    else
        mKey.clear();
    if (ivLen > 0)
        mIv.assign(ivData, ivData + ivLen);
    else
        mIv.clear();
    return true;
}

bool OpensslSymCipher::loadWrappedKey(WrapMode, unsigned int, const unsigned char*,
                                      const unsigned char*, const unsigned char*, unsigned int,
                                      const unsigned char*)
{
    return false; // unwrapping needs the device keys, which only the hardware holds
}

bool OpensslSymCipher::loadWrappedKeyClearIv(WrapMode, unsigned int, const unsigned char*,
                                             const unsigned char*, unsigned int,
                                             const unsigned char*)
{
    return false;
}

bool OpensslSymCipher::run(unsigned int length, const unsigned char* source,
                           unsigned char* destination)
{
    if (!(source && destination && source != destination))
        PanicAssertFail("source && destination && source != destination", kFile, __LINE__);
    bool des = false;
    switch (mAlgorithm) {
    case ALGORITHM_NONE:
        return true;
    case ALGORITHM_3DES_ABA_ECB:
    case ALGORITHM_3DES_ABA_CBC:
        if (!((length % kDesBlockSize) == 0))
            PanicAssertFail("(length % DES_BLOCK_SIZE) == 0", kFile, __LINE__);
        des = true;
        break;
    case ALGORITHM_AES_CBC:
    case ALGORITHM_AES_ECB:
        if (!((length % kAesBlockSize) == 0))
            PanicAssertFail("(length % AES_BLOCK_SIZE) == 0", kFile, __LINE__);
        break;
    default:
        PanicAssertFail("false && \"bad symcipher algorithm\"", kFile, __LINE__);
    }
    if (mDirection != DIRECTION_ENCRYPT && mDirection != DIRECTION_DECRYPT &&
        mDirection != DIRECTION_PASSTHRU)
        PanicAssertFail("false && \"bad cipher direction\"", kFile, __LINE__);
    if (length == 0)
        return true;
    if (mDirection == DIRECTION_PASSTHRU) {
        memmove(destination, source, length);
        return true;
    }
    transform_i(des, length, source, destination);
    return true;
}

void OpensslSymCipher::transform_i(bool des, unsigned int length, const unsigned char* source,
                                   unsigned char* destination)
{
    const bool cbc = mAlgorithm == ALGORITHM_3DES_ABA_CBC || mAlgorithm == ALGORITHM_AES_CBC;
    const Ciphers& all = ciphers();
    const EVP_CIPHER* cipher = nullptr;
    if (des) {
        if (mKey.size() == kDesKeyLength)
            cipher = cbc ? all.desEdeCbc() : all.desEdeEcb();
    } else if (mKey.size() == 16 || mKey.size() == 24 || mKey.size() == 32) {
        const size_t index = (mKey.size() - 16) / 8;
        cipher = cbc ? all.aesCbc[index]() : all.aesEcb[index]();
    }
    const unsigned int ivNeeded = !cbc ? 0 : des ? kDesBlockSize : kAesBlockSize;
    if (cipher == nullptr || mIv.size() < ivNeeded)
        PanicAssertFail("false && \"key or IV does not fit the algorithm\"", kFile, __LINE__);
    if (length > INT_MAX)
        PanicAssertFail("length <= INT_MAX", kFile, __LINE__);

    EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
    int written = 0;
    int finalWritten = 0;
    const bool done =
        context != nullptr &&
        EVP_CipherInit_ex2(context, cipher, mKey.data(), cbc ? mIv.data() : nullptr,
                           mDirection == DIRECTION_ENCRYPT ? 1 : 0, nullptr) == 1 &&
        EVP_CIPHER_CTX_set_padding(context, 0) == 1 &&
        EVP_CipherUpdate(context, destination, &written, source, static_cast<int>(length)) == 1 &&
        EVP_CipherFinal_ex(context, destination + written, &finalWritten) == 1;
    EVP_CIPHER_CTX_free(context);
    if (!done || static_cast<unsigned int>(written + finalWritten) != length)
        PanicAssertFail("false && \"cipher run failed\"", kFile, __LINE__);
}

} // namespace Kapi

namespace Kapi {

std::unique_ptr<SymCipher> SymCipher::NewSoftwareEngine()
{
    return std::make_unique<OpensslSymCipher>();
}

} // namespace Kapi
