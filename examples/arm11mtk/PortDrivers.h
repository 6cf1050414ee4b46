#ifndef ARM11MTK_PORTDRIVERS_H
#define ARM11MTK_PORTDRIVERS_H
// The factories of the device's platform drivers that the entry creates and registers with the
// core, and the platform hooks around them. This is the one seam between the entry and the
// driver implementations: the program links exactly one library that defines these functions
// (the DirectFB and device port; test programs may link the minimal drivers of sim/drivers
// instead). The remuxer's pair comes from the platform's remuxer library.
//
// Each Create... returns the process's single driver of its kind, creating it on the first
// call; the matching Destroy... deletes it. Only the entry's thread calls them, while the core
// is stopped.
#include "VrmxRemuxer.h"
#include "core/Drivers.h"

KELO::SystemDriver* CreateArm11mtkSystemDriver(const char* dbPath);
void DestroyArm11mtkSystemDriver();
KELO::MultimediaDriver* CreateDfbMultimediaDriver();
void DestroyDfbMultimediaDriver();
KELO::UserInputDriver* CreateDfbUserInputDriver();
void DestroyDfbUserInputDriver();
KELO::LinkStatusDriver* CreateGenericLinkStatusDriver();
void DestroyGenericLinkStatusDriver();
void platformInitArm11mtk();
void platformUninitArm11mtk();

#endif
