// SslParams: PEM loading, context set-up and the two OpenSSL policy hooks (legacy protocol
// versions, tolerated certificate expiry).
//
// OpenSSL 3 refuses TLS 1.0/1.1 and their SHA-1 / MD5-SHA-1 handshake signatures at security
// level 1. Rather than dropping the whole policy to level 0 (which would also admit short keys
// and weak ciphers), the security callback of a context is wrapped: whatever the library's own
// callback allows stays allowed, and on top of it exactly those two things are admitted.
#include "kapi/net/SslParams.h"

#include "kapi/FileUtil.h"
#include "kapi/vLog.h"

#include <atomic>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>

namespace Kapi {
namespace Net {

namespace {

typedef int (*SecurityCallback)(const SSL*, const SSL_CTX*, int, int, int, void*, void*);

// The library's own callback, taken from the first context wrapped (it is the same for all).
std::atomic<SecurityCallback> s_librarySecurity{nullptr};

int legacySecurity(const SSL* s, const SSL_CTX* ctx, int op, int bits, int nid, void* other,
                   void* ex)
{
    const SecurityCallback library = s_librarySecurity.load();
    if (library == nullptr || library(s, ctx, op, bits, nid, other, ex) != 0) {
        return 1;
    }
    if (op == SSL_SECOP_VERSION) {
        return nid == TLS1_VERSION || nid == TLS1_1_VERSION;
    }
    if ((op & SSL_SECOP_OTHER_TYPE) == SSL_SECOP_OTHER_SIGALG) {
        return nid == NID_sha1 || nid == NID_md5_sha1;
    }
    return 0;
}

void logError(int level, const char* text)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, level))
        vLogMessage(VLOGSRC_KAPI_NET, level, "%s", text);
}

BIO* memoryBio(const std::string& text)
{
    return BIO_new_mem_buf(text.data(), static_cast<int>(text.size()));
}

} // namespace

SslParams::~SslParams()
{
    clearCertAndKey();
    clearTrustedCerts();
}

void SslParams::allowLegacyProtocols(SSL_CTX* ctx)
{
    const SecurityCallback current = SSL_CTX_get_security_callback(ctx);
    if (current == legacySecurity) {
        return;
    }
    SecurityCallback expected = nullptr;
    s_librarySecurity.compare_exchange_strong(expected, current);
    SSL_CTX_set_security_callback(ctx, legacySecurity);
}

int SslParams::tolerantVerifyCallback(int ok, X509_STORE_CTX* store)
{
    if (ok != 0) {
        return ok;
    }
    const int error = X509_STORE_CTX_get_error(store);
    if (error == X509_V_ERR_CERT_NOT_YET_VALID || error == X509_V_ERR_CERT_HAS_EXPIRED) {
        X509_STORE_CTX_set_error(store, X509_V_OK);
        return 1;
    }
    return 0;
}

X509* SslParams::loadCertFromMemory(const std::string& pem)
{
    BIO* bio = memoryBio(pem);
    if (bio == nullptr) {
        logError(VLOG_ERROR, "SslParams::loadCertFromMemory: Cannot create memory BIO for "
                             "certificate");
        return nullptr;
    }
    X509* cert = PEM_read_bio_X509(bio, nullptr, nullptr, nullptr);
    BIO_free(bio);
    if (cert == nullptr) {
        ERR_clear_error();
        logError(VLOG_ERROR, "SslParams::loadCertFromMemory: Cannot parse certificate");
    }
    return cert;
}

bool SslParams::loadCertAndKeyFromMemory(const std::string& certPem, const std::string& keyPem)
{
    X509* cert = loadCertFromMemory(certPem);
    if (cert == nullptr) {
        return false;
    }
    BIO* bio = memoryBio(keyPem);
    if (bio == nullptr) {
        logError(VLOG_ERROR, "SslParams::loadCertAndKeyFromMemory: Cannot create memory BIO for "
                             "key");
        X509_free(cert);
        return false;
    }
    EVP_PKEY* key = PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr);
    BIO_free(bio);
    if (key == nullptr) {
        ERR_clear_error();
        logError(VLOG_ERROR, "SslParams::loadCertAndKeyFromMemory: Cannot parse key");
        X509_free(cert);
        return false;
    }
    clearCertAndKey();
    mCert = cert;
    mKey = key;
    return true;
}

bool SslParams::loadCertAndKeyFromFiles(const std::string& certFile, const std::string& keyFile)
{
    std::string certPem;
    std::string keyPem;
    for (const std::string* file : {&certFile, &keyFile}) {
        if (!FileUtil::toString(*file, file == &certFile ? certPem : keyPem)) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                            "SslParams::loadCertAndKeyFromFiles: Cannot load cert %s",
                            file->c_str());
            return false;
        }
    }
    return loadCertAndKeyFromMemory(certPem, keyPem);
}

void SslParams::clearCertAndKey()
{
    X509_free(mCert);
    mCert = nullptr;
    EVP_PKEY_free(mKey);
    mKey = nullptr;
}

