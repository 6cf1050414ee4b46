#ifndef KAPI_RSAPORTING_H
#define KAPI_RSAPORTING_H
// RsaPorting: the hardware RSA engine. It owns one RSA object of the crypto driver, forwards
// every call to it and hands it back to the same driver when destroyed.
#include "core/CryptoDriver.h"
#include "kapi/Rsa.h"

namespace Kapi {

class RsaPorting : public Rsa
{
public:
    // `rsa` came from driver->CreateRsa(); both non-null.
    RsaPorting(KELO::CryptoDriver* driver, KELO::Rsa* rsa);
    ~RsaPorting() override;

    bool loadKey(const unsigned char* n, unsigned int nLen, const unsigned char* e,
                 unsigned int eLen, const unsigned char* d, unsigned int dLen,
                 const unsigned char* p, unsigned int pLen, const unsigned char* q,
                 unsigned int qLen, const unsigned char* dmp1, unsigned int dmp1Len,
                 const unsigned char* dmq1, unsigned int dmq1Len, const unsigned char* iqmp,
                 unsigned int iqmpLen) override;
    bool loadKey(const char* pem) override;
    bool loadPublicKey(const unsigned char* n, unsigned int nLen, const unsigned char* e,
                       unsigned int eLen) override;
    bool loadPublicKey(const char* pem) override;
    unsigned int keyLen() override;
    bool verify(const unsigned char* sha1Digest, const unsigned char* signature) override;
    bool sign(const unsigned char* sha1Digest, unsigned char* signature) override;
    bool verifyPkcs1Pss(const unsigned char* sha1Digest, const unsigned char* signature) override;
    bool signPkcs1Pss(const unsigned char* sha1Digest, unsigned char* signature) override;
    bool publicEncrypt(const unsigned char* in, unsigned char* out) override;
    bool privateDecrypt(const unsigned char* in, unsigned char* out) override;

private:
    KELO::CryptoDriver* mDriver;
    KELO::Rsa* mRsa;
};

} // namespace Kapi

#endif
