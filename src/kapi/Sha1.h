#ifndef KAPI_SHA1_H
#define KAPI_SHA1_H
// Kapi::Sha1: an incremental SHA-1 digest. update() feeds bytes, hashCode() writes the 20-byte
// digest of everything fed since the last reset() (or creation) without ending the run, so
// more updates may follow. An engine is used by one thread at a time.
//
// NewSoftwareEngine() computes in OpenSSL. NewHardwareEngine() uses the registered crypto
// driver (KELO::CryptoDriver::CreateSha1) and falls back to the software engine, with a log
// line, when there is no driver or the driver makes no digest object.
#include <memory>

namespace Kapi {

class Sha1
{
public:
    static constexpr unsigned int kDigestLength = 20;

    Sha1() = default;
    Sha1(const Sha1&) = delete;
    Sha1& operator=(const Sha1&) = delete;

    // Slot order is fixed: destructor, update, hashCode, reset.
    virtual ~Sha1() = default;
    virtual void update(const unsigned char* data, unsigned int length) = 0;
    virtual void hashCode(unsigned char* out) = 0; // out holds kDigestLength bytes
    virtual void reset() = 0;

    static std::unique_ptr<Sha1> NewSoftwareEngine();
    static std::unique_ptr<Sha1> NewHardwareEngine();
};

} // namespace Kapi

#endif
