#ifndef CORE_CORERESTARTER_H
#define CORE_CORERESTARTER_H
// KELO::CoreRestarter: the thread "CoreRestarter" (nice 5) that restarts the core when the
// service reports that the device is in another country. It sleeps on its semaphore; each
// post wakes it to restart the core, unless it was told to stop. It exists only while a core
// started with the country "auto" runs; the core creates and deletes it under its lock.
#include "kapi/Runnable.h"
#include "kapi/Semaphore.h"
#include "kapi/Thread.h"

#include <atomic>
#include <memory>

namespace KELO {

class STBCoreDetail;

class CoreRestarter : public Kapi::Runnable
{
public:
    explicit CoreRestarter(STBCoreDetail* detail);
    CoreRestarter(const CoreRestarter&) = delete;
    CoreRestarter& operator=(const CoreRestarter&) = delete;

    int main() override;

    // Wakes the thread for one restart (any thread).
    void requestRestart() { mSemaphore->post(); }
    // Makes the thread end at its next wake-up, and wakes it.
    void requestStop();
    bool isStopping() const { return mStop.load(); }

    // The running restarter and its thread; both null unless the country is "auto".
    static std::unique_ptr<CoreRestarter> instance;
    static std::unique_ptr<Kapi::Thread> pThread;

private:
    std::atomic<bool> mStop{false};
    STBCoreDetail* mDetail; // not owned
    std::unique_ptr<Kapi::Semaphore> mSemaphore;
};

} // namespace KELO

#endif
