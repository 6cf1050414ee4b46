// The random engine: one process-wide OpenSSL-backed instance, deliberately never deleted so
// that code running during process exit can still draw bytes. RAND_bytes is thread-safe.
#include "kapi/Random.h"

#include "kapi/PanicAssert.h"

#include <climits>
#include <openssl/rand.h>

namespace Kapi {

namespace {

class OpensslRandom : public Random
{
public:
    void bytes(void* out, unsigned int length) override
    {
        unsigned char* cursor = static_cast<unsigned char*>(out);
        while (length > 0) {
            const int chunk = length > INT_MAX ? INT_MAX : static_cast<int>(length);
            const int ret = RAND_bytes(cursor, chunk);
            if (!(ret == 1))
                PanicAssertFail("ret == 1 && \"RAND_bytes fails\"", "OpensslRandom", __LINE__);
            cursor += chunk;
            length -= static_cast<unsigned int>(chunk);
        }
    }
};

} // namespace

Random* Random::GetSoftwareEngine()
{
    static Random* const s_instance = new OpensslRandom();
    return s_instance;
}

Random* Random::GetHardwareEngine()
{
    return GetSoftwareEngine();
}

} // namespace Kapi
