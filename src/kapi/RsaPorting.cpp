// The hardware RSA engine: plain forwarding to the driver's RSA object.
#include "kapi/RsaPorting.h"

namespace Kapi {

RsaPorting::RsaPorting(KELO::CryptoDriver* driver, KELO::Rsa* rsa) : mDriver(driver), mRsa(rsa) {}

RsaPorting::~RsaPorting()
{
    mDriver->DestroyRsa(mRsa);
}

bool RsaPorting::loadKey(const unsigned char* n, unsigned int nLen, const unsigned char* e,
                         unsigned int eLen, const unsigned char* d, unsigned int dLen,
                         const unsigned char* p, unsigned int pLen, const unsigned char* q,
                         unsigned int qLen, const unsigned char* dmp1, unsigned int dmp1Len,
                         const unsigned char* dmq1, unsigned int dmq1Len, const unsigned char* iqmp,
                         unsigned int iqmpLen)
{
    return mRsa->loadKey(n, nLen, e, eLen, d, dLen, p, pLen, q, qLen, dmp1, dmp1Len, dmq1, dmq1Len,
                         iqmp, iqmpLen);
}

bool RsaPorting::loadKey(const char* pem)
{
    return mRsa->loadKey(pem);
}

bool RsaPorting::loadPublicKey(const unsigned char* n, unsigned int nLen, const unsigned char* e,
                               unsigned int eLen)
{
    return mRsa->loadPublicKey(n, nLen, e, eLen);
}

bool RsaPorting::loadPublicKey(const char* pem)
{
    return mRsa->loadPublicKey(pem);
}

unsigned int RsaPorting::keyLen()
{
    return mRsa->keyLen();
}

bool RsaPorting::verify(const unsigned char* sha1Digest, const unsigned char* signature)
{
    return mRsa->verify(sha1Digest, signature);
}

bool RsaPorting::sign(const unsigned char* sha1Digest, unsigned char* signature)
{
    return mRsa->sign(sha1Digest, signature);
}

bool RsaPorting::verifyPkcs1Pss(const unsigned char* sha1Digest, const unsigned char* signature)
{
    return mRsa->verifyPkcs1Pss(sha1Digest, signature);
}

bool RsaPorting::signPkcs1Pss(const unsigned char* sha1Digest, unsigned char* signature)
{
    return mRsa->signPkcs1Pss(sha1Digest, signature);
}

bool RsaPorting::publicEncrypt(const unsigned char* in, unsigned char* out)
{
    return mRsa->publicEncrypt(in, out);
}

bool RsaPorting::privateDecrypt(const unsigned char* in, unsigned char* out)
{
    return mRsa->privateDecrypt(in, out);
}

} // namespace Kapi
