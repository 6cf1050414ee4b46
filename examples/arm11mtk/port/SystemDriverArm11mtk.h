#ifndef ARM11MTK_PORT_SYSTEMDRIVERARM11MTK_H
#define ARM11MTK_PORT_SYSTEMDRIVERARM11MTK_H
// The device's system driver: the generic JSON system driver with the device identity and the
// deactivation flag file. The driver owns its MtkDelegate and installs it as its deactivation
// delegate at construction; deactivateRequested()/deactivateAcknowledged() go to whichever
// delegate is installed (none: nothing requested, acknowledgement ignored).
//
// One instance per process, made by CreateArm11mtkSystemDriver() (PortDrivers.h) from the
// process-wide mfgId and modelId the entry set; the settings path it is given is a device
// path, prefixed by KELO_ROOT.
#include "MtkDelegate.h"
#include "SystemDriverLinuxGenericJson.h"

#include <memory>
#include <string>

class SystemDriverArm11mtk : public KELO::SystemDriverLinuxGenericJson
{
public:
    static constexpr const char* kSoftwareVersion = "SystemDriverArm11mtk BD 1.0";

    SystemDriverArm11mtk(const std::string& settingsPath, const std::string& mfgId,
                         const std::string& modelId);
    ~SystemDriverArm11mtk() override;

    bool deactivateRequested() const override;
    void deactivateAcknowledged() override;

private:
    std::unique_ptr<MtkDelegate> m_delegate;
};

#endif
