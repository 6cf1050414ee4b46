#ifndef ARM11MTK_PORT_TV3D_H
#define ARM11MTK_PORT_TV3D_H
// The television's 3D support and the output's source format, through the platform's
// configuration client on the process's configuration handle (hCfgHandle). The port remembers
// whether it switched the output to a 3D source format, so returning to 2D only talks to the
// platform when something is to undo.
//
// Threads: any; the configuration client serialises its own calls.
#include "IMtkCfg.h"

// True when the configuration client answers and the television reports CEA 3D resolutions.
bool kelo_get_tv3dinfo();

// Switches the output's source format to `format` (a 3D layout) at the given size.
bool kelo_set3d_resolution(IMTKCFG_VID_SRC_FORMAT_T format, uint32_t width, uint32_t height);

// Returns the output to a 2D source when a 3D one was set.
void kelo_reset3d_videomode();

#endif
