// Provider loading for the OpenSSL engines. The providers loaded here stay loaded (their
// handles are kept for the life of the process).
#include "kapi/OpensslSupport.h"

#include "kapi/vLog.h"

#include <mutex>
#include <openssl/err.h>
#include <openssl/provider.h>

namespace Kapi {
namespace CryptoSsl {

namespace {

// Kept so that the loaded providers stay reachable until the process ends.
OSSL_PROVIDER* s_defaultProvider = nullptr;
OSSL_PROVIDER* s_legacyProvider = nullptr;

bool loadProviders()
{
    OSSL_PROVIDER* defaultProvider = s_defaultProvider = OSSL_PROVIDER_load(nullptr, "default");
    OSSL_PROVIDER* legacyProvider = s_legacyProvider = OSSL_PROVIDER_load(nullptr, "legacy");
    if (defaultProvider == nullptr || legacyProvider == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_ERROR,
                        "OpenSSL providers missing: default %s, legacy %s",
                        defaultProvider != nullptr ? "loaded" : "absent",
                        legacyProvider != nullptr ? "loaded" : "absent");
        ERR_clear_error();
        return false;
    }
    return true;
}

} // namespace

bool ensureProviders()
{
    static std::once_flag s_once;
    static bool s_loaded = false;
    std::call_once(s_once, [] { s_loaded = loadProviders(); });
    return s_loaded;
}

void clearErrors()
{
    ERR_clear_error();
}

} // namespace CryptoSsl
} // namespace Kapi
