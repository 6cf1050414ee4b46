#ifndef CORE_DRIVERS_H
#define CORE_DRIVERS_H
// Every platform driver interface the client reaches the device through, and the registry
// that holds the registered drivers. The embedding program creates one object per driver
// kind, registers it with the core while the core is stopped, and destroys it after the core
// has stopped and the driver is unregistered.
#include "core/CryptoDriver.h"
#include "core/DisplayDriver.h"
#include "core/DriverTypes.h"
#include "core/GraphicsDriver.h"
#include "core/KeloStatus.h"
#include "core/LinkStatusDriver.h"
#include "core/MediaPlayerDriver.h"
#include "core/MultimediaDriver.h"
#include "core/RemuxerDriver.h"
#include "core/Services.h"
#include "core/SystemDriver.h"
#include "core/UpdateDriver.h"
#include "core/UserInputDriver.h"

#endif
