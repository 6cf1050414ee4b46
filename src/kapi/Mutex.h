#ifndef KAPI_MUTEX_H
#define KAPI_MUTEX_H
// Mutual exclusion. Kapi::Mutex is the portable interface; Mutex::New() makes the platform's
// implementation (kapi/PosixMutex.h), which is never recursive and error-checking: releasing a
// mutex the calling thread does not hold ends the process through Kapi::PanicAssertFail.
// Components that need a recursive lock create one of their own.
//
// A Mutex may be acquired and released from any thread; only the holder may release it.
#include <memory>
#include <utility>

namespace Kapi {

class Mutex
{
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // Slot order is fixed: destructor, acquire, tryAcquire, release.
    virtual ~Mutex();
    virtual void acquire() = 0;    // blocks until held
    virtual bool tryAcquire() = 0; // true when the lock was taken; never blocks
    virtual void release() = 0;

    // A new non-recursive, error-checking mutex. `recursive` is accepted for interface
    // compatibility and has no effect.
    static std::unique_ptr<Mutex> New(bool recursive = false);
};

// Owns a mutex for the lifetime of a class-wide or static object, e.g.
//     static Kapi::ScopedMutex s_lock;
class ScopedMutex
{
public:
    ScopedMutex() : m_mutex(Mutex::New(false)) {}
    explicit ScopedMutex(std::unique_ptr<Mutex> mutex) : m_mutex(std::move(mutex)) {}
    explicit ScopedMutex(Mutex* mutex) : m_mutex(mutex) {} // takes ownership
    ScopedMutex(const ScopedMutex&) = delete;
    ScopedMutex& operator=(const ScopedMutex&) = delete;

    Mutex* get() const { return m_mutex.get(); }
    Mutex* operator->() const { return m_mutex.get(); }
    Mutex& operator*() const { return *m_mutex; }

private:
    std::unique_ptr<Mutex> m_mutex;
};

// Holds a mutex for the guard's scope.
class MutexLocker
{
public:
    explicit MutexLocker(Mutex& mutex) : m_mutex(mutex) { m_mutex.acquire(); }
    explicit MutexLocker(Mutex* mutex) : MutexLocker(*mutex) {}
    explicit MutexLocker(const ScopedMutex& mutex) : MutexLocker(*mutex) {}
    ~MutexLocker() { m_mutex.release(); }
    MutexLocker(const MutexLocker&) = delete;
    MutexLocker& operator=(const MutexLocker&) = delete;

private:
    Mutex& m_mutex;
};

} // namespace Kapi

#endif
