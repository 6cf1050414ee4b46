// The software RSA engine over OpenSSL 3's EVP_PKEY interface. Every failing path empties the
// thread's OpenSSL error queue before returning false, so a later operation (or a TLS
// handshake on the same thread) does not see stale errors.
#include "kapi/OpensslRsa.h"

#include "kapi/OpensslSupport.h"
#include "kapi/PanicAssert.h"
#include "kapi/Sha1.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <cstring>
#include <memory>
#include <vector>

namespace Kapi {
namespace CryptoSsl {

namespace {

// RSASSA-PSS salt: as long as the SHA-1 digest.
const int kPssSaltLength = 20;

struct Deleter
{
    void operator()(EVP_PKEY_CTX* p) const { EVP_PKEY_CTX_free(p); }
    void operator()(BIO* p) const { BIO_free(p); }
    void operator()(BIGNUM* p) const { BN_free(p); }
    void operator()(OSSL_PARAM_BLD* p) const { OSSL_PARAM_BLD_free(p); }
    void operator()(OSSL_PARAM* p) const { OSSL_PARAM_free(p); }
};
template <typename T> using Owned = std::unique_ptr<T, Deleter>;

struct Component
{
    const char* name;
    const unsigned char* data;
    unsigned int length;
};

// An RSA key from its big-endian components, or null.
EVP_PKEY* keyFromComponents(const std::vector<Component>& components, int selection)
{
    Owned<OSSL_PARAM_BLD> builder(OSSL_PARAM_BLD_new());
    if (!builder)
        return nullptr;
    std::vector<Owned<BIGNUM>> numbers; // must outlive the parameter array's construction
    for (const Component& component : components) {
        if (component.data == nullptr || component.length == 0)
            return nullptr;
        numbers.emplace_back(
            BN_bin2bn(component.data, static_cast<int>(component.length), nullptr));
        if (!numbers.back() ||
            OSSL_PARAM_BLD_push_BN(builder.get(), component.name, numbers.back().get()) != 1)
            return nullptr;
    }
    Owned<OSSL_PARAM> params(OSSL_PARAM_BLD_to_param(builder.get()));
    Owned<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    if (!params || !context || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &key, selection, params.get()) != 1)
        return nullptr;
    return key;
}

// Encrypted PEM texts are refused instead of prompting on the terminal.
int noPassphrase(char*, int, int, void*)
{
    return 0;
}

EVP_PKEY* keyFromPem(const char* pem, bool privateKey)
{
    if (pem == nullptr)
        return nullptr;
    Owned<BIO> bio(BIO_new_mem_buf(pem, -1));
    if (!bio)
        return nullptr;
    EVP_PKEY* key = privateKey ? PEM_read_bio_PrivateKey(bio.get(), nullptr, noPassphrase, nullptr)
                               : PEM_read_bio_PUBKEY(bio.get(), nullptr, noPassphrase, nullptr);
    if (key != nullptr && EVP_PKEY_is_a(key, "RSA") != 1) {
        EVP_PKEY_free(key);
        return nullptr;
    }
    return key;
}

bool setPadding(EVP_PKEY_CTX* context, bool pss)
{
    if (EVP_PKEY_CTX_set_rsa_padding(context, pss ? RSA_PKCS1_PSS_PADDING : RSA_PKCS1_PADDING) !=
            1 ||
        EVP_PKEY_CTX_set_signature_md(context, EVP_sha1()) != 1)
        return false;
    return !pss || (EVP_PKEY_CTX_set_rsa_pss_saltlen(context, kPssSaltLength) == 1 &&
                    EVP_PKEY_CTX_set_rsa_mgf1_md(context, EVP_sha1()) == 1);
}

} // namespace

OpensslRsa::~OpensslRsa()
{
    EVP_PKEY_free(mKey);
}

void OpensslRsa::replaceKey_i(EVP_PKEY* key)
{
    if (key == nullptr)
        return;
    EVP_PKEY_free(mKey);
    mKey = key;
}

bool OpensslRsa::loadKey(const unsigned char* n, unsigned int nLen, const unsigned char* e,
                         unsigned int eLen, const unsigned char* d, unsigned int dLen,
                         const unsigned char* p, unsigned int pLen, const unsigned char* q,
                         unsigned int qLen, const unsigned char* dmp1, unsigned int dmp1Len,
                         const unsigned char* dmq1, unsigned int dmq1Len, const unsigned char* iqmp,
                         unsigned int iqmpLen)
{
    EVP_PKEY* key = keyFromComponents({{OSSL_PKEY_PARAM_RSA_N, n, nLen},
                                       {OSSL_PKEY_PARAM_RSA_E, e, eLen},
                                       {OSSL_PKEY_PARAM_RSA_D, d, dLen},
                                       {OSSL_PKEY_PARAM_RSA_FACTOR1, p, pLen},
                                       {OSSL_PKEY_PARAM_RSA_FACTOR2, q, qLen},
                                       {OSSL_PKEY_PARAM_RSA_EXPONENT1, dmp1, dmp1Len},
                                       {OSSL_PKEY_PARAM_RSA_EXPONENT2, dmq1, dmq1Len},
                                       {OSSL_PKEY_PARAM_RSA_COEFFICIENT1, iqmp, iqmpLen}},
                                      EVP_PKEY_KEYPAIR);
    clearErrors();
    replaceKey_i(key);
    return key != nullptr;
}

bool OpensslRsa::loadKey(const char* pem)
{
    EVP_PKEY* key = keyFromPem(pem, true);
    clearErrors();
    replaceKey_i(key);
    return key != nullptr;
}

bool OpensslRsa::loadPublicKey(const unsigned char* n, unsigned int nLen, const unsigned char* e,
                               unsigned int eLen)
{
    EVP_PKEY* key = keyFromComponents(
        {{OSSL_PKEY_PARAM_RSA_N, n, nLen}, {OSSL_PKEY_PARAM_RSA_E, e, eLen}}, EVP_PKEY_PUBLIC_KEY);
    clearErrors();
    replaceKey_i(key);
    return key != nullptr;
}

bool OpensslRsa::loadPublicKey(const char* pem)
{
    EVP_PKEY* key = keyFromPem(pem, false);
    clearErrors();
    replaceKey_i(key);
    return key != nullptr;
}

unsigned int OpensslRsa::keyLen()
{
    if (mKey == nullptr)
        return 0;
    const int size = EVP_PKEY_get_size(mKey);
    return size > 0 ? static_cast<unsigned int>(size) : 0;
}

bool OpensslRsa::sign_i(Padding padding, const unsigned char* digest, unsigned char* signature)
{
    KAPI_ASSERT(digest != nullptr && signature != nullptr);
    if (mKey == nullptr)
        return false;
    Owned<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new_from_pkey(nullptr, mKey, nullptr));
    const size_t expected = keyLen();
    // OpenSSL may write up to the key's size; it is told exactly that much room.
    size_t length = expected;
    const bool done =
        context && EVP_PKEY_sign_init(context.get()) == 1 &&
        setPadding(context.get(), padding == PSS) &&
        EVP_PKEY_sign(context.get(), signature, &length, digest, Sha1::kDigestLength) == 1 &&
        length == expected;
    if (!done)
        clearErrors();
    return done;
}

