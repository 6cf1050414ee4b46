// The country restarter thread: one restart per semaphore post until told to stop.
#include "core/CoreRestarter.h"

#include "core/STBCoreDetail.h"
#include "kapi/KapiTypes.h"

namespace KELO {

std::unique_ptr<CoreRestarter> CoreRestarter::instance;
std::unique_ptr<Kapi::Thread> CoreRestarter::pThread;

CoreRestarter::CoreRestarter(STBCoreDetail* detail)
    : mDetail(detail), mSemaphore(Kapi::Semaphore::New(0))
{
}

void CoreRestarter::requestStop()
{
    mStop.store(true);
    mSemaphore->post();
}

int CoreRestarter::main()
{
    for (;;) {
        mSemaphore->wait(Kapi::kInfinite);
        if (mStop.load())
            return 0;
        mDetail->restartFor_i(*this);
    }
}

} // namespace KELO
