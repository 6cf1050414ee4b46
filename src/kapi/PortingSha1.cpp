// The hardware SHA-1 engine: plain forwarding to the driver's digest object.
#include "kapi/PortingSha1.h"

namespace Kapi {

PortingSha1::PortingSha1(KELO::CryptoDriver* driver, KELO::Sha1* sha1)
    : mDriver(driver), mSha1(sha1)
{
}

PortingSha1::~PortingSha1()
{
    mDriver->DestroySha1(mSha1);
}

void PortingSha1::update(const unsigned char* data, unsigned int length)
{
    mSha1->update(data, length);
}

void PortingSha1::hashCode(unsigned char* out)
{
    mSha1->hashCode(out);
}

void PortingSha1::reset()
{
    mSha1->reset();
}

} // namespace Kapi
