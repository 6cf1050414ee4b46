#ifndef SIM_PLATFORM_VRMXREMUXER_H
#define SIM_PLATFORM_VRMXREMUXER_H
// The platform remuxer library's factory pair. The driver it makes has no operations yet: the
// demuxer and muxer calls arrive with the remuxing transform that uses them.
#include "core/RemuxerDriver.h"

KELO::RemuxerDriver* VRMX_CreateRemuxerDriver();
void VRMX_DestroyRemuxerDriver(KELO::RemuxerDriver* driver);

#endif
