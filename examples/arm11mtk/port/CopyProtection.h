#ifndef ARM11MTK_PORT_COPYPROTECTION_H
#define ARM11MTK_PORT_COPYPROTECTION_H
// The analogue output's copy protection through the configuration client: the automatic gain
// control levels (one, two or four lines) go to the APS field, the CGMS-A marks to the CGMS
// field, image constraint to the ICT flag. Switching on reads the current settings, changes the
// field of the given standard and writes them back; switching off clears that field. Models
// whose SoC lacks the controls (support_soc false) and standards without an analogue control
// here (HDCP, DCS, S/PDIF, demo mode) leave the output unchanged and answer false.
//
// Threads: any; the configuration client serialises its own calls.
#include "core/DisplayDriver.h"

bool kelo_copyprotection_on(KELO::Display::CopyProtectionStandard standard);
bool kelo_copyprotection_off(KELO::Display::CopyProtectionStandard standard);

#endif
