// The crypto start-up node: a process-wide object whose constructor fills its dependency array
// from an accessor that only returns an address.
#include "kapi/KapiCryptoInit.h"

#include "kapi/OpenSslInit.h"
#include "kapi/OpensslSupport.h"
#include "kapi/Random.h"

namespace Kapi {

namespace {

Init::InitNode* s_deps[1];
KapiCryptoInit s_node;

} // namespace

Init::InitNode* Crypto::getInitNode()
{
    return &s_node;
}

KapiCryptoInit::KapiCryptoInit() : InitNode("KapiCryptoInit", 1, s_deps)
{
    s_deps[0] = vUtil::OpenSslInit::getOpenSslInitNode();
}

bool KapiCryptoInit::start(const Kapi::vConfig&)
{
    CryptoSsl::ensureProviders();
    Random::GetSoftwareEngine();
    return true;
}

bool KapiCryptoInit::stop()
{
    return true;
}

} // namespace Kapi
