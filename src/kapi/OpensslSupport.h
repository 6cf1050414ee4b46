#ifndef KAPI_OPENSSLSUPPORT_H
#define KAPI_OPENSSLSUPPORT_H
// Shared set-up of the OpenSSL-backed engines. OpenSSL 3 keeps the DES family in its "legacy"
// provider; loading any provider explicitly stops the "default" one from loading implicitly,
// so both are loaded together, once per process, whichever thread asks first. Nothing is
// unloaded: engines may run until the process exits.
namespace Kapi {
namespace CryptoSsl {

// Loads the default and legacy providers on the first call; later calls only return. True
// when both are available.
bool ensureProviders();

// Empties this thread's OpenSSL error queue so that the next operation starts clean.
void clearErrors();

} // namespace CryptoSsl
} // namespace Kapi

#endif
