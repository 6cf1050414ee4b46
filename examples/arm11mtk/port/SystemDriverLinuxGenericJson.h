#ifndef ARM11MTK_PORT_SYSTEMDRIVERLINUXGENERICJSON_H
#define ARM11MTK_PORT_SYSTEMDRIVERLINUXGENERICJSON_H
// The generic Linux system driver whose settings are the process's JSON store. The driver
// creates the store from its settings path and destroys it with itself; when another store
// already exists (only one may), the driver has none and GetSettings() answers FAILURE.
//
// Threads: as SystemDriverLinuxGeneric; the store serialises its own operations.
#include "SettingsJson.h"
#include "SystemDriverLinuxGeneric.h"

#include <string>

namespace KELO {

class SystemDriverLinuxGenericJson : public SystemDriverLinuxGeneric
{
public:
    SystemDriverLinuxGenericJson(
        const std::string& settingsPath, const std::string& mfgId, const std::string& modelId,
        const std::string& softwareVersion = "SystemDriverLinuxGeneric 1.0");
    ~SystemDriverLinuxGenericJson() override;

    int32 GetSettings(Settings** settings) override;

private:
    SettingsJson* m_settings; // the process's store, created (and destroyed) by this driver
};

} // namespace KELO

#endif
