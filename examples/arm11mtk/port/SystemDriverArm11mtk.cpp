// The device's system driver and its factory pair.
#include "SystemDriverArm11mtk.h"

#include "../PortDrivers.h"
#include "DeviceState.h"

#include "kapi/SystemUtil.h"
#include "kapi/vLog.h"

#include <cstring>
#include <syslog.h>

namespace {

std::unique_ptr<SystemDriverArm11mtk> s_driver;

} // namespace

SystemDriverArm11mtk::SystemDriverArm11mtk(const std::string& settingsPath, const std::string& mfg,
                                           const std::string& model)
    : SystemDriverLinuxGenericJson(settingsPath, mfg, model, kSoftwareVersion),
      m_delegate(std::make_unique<MtkDelegate>())
{
    setDeactivationDelegate(m_delegate.get());
}

SystemDriverArm11mtk::~SystemDriverArm11mtk()
{
    setDeactivationDelegate(nullptr);
}

bool SystemDriverArm11mtk::deactivateRequested() const
{
    return mDeactivationDelegate != nullptr && mDeactivationDelegate->deactivateRequested();
}

void SystemDriverArm11mtk::deactivateAcknowledged()
{
    if (mDeactivationDelegate != nullptr)
        mDeactivationDelegate->deactivateAcknowledged();
}

KELO::SystemDriver* CreateArm11mtkSystemDriver(const char* dbPath)
{
    const char* path = dbPath != nullptr ? dbPath : "";
    _kkSysLog(LOG_INFO, "info", "SystemDriverArm11mtk", "%s: dbPath=%s",
              "CreateArm11mtkSystemDriver", path);
    if (!s_driver)
        s_driver = std::make_unique<SystemDriverArm11mtk>(
            Kapi::SystemUtil::devicePath(path), std::string(mfgId, strnlen(mfgId, sizeof(mfgId))),
            std::string(modelId, strnlen(modelId, sizeof(modelId))));
    return s_driver.get();
}

void DestroyArm11mtkSystemDriver()
{
    s_driver.reset();
}
