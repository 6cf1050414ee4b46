// Semaphore::New and the sem_t behind it.
#include "kapi/PosixSemaphore.h"

#include "kapi/Deadline.h"

#include <cerrno>

namespace Kapi {

std::unique_ptr<Semaphore> Semaphore::New(int initial)
{
    return std::make_unique<PosixSemaphore>(initial);
}

PosixSemaphore::PosixSemaphore(int initial)
{
    sem_init(&m_sem, 0, static_cast<unsigned>(initial));
}

PosixSemaphore::~PosixSemaphore()
{
    sem_destroy(&m_sem);
}

bool PosixSemaphore::wait(int64 maxWait)
{
    int result;
    if (maxWait == 0) {
        do {
            result = sem_trywait(&m_sem);
        } while (result != 0 && errno == EINTR);
    } else if (maxWait == kInfinite) {
        do {
            result = sem_wait(&m_sem);
        } while (result != 0 && errno == EINTR);
    } else {
        const timespec deadline = realtimeDeadline(maxWait);
        do {
            result = sem_timedwait(&m_sem, &deadline);
        } while (result != 0 && errno == EINTR);
    }
    return result == 0;
}

void PosixSemaphore::post()
{
    sem_post(&m_sem);
}

} // namespace Kapi
