#ifndef KAPI_DEADLINE_H
#define KAPI_DEADLINE_H
// Absolute realtime deadlines for the timed waits of the POSIX primitives. A deadline is a
// normalised timespec (0 <= tv_nsec < 1000000000) on CLOCK_REALTIME, the clock that
// pthread_cond_timedwait (default attributes) and sem_timedwait measure against.
#include "kapi/KapiTypes.h"

#include <ctime>

namespace Kapi {

// Now plus `maxWait` microseconds (>= 0). A wait too long for time_t ends at its largest value.
timespec realtimeDeadline(int64 maxWait);
// Microseconds from now until `deadline`; 0 when it has passed.
int64 realtimeMicrosecondsUntil(const timespec& deadline);

} // namespace Kapi

#endif
