#ifndef KAPI_RSAUTIL_H
#define KAPI_RSAUTIL_H
// vUtil::RsaUtil: the RSA key store. Key numbers name keys; each number may hold a private key
// (PEM "RSA PRIVATE KEY" or "PRIVATE KEY") and a public key (PEM "PUBLIC KEY"), kept as text and
// loaded into a caller's engine on demand. The process starts with an empty table: the device's
// trusted keys are registered by whoever owns them (the integration at start-up, a tool from a
// key file, a test), so no key material is built into the program.
//
// All functions are safe from any thread; the table is guarded by one lock that is never held
// while an engine loads a key.
#include "kapi/Rsa.h"

#include <string>

namespace vUtil {

class RsaUtil
{
public:
    RsaUtil() = delete;

    // Loads the private key `keyNumber` into `rsa`; false when there is none or it does not load
    // (the engine then keeps what it held).
    static bool loadKey(int keyNumber, Kapi::Rsa* rsa);
    // Loads the public key `keyNumber` into `rsa`; false when there is none or it does not load.
    static bool loadPublicKey(int keyNumber, Kapi::Rsa* rsa);

    // Replace the key of that number (an empty text removes it). The text is not checked here;
    // a bad key shows when it is loaded.
    static void setPrivateKey(int keyNumber, const std::string& pem);
    static void setPublicKey(int keyNumber, const std::string& pem);
    // Removes both halves of `keyNumber`.
    static void removeKey(int keyNumber);
};

} // namespace vUtil

#endif
