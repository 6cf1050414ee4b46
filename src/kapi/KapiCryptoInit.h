#ifndef KAPI_KAPICRYPTOINIT_H
#define KAPI_KAPICRYPTOINIT_H
// The start-up node "KapiCryptoInit" (after OpenSslInitNode) that makes the crypto engines
// available, reached through Kapi::Crypto::getInitNode(). The engines' set-up is not built
// yet: for now the node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace Kapi {

class KapiCryptoInit : public Init::InitNode
{
public:
    KapiCryptoInit();
    bool start(const Kapi::vConfig& config) override;
    bool stop() override;
};

namespace Crypto {

Init::InitNode* getInitNode();

} // namespace Crypto
} // namespace Kapi

#endif
