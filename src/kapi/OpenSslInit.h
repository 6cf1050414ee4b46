#ifndef KAPI_OPENSSLINIT_H
#define KAPI_OPENSSLINIT_H
// The OpenSSL start-up nodes: "OpenSslInitNode" (no dependencies), the library-wide set-up, and
// "OpenSslSessionInitNode" (after OpenSslInitNode), the per-session set-up. OpenSSL 3 makes
// itself thread-safe, so no locking callbacks are ever installed (m_needLocking stays false);
// OpenSslInitNode initialises libcrypto and loads the default and legacy providers. The session
// node has nothing left to do on this OpenSSL and only logs. Both always succeed.
#include "kapi/InitNode.h"

namespace vUtil {

class OpenSslInitNode : public Kapi::Init::InitNode
{
public:
    OpenSslInitNode();
    bool start(const Kapi::vConfig& config) override;
    bool stop() override;

private:
    bool m_needLocking = false;
};

class OpenSslSessionInitNode : public Kapi::Init::InitNode
{
public:
    OpenSslSessionInitNode();
    bool start(const Kapi::vConfig& config) override;
    bool stop() override;
};

namespace OpenSslInit {

OpenSslInitNode* getOpenSslInitNode();
OpenSslSessionInitNode* getOpenSslSessionInitNode();

} // namespace OpenSslInit
} // namespace vUtil

#endif
