#ifndef KAPI_NET_SSLPARAMS_H
#define KAPI_NET_SSLPARAMS_H
// TLS material for a client or server context: an optional client certificate and private
// key, a list of trusted root certificates, a verify depth (default 2) and the strict flag
// (default true; false tolerates an expired or not-yet-valid peer chain, for devices with a
// wrong clock). Every held X509/EVP_PKEY is owned and freed by this object; users set
// mVerifyDepth and mStrict directly.
//
// Contexts made here negotiate the highest protocol version both ends speak, down to
// TLS 1.0; allowLegacyProtocols() is the one place that decides how far the OpenSSL security
// policy is relaxed for that.
//
// Threads: an object is filled by one thread; apply() only reads it, so one SslParams may be
// applied by several transfers at once once it is filled.
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <string>
#include <vector>

namespace Kapi {
namespace Net {

class SslParams
{
public:
    SslParams() = default;
    ~SslParams();
    SslParams(const SslParams&) = delete;
    SslParams& operator=(const SslParams&) = delete;

    // One PEM certificate, owned by the caller; null (logged) on failure.
    static X509* loadCertFromMemory(const std::string& pem);
    // Replaces the held certificate and key when both parse.
    bool loadCertAndKeyFromMemory(const std::string& certPem, const std::string& keyPem);
    bool loadCertAndKeyFromFiles(const std::string& certFile, const std::string& keyFile);
    void clearCertAndKey();
    // Appends every PEM certificate of the text; returns how many.
    int addTrustedCertsFromMemory(const std::string& pem);
    int addTrustedCertsFromFile(const std::string& file);
    void clearTrustedCerts();

    // Installs the held material into `ctx`. Without trusted certificates the context's
    // verification is left as it is.
    bool apply(SSL_CTX* ctx) const;

    // Client and server contexts speaking TLS 1.0 up to the newest version; null on failure.
    static SSL_CTX* makeClientContext();
    static SSL_CTX* makeServerContext(const std::string& certFile, const std::string& keyFile,
                                      const std::string& clientCaFile, int verifyDepth,
                                      const std::string& extraCaFile);

    // Lets `ctx` negotiate TLS 1.0 and 1.1 (which OpenSSL 3 refuses at its default policy).
    static void allowLegacyProtocols(SSL_CTX* ctx);
    // OpenSSL verify callback: accepts a chain whose only faults are not-yet-valid (9) or
    // expired (10) certificates, clearing the error; every other fault is refused.
    static int tolerantVerifyCallback(int ok, X509_STORE_CTX* store);

    X509* getCert() const { return mCert; }
    EVP_PKEY* getKey() const { return mKey; }
    const std::vector<X509*>& getTrustedCerts() const { return mTrusted; }

    int mVerifyDepth = 2;
    bool mStrict = true;

private:
    X509* mCert = nullptr;
    EVP_PKEY* mKey = nullptr;
    std::vector<X509*> mTrusted;
};

} // namespace Net
} // namespace Kapi

#endif
