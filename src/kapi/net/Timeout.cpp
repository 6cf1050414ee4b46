// Submitting and cancelling loop work items. Due times come from the System's clock.
#include "kapi/net/Timeout.h"

#include "kapi/PanicAssert.h"
#include "kapi/net/System.h"

namespace Kapi {
namespace Net {

namespace {

constexpr int64 kHundredthSecond = 10000;
constexpr int64 kTenthSecond = 100000;
constexpr int64 kOneSecond = 1000000;
constexpr int64 kTwentySeconds = 20000000;
constexpr int64 kThirtySeconds = 30000000;

} // namespace

void Timeout::submitTimed_i(System* system, TimeoutList<Timeout>& list, int64 delay)
{
    unlink();
    m_due = system->now() + delay;
    list.append(this);
}

void Timeout::submitInstant(System* system)
{
    unlink();
    system->m_instant.append(this);
}

void Timeout::submitHundredthSecond(System* system)
{
    submitTimed_i(system, system->m_hundredthSecond, kHundredthSecond);
}

void Timeout::submitTenthSecond(System* system)
{
    submitTimed_i(system, system->m_tenthSecond, kTenthSecond);
}

void Timeout::submitOneSecond(System* system)
{
    submitTimed_i(system, system->m_oneSecond, kOneSecond);
}

void Timeout::submitTwentySecond(System* system)
{
    submitTimed_i(system, system->m_twentySecond, kTwentySeconds);
}

void Timeout::submitThirtySecond(System* system)
{
    submitTimed_i(system, system->m_thirtySecond, kThirtySeconds);
}

void Timeout::submitFast(System* system)
{
    submitTimed_i(system, system->m_fast, system->m_fastTimeout);
}

void Timeout::submitIdle(System* system)
{
    unlink();
    system->m_idle.append(this);
}

CrossThreadTimeout::~CrossThreadTimeout()
{
    // Still queued means the loop would later call into freed memory.
    KAPI_ASSERT(!isLinked());
}

void CrossThreadTimeout::submitInstantFromAnotherThread(System* system)
{
    system->postFromAnotherThread_i(this);
}

void CrossThreadTimeout::cancel(System* system)
{
    system->cancelFromAnotherThread_i(this);
}

} // namespace Net
} // namespace Kapi
