// The remuxer library's factories: a plain driver object per call.
#include "VrmxRemuxer.h"

namespace {
class SimRemuxerDriver : public KELO::RemuxerDriver
{
};
} // namespace

KELO::RemuxerDriver* VRMX_CreateRemuxerDriver()
{
    return new SimRemuxerDriver;
}

void VRMX_DestroyRemuxerDriver(KELO::RemuxerDriver* driver)
{
    delete driver;
}
