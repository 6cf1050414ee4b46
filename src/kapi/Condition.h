#ifndef KAPI_CONDITION_H
#define KAPI_CONDITION_H
// A condition variable used with a Kapi::Mutex that the caller holds. Waits take microseconds;
// kInfinite waits without a limit. Deadlines use the realtime clock. Safe from any thread.
#include "kapi/KapiTypes.h"
#include "kapi/Mutex.h"

#include <memory>

namespace Kapi {

class Condition
{
public:
    static std::unique_ptr<Condition> New();
    virtual ~Condition() = default;

    // True when signalled; false on time-out or error. `maxWait` >= 0 (fatal otherwise).
    virtual bool wait(Mutex* mutex, int64 maxWait) = 0;
    // As wait(); on success *maxWait becomes the time still left, on time-out 0.
    virtual bool timedWait(Mutex* mutex, int64* maxWait) = 0;
    virtual void signal() = 0;
    virtual void broadcast() = 0;
};

} // namespace Kapi

#endif
