// The software crypto driver. Its cipher object keeps the selection and the key and IV
// lengths beside a software engine so that it can refuse, with a status, every call the
// engine would treat as fatal misuse.
#include "kapi/OpensslCryptoDriver.h"

#include "kapi/OpensslSymCipher.h"
#include "kapi/Rsa.h"
#include "kapi/Sha1.h"

namespace Kapi {

namespace {

class OpensslDriverSymCipher : public KELO::SymCipher
{
public:
    int32 selectAlgorithm(Algorithm algorithm, Direction direction) override
    {
        if (algorithm <= ALG_INVALID || algorithm >= ALG_MAX || direction <= DIR_INVALID ||
            direction >= DIR_MAX)
            return KELO::INVALID_ARGUMENTS;
        mAlgorithm = algorithm;
        mEngine.selectAlgorithm(static_cast<Kapi::SymCipher::Algorithm>(algorithm),
                                static_cast<Kapi::SymCipher::Direction>(direction));
        mPassThrough = direction == PASSTHRU;
        return KELO::SUCCESS;
    }

    int32 loadClearKey(unsigned keyLength, const uint8* key, unsigned ivLength,
                       const uint8* iv) override
    {
        if (!mEngine.loadClearKey(keyLength, key, ivLength, iv))
            return KELO::INVALID_ARGUMENTS;
        mKeyLength = keyLength;
        mIvLength = ivLength;
        return KELO::SUCCESS;
    }

    int32 loadWrappedKey(WrapMode, unsigned, const uint8*, const uint8*, const uint8*, unsigned,
                         const uint8*) override
    {
        return KELO::NOT_SUPPORTED;
    }

    int32 loadWrappedKeyClearIv(WrapMode, unsigned, const uint8*, const uint8*, unsigned,
                                const uint8*) override
    {
        return KELO::NOT_SUPPORTED;
    }

    int32 run(unsigned length, const uint8* in, uint8* out) override
    {
        if (mAlgorithm == ALG_INVALID)
            return KELO::FAILURE;
        if (in == nullptr || out == nullptr || in == out)
            return KELO::INVALID_ARGUMENTS;
        if (mAlgorithm != ALG_NONE && !mPassThrough && length > 0 && !keyFits_i())
            return KELO::INVALID_ARGUMENTS;
        if (length % blockSize_i() != 0)
            return KELO::INVALID_ARGUMENTS;
        mEngine.run(length, in, out);
        return KELO::SUCCESS;
    }

private:
    bool des_i() const { return mAlgorithm == ALG_3DES_ABA_ECB || mAlgorithm == ALG_3DES_ABA_CBC; }
    unsigned blockSize_i() const { return mAlgorithm == ALG_NONE ? 1 : des_i() ? 8 : 16; }
    bool keyFits_i() const
    {
        const bool cbc = mAlgorithm == ALG_3DES_ABA_CBC || mAlgorithm == ALG_AES_128_CBC;
        if (cbc && mIvLength < blockSize_i())
            return false;
        if (des_i())
            return mKeyLength == 16;
        return mKeyLength == 16 || mKeyLength == 24 || mKeyLength == 32;
    }

    Kapi::OpensslSymCipher mEngine;
    Algorithm mAlgorithm = ALG_INVALID;
    bool mPassThrough = false;
    unsigned mKeyLength = 0;
    unsigned mIvLength = 0;
};

class OpensslCryptoDriver : public KELO::CryptoDriver
{
public:
    KELO::Rsa* CreateRsa() override { return Kapi::Rsa::NewSoftwareEngine().release(); }
    int32 DestroyRsa(KELO::Rsa* rsa) override { return destroy(rsa); }
    KELO::Sha1* CreateSha1() override { return Kapi::Sha1::NewSoftwareEngine().release(); }
    int32 DestroySha1(KELO::Sha1* sha1) override { return destroy(sha1); }
    KELO::SymCipher* CreateSymCipher() override { return new OpensslDriverSymCipher(); }
    int32 DestroySymCipher(KELO::SymCipher* cipher) override { return destroy(cipher); }

private:
    template <typename T> static int32 destroy(T* object)
    {
        if (object == nullptr)
            return KELO::INVALID_ARGUMENTS;
        delete object;
        return KELO::SUCCESS;
    }
};

} // namespace

} // namespace Kapi

KELO::CryptoDriver* CreateOpensslCryptoDriver()
{
    return new Kapi::OpensslCryptoDriver();
}

void DestroyOpensslCryptoDriver(KELO::CryptoDriver* driver)
{
    delete driver;
}
