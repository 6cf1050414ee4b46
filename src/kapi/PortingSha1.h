#ifndef KAPI_PORTINGSHA1_H
#define KAPI_PORTINGSHA1_H
// PortingSha1: the hardware SHA-1 engine. It owns one digest object of the crypto driver,
// forwards every call to it and hands it back to the same driver when destroyed.
#include "core/CryptoDriver.h"
#include "kapi/Sha1.h"

namespace Kapi {

class PortingSha1 : public Sha1
{
public:
    // `sha1` came from driver->CreateSha1(); both non-null.
    PortingSha1(KELO::CryptoDriver* driver, KELO::Sha1* sha1);
    ~PortingSha1() override;
    void update(const unsigned char* data, unsigned int length) override;
    void hashCode(unsigned char* out) override;
    void reset() override;

private:
    KELO::CryptoDriver* mDriver;
    KELO::Sha1* mSha1;
};

} // namespace Kapi

#endif
