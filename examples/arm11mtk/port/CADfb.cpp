// CADfb: no protected-content path in this build.
#include "CADfb.h"

namespace KELO {

int32 CADfb::Setup(const KeySetup&)
{
    return NOT_SUPPORTED;
}

int32 CADfb::Load(const KeyPair&)
{
    return NOT_SUPPORTED;
}

} // namespace KELO
