// Engine selection for SHA-1 and RSA. A hardware engine is a porting engine over an object of
// the registered crypto driver; when there is no driver, or the driver makes no object, the
// caller gets a working software engine instead and the fallback is logged (SHA-1 at debug,
// RSA at info level).
#include "core/CryptoDriver.h"
#include "core/Services.h"
#include "kapi/OpensslRsa.h"
#include "kapi/PortingSha1.h"
#include "kapi/RsaPorting.h"
#include "kapi/SwSha1.h"
#include "kapi/vLog.h"

namespace Kapi {

namespace {

KELO::CryptoDriver* registeredDriver()
{
    KELO::CryptoDriver* driver = nullptr;
    if (KELO::Services::getInstance().getCryptoService().getDriver(&driver) != KELO::SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_ERROR,
                        "Failed to get handle to KELO crypto driver");
        return nullptr;
    }
    return driver;
}

} // namespace

std::unique_ptr<Sha1> Sha1::NewSoftwareEngine()
{
    return std::make_unique<SwSha1>();
}

std::unique_ptr<Sha1> Sha1::NewHardwareEngine()
{
    if (KELO::CryptoDriver* driver = registeredDriver()) {
        if (KELO::Sha1* sha1 = driver->CreateSha1())
            return std::make_unique<PortingSha1>(driver, sha1);
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_DEBUG,
                    "No SHA1 porting driver found, falling back to software engine");
    return NewSoftwareEngine();
}

std::unique_ptr<Rsa> Rsa::NewSoftwareEngine()
{
    return std::make_unique<CryptoSsl::OpensslRsa>();
}

std::unique_ptr<Rsa> Rsa::NewHardwareEngine()
{
    if (KELO::CryptoDriver* driver = registeredDriver()) {
        if (KELO::Rsa* rsa = driver->CreateRsa())
            return std::make_unique<RsaPorting>(driver, rsa);
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_INFO,
                    "No RSA porting driver found, falling back to software engine");
    return NewSoftwareEngine();
}

} // namespace Kapi
