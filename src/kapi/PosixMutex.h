#ifndef KAPI_POSIXMUTEX_H
#define KAPI_POSIXMUTEX_H
// The POSIX Mutex: one pthread mutex of the error-checking type. Re-acquiring by the holder
// returns at once without counting (the mismatch surfaces at the second release); releasing a
// mutex the caller does not hold fails the assertion "iResult == 0 && \"mutex unlock failed\"".
// Condition variables of the platform layer wait on nativeHandle().
#include "kapi/Mutex.h"

#include <pthread.h>

namespace Kapi {

class PosixMutex : public Mutex
{
public:
    PosixMutex();
    ~PosixMutex() override;

    void acquire() override;
    bool tryAcquire() override;
    void release() override;

    pthread_mutex_t* nativeHandle() { return &m_mutex; }

private:
    pthread_mutex_t m_mutex;
};

} // namespace Kapi

#endif
