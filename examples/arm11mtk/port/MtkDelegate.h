#ifndef ARM11MTK_PORT_MTKDELEGATE_H
#define ARM11MTK_PORT_MTKDELEGATE_H
// The device's deactivation delegate. The owner's request lives in the device file
// "/misc/KeloDeactivateState" (KELO_ROOT prefixes it): one decimal digit, "1" when the owner
// asked for deactivation, "0" once the client acknowledged it. A missing or empty file means no
// request. The delegate holds no state; every call reads or writes the file.
#include "core/SystemDriver.h"

class MtkDelegate : public KELO::SystemDriver::DeactivationDelegate
{
public:
    // True when the file's first byte is a non-zero digit; prints "active state = <d>".
    bool deactivateRequested() const override;
    // Writes "0\n" (creating the file) and syncs it to storage.
    void deactivateAcknowledged() override;
};

#endif
