// Timer::New, Timer::now and the monotonic stopwatch behind them.
#include "kapi/TimerPosix.h"

#include "kapi/PanicAssert.h"

#include <ctime>

namespace Kapi {

std::unique_ptr<Timer> Timer::New()
{
    return std::make_unique<TimerPosix>();
}

int64 Timer::now()
{
    return TimerPosix::now();
}

int64 TimerPosix::now()
{
    timespec ts{};
    const bool clock_gettimeMONOTONIC_broken = clock_gettime(CLOCK_MONOTONIC, &ts) != 0;
    if (!(!clock_gettimeMONOTONIC_broken)) {
        PanicAssertFail("!clock_gettimeMONOTONIC_broken", "KapiTimer", 56);
    }
    return static_cast<int64>(ts.tv_sec) * 1000000 + ts.tv_nsec / 1000;
}

TimerPosix::TimerPosix() : m_mutex(Mutex::New(false)), m_origin(now()) {}

TimerPosix::~TimerPosix() = default;

void TimerPosix::set(int64 elapsed)
{
    MutexLocker locker(*m_mutex);
    m_origin = now() - elapsed;
}

int64 TimerPosix::get()
{
    MutexLocker locker(*m_mutex);
    return now() - m_origin;
}

} // namespace Kapi
