// The two OpenSSL start-up nodes: process-wide objects; the session node's dependency array is
// filled by its constructor from the accessor, which only returns an address, so the order of
// static initialisers does not matter.
#include "kapi/OpenSslInit.h"

#include "kapi/OpensslSupport.h"
#include "kapi/vLog.h"

#include <openssl/crypto.h>

namespace vUtil {

namespace {

// Explicit library initialisation is still done (strings, algorithm tables), as on older
// OpenSSL releases; only the locking callbacks are gone.
const int IS_OPEN_SSL_INIT_NEEDED = 1;

Kapi::Init::InitNode* s_sessionDeps[1];
OpenSslInitNode s_openSslNode;
OpenSslSessionInitNode s_openSslSessionNode;

} // namespace

OpenSslInitNode* OpenSslInit::getOpenSslInitNode()
{
    return &s_openSslNode;
}

OpenSslSessionInitNode* OpenSslInit::getOpenSslSessionInitNode()
{
    return &s_openSslSessionNode;
}

OpenSslInitNode::OpenSslInitNode() : InitNode("OpenSslInitNode") {}

bool OpenSslInitNode::start(const Kapi::vConfig&)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_INFO,
                    "OpenSslInitNode::start() IS_OPEN_SSL_INIT_NEEDED=%d", IS_OPEN_SSL_INIT_NEEDED);
    OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS | OPENSSL_INIT_ADD_ALL_CIPHERS |
                            OPENSSL_INIT_ADD_ALL_DIGESTS,
                        nullptr);
    Kapi::CryptoSsl::ensureProviders();
    m_needLocking = false; // OpenSSL 3 locks internally
    if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_DEBUG, "OpenSslInitNode: m_needLocking=%s",
                    m_needLocking ? "true" : "false");
    return true;
}

bool OpenSslInitNode::stop()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_INFO,
                    "OpenSslInitNode::stop() IS_OPEN_SSL_INIT_NEEDED=%d", IS_OPEN_SSL_INIT_NEEDED);
    return true;
}

OpenSslSessionInitNode::OpenSslSessionInitNode()
    : InitNode("OpenSslSessionInitNode", 1, s_sessionDeps)
{
    s_sessionDeps[0] = OpenSslInit::getOpenSslInitNode();
}

bool OpenSslSessionInitNode::start(const Kapi::vConfig&)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_INFO,
                    "OpenSslSessionInitNode::start() IS_OPEN_SSL_INIT_NEEDED=%d",
                    IS_OPEN_SSL_INIT_NEEDED);
    return true;
}

bool OpenSslSessionInitNode::stop()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_INFO,
                    "OpenSslSessionInitNode::stop() IS_OPEN_SSL_INIT_NEEDED=%d",
                    IS_OPEN_SSL_INIT_NEEDED);
    return true;
}

} // namespace vUtil
