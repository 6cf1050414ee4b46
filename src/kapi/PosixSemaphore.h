#ifndef KAPI_POSIXSEMAPHORE_H
#define KAPI_POSIXSEMAPHORE_H
// The POSIX Semaphore: one unnamed, process-private sem_t. A wait interrupted by a signal is
// resumed (against the same deadline when timed); any other failure reports false.
#include "kapi/Semaphore.h"

#include <semaphore.h>

namespace Kapi {

class PosixSemaphore : public Semaphore
{
public:
    explicit PosixSemaphore(int initial);
    ~PosixSemaphore() override;
    PosixSemaphore(const PosixSemaphore&) = delete;
    PosixSemaphore& operator=(const PosixSemaphore&) = delete;

    bool wait(int64 maxWait) override;
    void post() override;

private:
    sem_t m_sem;
};

} // namespace Kapi

#endif
