#ifndef KAPI_OPENSSLINIT_H
#define KAPI_OPENSSLINIT_H
// The OpenSSL start-up nodes: "OpenSslInitNode" (no dependencies), the library-wide set-up, and
// "OpenSslSessionInitNode" (after OpenSslInitNode), the per-session set-up. The OpenSSL set-up
// is not built yet: for now both nodes' start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace vUtil {

class OpenSslInitNode : public Kapi::Init::InitNode
{
public:
    OpenSslInitNode();
    bool start(const Kapi::vConfig& config) override;
    bool stop() override;
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
