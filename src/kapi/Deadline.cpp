// Realtime deadlines: seconds and nanoseconds are added separately and the nanoseconds carried,
// so no intermediate value overflows for any non-negative int64 wait; the seconds saturate at
// the largest time_t (32 bits on the device).
#include "kapi/Deadline.h"

#include <limits>

namespace Kapi {

namespace {

constexpr int64 kMicrosPerSecond = 1000000;
constexpr long kNanosPerSecond = 1000000000L;

timespec realtimeNow()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

} // namespace

timespec realtimeDeadline(int64 maxWait)
{
    timespec deadline = realtimeNow();
    const int64 seconds = maxWait / kMicrosPerSecond;
    deadline.tv_nsec += static_cast<long>(maxWait % kMicrosPerSecond) * 1000L;
    int64 carry = 0;
    if (deadline.tv_nsec >= kNanosPerSecond) {
        deadline.tv_nsec -= kNanosPerSecond;
        carry = 1;
    }
    constexpr int64 kMaxSeconds = std::numeric_limits<time_t>::max();
    const int64 base = static_cast<int64>(deadline.tv_sec);
    deadline.tv_sec = (seconds + carry > kMaxSeconds - base)
                          ? static_cast<time_t>(kMaxSeconds)
                          : static_cast<time_t>(base + seconds + carry);
    return deadline;
}

int64 realtimeMicrosecondsUntil(const timespec& deadline)
{
    const timespec now = realtimeNow();
    const int64 seconds = static_cast<int64>(deadline.tv_sec) - static_cast<int64>(now.tv_sec);
    if (seconds >= kInfinite / kMicrosPerSecond - 1) {
        return kInfinite - 1; // a saturated deadline: still finite, practically never
    }
    const int64 left =
        seconds * kMicrosPerSecond + (static_cast<int64>(deadline.tv_nsec) - now.tv_nsec) / 1000;
    return left > 0 ? left : 0;
}

} // namespace Kapi
