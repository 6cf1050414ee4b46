#ifndef KAPI_OPENSSLCRYPTODRIVER_H
#define KAPI_OPENSSLCRYPTODRIVER_H
// The software crypto driver: a KELO::CryptoDriver whose SHA-1, RSA and symmetric-cipher
// objects compute in OpenSSL, for devices without crypto hardware. The entry program makes
// one with CreateOpensslCryptoDriver(), registers it with the core, and after unregistering
// hands it back with DestroyOpensslCryptoDriver(). Objects it creates must be destroyed
// through it (Destroy... returns INVALID_ARGUMENTS for null). Its cipher checks its arguments
// and reports KELO::Status codes instead of ending the process; it cannot unwrap keys
// (NOT_SUPPORTED). The driver itself holds no state and may be used from any thread.
#include "core/CryptoDriver.h"

KELO::CryptoDriver* CreateOpensslCryptoDriver();
void DestroyOpensslCryptoDriver(KELO::CryptoDriver* driver);

#endif
