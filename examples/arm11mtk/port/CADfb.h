#ifndef ARM11MTK_PORT_CADFB_H
#define ARM11MTK_PORT_CADFB_H
// The conditional-access driver object. The protected-content path (key set-up, key loading,
// in-place decryption of push buffers) is not built yet: every operation answers NOT_SUPPORTED
// so a caller learns it plainly instead of playing garbage.
#include "core/MediaPlayerDriver.h"

namespace KELO {

class CADfb : public CA
{
public:
    int32 Setup(const KeySetup& setup) override;
    int32 Load(const KeyPair& keys) override;
};

} // namespace KELO

#endif
