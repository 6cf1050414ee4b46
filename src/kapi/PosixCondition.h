#ifndef KAPI_POSIXCONDITION_H
#define KAPI_POSIXCONDITION_H
// The POSIX Condition: one pthread condition variable with default attributes, so finite waits
// end at a CLOCK_REALTIME deadline. The mutex passed to a wait must be a Kapi::PosixMutex (every
// Mutex::New() is) held by the caller; the wait releases and re-takes its native mutex.
#include "kapi/Condition.h"

#include <pthread.h>

namespace Kapi {

class PosixCondition : public Condition
{
public:
    PosixCondition();
    ~PosixCondition() override;
    PosixCondition(const PosixCondition&) = delete;
    PosixCondition& operator=(const PosixCondition&) = delete;

    bool wait(Mutex* mutex, int64 maxWait) override;
    bool timedWait(Mutex* mutex, int64* maxWait) override;
    void signal() override;
    void broadcast() override;

private:
    // pthread result of an untimed wait (kInfinite) or a wait until `deadline`.
    int wait_i(Mutex* mutex, int64 maxWait, const timespec& deadline);

    pthread_cond_t m_cond;
};

} // namespace Kapi

#endif
