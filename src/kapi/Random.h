#ifndef KAPI_RANDOM_H
#define KAPI_RANDOM_H
// Kapi::Random: cryptographically strong random bytes from OpenSSL's generator. There is one
// process-wide instance, made on first use and never deleted; GetHardwareEngine() gives the
// same instance on this device. bytes() is safe from any thread; if the generator fails the
// process ends (Kapi::PanicAssertFail), since no caller could carry on safely.
namespace Kapi {

class Random
{
public:
    Random() = default;
    Random(const Random&) = delete;
    Random& operator=(const Random&) = delete;

    // Slot order is fixed: destructor, bytes.
    virtual ~Random() = default;
    virtual void bytes(void* out, unsigned int length) = 0;

    static Random* GetSoftwareEngine();
    static Random* GetHardwareEngine();
};

} // namespace Kapi

#endif
