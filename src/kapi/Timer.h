#ifndef KAPI_TIMER_H
#define KAPI_TIMER_H
// A stopwatch over the monotonic clock, in microseconds. Safe from any thread.
#include "kapi/KapiTypes.h"

#include <memory>

namespace Kapi {

class Timer
{
public:
    static std::unique_ptr<Timer> New();
    // The monotonic clock in microseconds.
    static int64 now();
    virtual ~Timer() = default;

    // Makes get() return `elapsed` now.
    virtual void set(int64 elapsed) = 0;
    // Microseconds since the origin.
    virtual int64 get() = 0;
};

} // namespace Kapi

#endif
