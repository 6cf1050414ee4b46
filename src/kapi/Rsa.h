#ifndef KAPI_RSA_H
#define KAPI_RSA_H
// Kapi::Rsa: one RSA key and the operations on it. Integers are big-endian byte strings. A
// successful load replaces the held key; a failed one keeps it. Signatures, and the blocks of
// publicEncrypt/privateDecrypt, are exactly keyLen() bytes long. Digests are the 20 bytes of a
// SHA-1. Operations that need the private half fail (false) on a public key. Failures never
// leave errors queued inside OpenSSL. An engine is used by one thread at a time.
//
//   sign/verify            PKCS #1 v1.5 over the SHA-1 DigestInfo of the digest
//   signPkcs1Pss/verify... RSASSA-PSS with SHA-1, MGF1-SHA-1 and a 20-byte salt
//   publicEncrypt/...      raw RSA (no padding): the input block must be below the modulus
//
// NewSoftwareEngine() computes in OpenSSL. NewHardwareEngine() uses the registered crypto
// driver (KELO::CryptoDriver::CreateRsa) and falls back to the software engine, with a log
// line, when there is no driver or the driver makes no RSA object.
#include <memory>

namespace Kapi {

class Rsa
{
public:
    Rsa() = default;
    Rsa(const Rsa&) = delete;
    Rsa& operator=(const Rsa&) = delete;

    // Slot order is fixed.
    virtual ~Rsa() = default;
    virtual bool loadKey(const unsigned char* n, unsigned int nLen, const unsigned char* e,
                         unsigned int eLen, const unsigned char* d, unsigned int dLen,
                         const unsigned char* p, unsigned int pLen, const unsigned char* q,
                         unsigned int qLen, const unsigned char* dmp1, unsigned int dmp1Len,
                         const unsigned char* dmq1, unsigned int dmq1Len, const unsigned char* iqmp,
                         unsigned int iqmpLen) = 0;
    virtual bool loadKey(const char* pem) = 0; // a PEM RSA private key (PKCS #1 or PKCS #8)
    virtual bool loadPublicKey(const unsigned char* n, unsigned int nLen, const unsigned char* e,
                               unsigned int eLen) = 0;
    virtual bool loadPublicKey(const char* pem) = 0; // a PEM "PUBLIC KEY" (SubjectPublicKeyInfo)
    virtual unsigned int keyLen() = 0;               // modulus bytes; 0 without a key
    virtual bool verify(const unsigned char* sha1Digest, const unsigned char* signature) = 0;
    virtual bool sign(const unsigned char* sha1Digest, unsigned char* signature) = 0;
    virtual bool verifyPkcs1Pss(const unsigned char* sha1Digest,
                                const unsigned char* signature) = 0;
    virtual bool signPkcs1Pss(const unsigned char* sha1Digest, unsigned char* signature) = 0;
    virtual bool publicEncrypt(const unsigned char* in, unsigned char* out) = 0;
    virtual bool privateDecrypt(const unsigned char* in, unsigned char* out) = 0;

    static std::unique_ptr<Rsa> NewSoftwareEngine();
    static std::unique_ptr<Rsa> NewHardwareEngine();
};

} // namespace Kapi

#endif
