// The generic system driver over the JSON settings store.
#include "SystemDriverLinuxGenericJson.h"

namespace KELO {

SystemDriverLinuxGenericJson::SystemDriverLinuxGenericJson(const std::string& settingsPath,
                                                           const std::string& mfgId,
                                                           const std::string& modelId,
                                                           const std::string& softwareVersion)
    : SystemDriverLinuxGeneric(mfgId, modelId, softwareVersion),
      m_settings(SettingsJson::Create(settingsPath))
{
}

SystemDriverLinuxGenericJson::~SystemDriverLinuxGenericJson()
{
    if (m_settings != nullptr)
        SettingsJson::Destroy();
}

int32 SystemDriverLinuxGenericJson::GetSettings(Settings** settings)
{
    if (settings == nullptr)
        return INVALID_ARGUMENTS;
    *settings = m_settings;
    return m_settings != nullptr ? SUCCESS : FAILURE;
}

} // namespace KELO
