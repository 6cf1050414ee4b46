// Mutex::New and the pthread implementation behind it.
#include "kapi/PosixMutex.h"
#include "kapi/PanicAssert.h"

namespace Kapi {

Mutex::~Mutex() = default;

std::unique_ptr<Mutex> Mutex::New(bool /*recursive*/)
{
    return std::make_unique<PosixMutex>();
}

PosixMutex::PosixMutex()
{
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_init(&m_mutex, &attr);
    pthread_mutexattr_destroy(&attr);
}

PosixMutex::~PosixMutex()
{
    pthread_mutex_destroy(&m_mutex);
}

void PosixMutex::acquire()
{
    pthread_mutex_lock(&m_mutex);
}

bool PosixMutex::tryAcquire()
{
    return pthread_mutex_trylock(&m_mutex) == 0;
}

void PosixMutex::release()
{
    const int iResult = pthread_mutex_unlock(&m_mutex);
    if (iResult != 0) {
        PanicAssertFail("iResult == 0 && \"mutex unlock failed\"", "KapiMutex", 233);
    }
}

} // namespace Kapi
