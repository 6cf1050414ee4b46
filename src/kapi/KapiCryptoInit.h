#ifndef KAPI_KAPICRYPTOINIT_H
#define KAPI_KAPICRYPTOINIT_H
// The start-up node "KapiCryptoInit" (after OpenSslInitNode) that makes the crypto engines
// available, reached through Kapi::Crypto::getInitNode(). Start makes sure OpenSSL's providers
// are loaded and creates the process-wide random engine, so the first use on another thread
// finds both ready; stop leaves them (engines may outlive the start-up graph). Both succeed.
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
