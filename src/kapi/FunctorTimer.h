#ifndef KAPI_FUNCTORTIMER_H
#define KAPI_FUNCTORTIMER_H
/*
 * A repeating timer that calls `bool T::f(A)` on an object reached through its handle, every
 * interval, for as long as the function returns true and the object exists.
 *
 * Each start() creates a HandleableTimed: a Timed that is itself registered in GenHandleLib
 * under a handle of its own, which owns it. Its timer() locks its own handle, then the owner's
 * (always in that order), calls the function with the stored argument and returns the result.
 * When the owner is gone or the function returns false, it asks the library to delete its own
 * handle asynchronously (which deletes the HandleableTimed) and the timer stops. stop() does
 * the same deletion from outside, so it never blocks: it is safe from the owner's own work,
 * which holds the owner's lock that a running timer() may be waiting for.
 *
 * A FunctorTimer is used by its owner only (not thread-safe itself); destroying it stops the
 * current timer. Timers run on the shared timer queue, one timer() at a time process-wide.
 * Stop timers (and let the deletion run) before the handle library stops: deletions still
 * pending then are dropped with the library.
 */
#include "kapi/GenHandleLib.h"
#include "kapi/Timed.h"
#include "kapi/Timer.h"

#include <type_traits>
#include <utility>

namespace Kapi {

template <class T, class A> class FunctorTimer
{
    static_assert(std::is_base_of_v<Handleable, T>, "T must be Handleable");

public:
    typedef bool (T::*Function)(A);

    class HandleableTimed : public Handleable, public Timed
    {
    public:
        HandleableTimed(unsigned ownerHandle, Function function, std::decay_t<A> arg)
            : m_handle(0), m_ownerHandle(ownerHandle), m_function(function), m_arg(std::move(arg))
        {
        }
        // Stops the timer while timer() can still run safely (waits for a running call).
        ~HandleableTimed() override { deschedule(); }

        // Set once, before the timer is first scheduled.
        void setHandle(unsigned handle) { m_handle = handle; }
        unsigned getHandle() const { return m_handle; }

        bool timer() override
        {
            GenHandleLib* lib = GenHandleLib::getGenHandleLib();
            if (lib == nullptr || lib->lockObject(m_handle) == nullptr)
                return false; // this timer is being deleted
            bool again = false;
            Handleable* owner = lib->lockObject(m_ownerHandle);
            if (owner != nullptr) {
                if (m_function != nullptr)
                    again = (static_cast<T*>(owner)->*m_function)(m_arg);
                lib->unlockObject(m_ownerHandle);
            }
            if (!again)
                lib->asyncDeleteHandle(m_handle, Timer::now());
            lib->unlockObject(m_handle);
            return again;
        }

    private:
        unsigned m_handle;
        unsigned m_ownerHandle;
        Function m_function;
        std::decay_t<A> m_arg;
    };

    FunctorTimer(unsigned ownerHandle, Function function)
        : m_ownerHandle(ownerHandle), m_function(function), m_timerHandle(0)
    {
    }
    ~FunctorTimer() { stop(); }
    FunctorTimer(const FunctorTimer&) = delete;
    FunctorTimer& operator=(const FunctorTimer&) = delete;

    // Stops any current timer and starts a new one that first fires `interval` microseconds
    // from now. False, with nothing started, while the handle library is stopped.
    bool start(int64 interval, std::decay_t<A> arg)
    {
        stop();
        GenHandleLib* lib = GenHandleLib::getGenHandleLib();
        if (lib == nullptr)
            return false;
        auto* timed = new HandleableTimed(m_ownerHandle, m_function, std::move(arg));
        m_timerHandle = lib->newHandle(timed); // the library owns it from here
        timed->setHandle(m_timerHandle);
        timed->schedule(interval);
        return true;
    }

    // Asks the library to delete the current timer; returns at once.
    void stop()
    {
        GenHandleLib* lib = GenHandleLib::getGenHandleLib();
        if (m_timerHandle != 0 && lib != nullptr)
            lib->asyncDeleteHandle(m_timerHandle, Timer::now());
        m_timerHandle = 0;
    }

    // The current timer's handle (0 after stop(); it may already be gone if the timer stopped
    // itself).
    unsigned getTimerHandle() const { return m_timerHandle; }

private:
    unsigned m_ownerHandle;
    Function m_function;
    unsigned m_timerHandle;
};

} // namespace Kapi

#endif
