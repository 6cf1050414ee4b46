#ifndef KAPI_TIMERPOSIX_H
#define KAPI_TIMERPOSIX_H
// The POSIX Timer: `origin` is a CLOCK_MONOTONIC instant in microseconds, read and written only
// under `mutex`; get() is now - origin. A failing monotonic clock ends the process.
#include "kapi/Mutex.h"
#include "kapi/Timer.h"

namespace Kapi {

class TimerPosix : public Timer
{
public:
    TimerPosix();
    ~TimerPosix() override;
    TimerPosix(const TimerPosix&) = delete;
    TimerPosix& operator=(const TimerPosix&) = delete;

    // The monotonic clock in microseconds (seconds * 1000000 + nanoseconds / 1000).
    static int64 now();

    void set(int64 elapsed) override;
    int64 get() override;

private:
    std::unique_ptr<Mutex> m_mutex;
    int64 m_origin; // guarded by m_mutex
};

} // namespace Kapi

#endif