int SslParams::addTrustedCertsFromMemory(const std::string& pem)
{
    BIO* bio = memoryBio(pem);
    if (bio == nullptr) {
        logError(VLOG_ERROR, "SslParams::addTrustedCertsFromMemory: Cannot create memory BIO for "
                             "certificate");
        return 0;
    }
    int added = 0;
    while (X509* cert = PEM_read_bio_X509(bio, nullptr, nullptr, nullptr)) {
        mTrusted.push_back(cert);
        ++added;
    }
    ERR_clear_error(); // the read past the last certificate always "fails"
    BIO_free(bio);
    if (added == 0) {
        logError(VLOG_ERROR, "SslParams::addTrustedCertsFromMemory: Cannot parse certificate");
    }
    return added;
}

int SslParams::addTrustedCertsFromFile(const std::string& file)
{
    std::string pem;
    if (!FileUtil::toString(file, pem)) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR,
                        "SslParams::addTrustedCertsFromFile: Cannot load file %s", file.c_str());
        return 0;
    }
    return addTrustedCertsFromMemory(pem);
}

void SslParams::clearTrustedCerts()
{
    for (X509* cert : mTrusted) {
        X509_free(cert);
    }
    mTrusted.clear();
}

bool SslParams::apply(SSL_CTX* ctx) const
{
    if (mCert != nullptr && SSL_CTX_use_certificate(ctx, mCert) != 1) {
        logError(VLOG_WARNING, "SslParams::applyParams: SSL_CTX_use_certificate failed");
        return false;
    }
    if (mKey != nullptr && SSL_CTX_use_PrivateKey(ctx, mKey) != 1) {
        logError(VLOG_WARNING, "SslParams::applyParams: SSL_CTX_use_PrivateKey failed");
        return false;
    }
    if (mTrusted.empty()) {
        return true;
    }
    X509_STORE* store = X509_STORE_new();
    if (store == nullptr) {
        logError(VLOG_WARNING, "SslParams::apply: X509_STORE_new failed");
        return false;
    }
    for (X509* cert : mTrusted) {
        if (X509_STORE_add_cert(store, cert) != 1) {
            logError(VLOG_WARNING, "SslParams::apply: X509_STORE_add_cert failed");
            X509_STORE_free(store);
            return false;
        }
    }
    SSL_CTX_set_cert_store(ctx, store);
    SSL_CTX_set_verify(ctx, SSL_VERIFY_PEER, mStrict ? nullptr : tolerantVerifyCallback);
    SSL_CTX_set_verify_depth(ctx, mVerifyDepth);
    return true;
}

SSL_CTX* SslParams::makeClientContext()
{
    const SSL_METHOD* method = TLS_client_method();
    if (method == nullptr) {
        logError(VLOG_ERROR, "Ssl::getClientContext: cannot get client TLSv1 method");
        return nullptr;
    }
    SSL_CTX* ctx = SSL_CTX_new(method);
    if (ctx == nullptr) {
        logError(VLOG_ERROR, "Ssl::getClientContext: cannot create client context");
        return nullptr;
    }
    SSL_CTX_set_min_proto_version(ctx, TLS1_VERSION);
    allowLegacyProtocols(ctx);
    return ctx;
}

SSL_CTX* SslParams::makeServerContext(const std::string& certFile, const std::string& keyFile,
                                      const std::string& clientCaFile, int verifyDepth,
                                      const std::string& extraCaFile)
{
    const SSL_METHOD* method = TLS_server_method();
    if (method == nullptr) {
        logError(VLOG_ERROR, "SslParams::makeServerContext: cannot get server method");
        return nullptr;
    }
    SSL_CTX* ctx = SSL_CTX_new(method);
    if (ctx == nullptr) {
        logError(VLOG_ERROR, "SslParams::makeServerContext: cannot create server context");
        return nullptr;
    }
    SSL_CTX_set_min_proto_version(ctx, TLS1_VERSION);
    allowLegacyProtocols(ctx);
    auto fail = [ctx](const char* format, const std::string& file) -> SSL_CTX* {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, format, file.c_str());
        ERR_clear_error();
        SSL_CTX_free(ctx);
        return nullptr;
    };
    if (SSL_CTX_use_certificate_file(ctx, certFile.c_str(), SSL_FILETYPE_PEM) != 1) {
        return fail("SslParams::makeServerContext: SSL_CTX_use_certificate_file(%s) failed",
                    certFile);
    }
    if (SSL_CTX_use_PrivateKey_file(ctx, keyFile.c_str(), SSL_FILETYPE_PEM) != 1) {
        return fail("SslParams::makeServerContext: SSL_CTX_use_PrivateKey_file(%s) failed",
                    keyFile);
    }
    if (!clientCaFile.empty()) {
        if (SSL_CTX_load_verify_locations(ctx, clientCaFile.c_str(), nullptr) != 1) {
            return fail("SslParams::makeServerContext: SSL_CTX_load_verify_locations(%s) failed",
                        clientCaFile);
        }
        SSL_CTX_set_verify(ctx, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
        SSL_CTX_set_verify_depth(ctx, verifyDepth);
    }
    if (!extraCaFile.empty() &&
        SSL_CTX_load_verify_locations(ctx, extraCaFile.c_str(), nullptr) != 1) {
        return fail("SslParams::makeServerContext: SSL_CTX_load_verify_locations(%s) failed",
                    extraCaFile);
    }
    return ctx;
}

} // namespace Net
} // namespace Kapi
