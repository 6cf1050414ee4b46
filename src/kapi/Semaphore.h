#ifndef KAPI_SEMAPHORE_H
#define KAPI_SEMAPHORE_H
// A counting semaphore (process-private). Safe from any thread.
#include "kapi/KapiTypes.h"

#include <memory>

namespace Kapi {

class Semaphore
{
public:
    static std::unique_ptr<Semaphore> New(int initial);
    virtual ~Semaphore() = default;

    // True when a unit was taken. 0: one attempt; kInfinite: no time limit.
    virtual bool wait(int64 maxWait) = 0;
    virtual void post() = 0;
};

} // namespace Kapi

#endif
