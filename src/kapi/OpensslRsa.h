#ifndef KAPI_OPENSSLRSA_H
#define KAPI_OPENSSLRSA_H
// CryptoSsl::OpensslRsa: the software RSA engine. It holds at most one OpenSSL RSA key
// (private or public only), replaced by every successful load and kept by a failed one.
#include "kapi/Rsa.h"

struct evp_pkey_st;

namespace Kapi {
namespace CryptoSsl {

class OpensslRsa : public Rsa
{
public:
    OpensslRsa() = default;
    ~OpensslRsa() override;

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
    enum Padding
    {
        PKCS1,
        PSS
    };

    void replaceKey_i(evp_pkey_st* key); // takes ownership; null is ignored
    bool sign_i(Padding padding, const unsigned char* digest, unsigned char* signature);
    bool verify_i(Padding padding, const unsigned char* digest, const unsigned char* signature);
    bool raw_i(bool encrypt, const unsigned char* in, unsigned char* out);

    evp_pkey_st* mKey = nullptr; // owned; an RSA key or null
};

} // namespace CryptoSsl
} // namespace Kapi

#endif
