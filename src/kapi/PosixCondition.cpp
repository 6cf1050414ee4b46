// Condition::New and the pthread condition variable behind it. A spurious wake-up counts as a
// signal (result 0): callers re-check their predicate, as with any condition variable.
#include "kapi/PosixCondition.h"

#include "kapi/Deadline.h"
#include "kapi/PanicAssert.h"
#include "kapi/PosixMutex.h"

#include <cerrno>

namespace Kapi {

std::unique_ptr<Condition> Condition::New()
{
    return std::make_unique<PosixCondition>();
}

PosixCondition::PosixCondition()
{
    pthread_cond_init(&m_cond, nullptr);
}

PosixCondition::~PosixCondition()
{
    pthread_cond_destroy(&m_cond);
}

int PosixCondition::wait_i(Mutex* mutex, int64 maxWait, const timespec& deadline)
{
    pthread_mutex_t* native = static_cast<PosixMutex*>(mutex)->nativeHandle();
    if (maxWait == kInfinite) {
        return pthread_cond_wait(&m_cond, native);
    }
    return pthread_cond_timedwait(&m_cond, native, &deadline);
}

bool PosixCondition::wait(Mutex* mutex, int64 maxWait)
{
    if (!(maxWait >= 0)) {
        PanicAssertFail("maxWait >= 0", "KapiCondition", 77);
    }
    const timespec deadline = maxWait == kInfinite ? timespec{} : realtimeDeadline(maxWait);
    return wait_i(mutex, maxWait, deadline) == 0;
}

bool PosixCondition::timedWait(Mutex* mutex, int64* maxWait)
{
    if (!(maxWait != nullptr)) {
        PanicAssertFail("maxWait != NULL", "KapiCondition", 150);
    }
    if (!(*maxWait >= 0)) {
        PanicAssertFail("*maxWait >= 0", "KapiCondition", 151);
    }
    const bool unlimited = *maxWait == kInfinite;
    const timespec deadline = unlimited ? timespec{} : realtimeDeadline(*maxWait);
    const int result = wait_i(mutex, *maxWait, deadline);
    if (result == ETIMEDOUT) {
        *maxWait = 0;
        return false;
    }
    if (result != 0) {
        return false;
    }
    if (!unlimited) {
        *maxWait = realtimeMicrosecondsUntil(deadline);
    }
    return true;
}

void PosixCondition::signal()
{
    pthread_cond_signal(&m_cond);
}

void PosixCondition::broadcast()
{
    pthread_cond_broadcast(&m_cond);
}

} // namespace Kapi