bool OpensslRsa::verify_i(Padding padding, const unsigned char* digest,
                          const unsigned char* signature)
{
    KAPI_ASSERT(digest != nullptr && signature != nullptr);
    if (mKey == nullptr)
        return false;
    Owned<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new_from_pkey(nullptr, mKey, nullptr));
    const bool done =
        context && EVP_PKEY_verify_init(context.get()) == 1 &&
        setPadding(context.get(), padding == PSS) &&
        EVP_PKEY_verify(context.get(), signature, keyLen(), digest, Sha1::kDigestLength) == 1;
    if (!done)
        clearErrors();
    return done;
}

bool OpensslRsa::raw_i(bool encrypt, const unsigned char* in, unsigned char* out)
{
    KAPI_ASSERT(in != nullptr && out != nullptr);
    if (mKey == nullptr)
        return false;
    Owned<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new_from_pkey(nullptr, mKey, nullptr));
    const size_t expected = keyLen();
    size_t length = expected;
    bool done = context &&
                (encrypt ? EVP_PKEY_encrypt_init(context.get())
                         : EVP_PKEY_decrypt_init(context.get())) == 1 &&
                EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_NO_PADDING) == 1;
    if (done)
        done = (encrypt ? EVP_PKEY_encrypt(context.get(), out, &length, in, expected)
                        : EVP_PKEY_decrypt(context.get(), out, &length, in, expected)) == 1 &&
               length == expected;
    if (!done)
        clearErrors();
    return done;
}

bool OpensslRsa::verify(const unsigned char* sha1Digest, const unsigned char* signature)
{
    return verify_i(PKCS1, sha1Digest, signature);
}

bool OpensslRsa::sign(const unsigned char* sha1Digest, unsigned char* signature)
{
    return sign_i(PKCS1, sha1Digest, signature);
}

bool OpensslRsa::verifyPkcs1Pss(const unsigned char* sha1Digest, const unsigned char* signature)
{
    return verify_i(PSS, sha1Digest, signature);
}

bool OpensslRsa::signPkcs1Pss(const unsigned char* sha1Digest, unsigned char* signature)
{
    return sign_i(PSS, sha1Digest, signature);
}

bool OpensslRsa::publicEncrypt(const unsigned char* in, unsigned char* out)
{
    return raw_i(true, in, out);
}

bool OpensslRsa::privateDecrypt(const unsigned char* in, unsigned char* out)
{
    return raw_i(false, in, out);
}

} // namespace CryptoSsl
} // namespace Kapi
