// The platform hooks the entry calls around the drivers' life (PortDrivers.h). The device needs
// no set-up of its own here, so each hook only records that it ran.
#include "../PortDrivers.h"

#include "kapi/vLog.h"

#include <syslog.h>

void platformInitArm11mtk()
{
    _kkSysLog(LOG_INFO, "info", "Arm11mtk", "%s", "platformInitArm11mtk");
}

void platformUninitArm11mtk()
{
    _kkSysLog(LOG_INFO, "info", "Arm11mtk", "%s", "platformUninitArm11mtk");
}
