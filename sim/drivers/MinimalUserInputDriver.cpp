// The minimal user input: a queue of injected events behind a mutex and a condition.
#include "MinimalUserInputDriver.h"

#include "kapi/KapiTypes.h"

namespace SimDrivers {

MinimalUserInput::MinimalUserInput() : mLock(Kapi::Mutex::New()), mChanged(Kapi::Condition::New())
{
}

int32 MinimalUserInput::wait(Event* event, int timeoutMs)
{
    if (event == nullptr)
        return KELO::INVALID_ARGUMENTS;
    Kapi::MutexLocker locker(*mLock);
    int64 left = timeoutMs < 0 ? Kapi::kInfinite : static_cast<int64>(timeoutMs) * 1000;
    for (;;) {
        if (mCancelled) {
            mCancelled = false;
            return KELO::ABORT;
        }
        if (!mQueue.empty()) {
            *event = mQueue.front();
            mQueue.pop_front();
            return KELO::SUCCESS;
        }
        if (left <= 0)
            return KELO::TIMED_OUT;
        if (left == Kapi::kInfinite)
            mChanged->wait(mLock.get(), Kapi::kInfinite);
        else
            mChanged->timedWait(mLock.get(), &left);
    }
}

int32 MinimalUserInput::cancel_wait()
{
    Kapi::MutexLocker locker(*mLock);
    mCancelled = true;
    mChanged->broadcast();
    return KELO::SUCCESS;
}

const char* MinimalUserInput::getLabelFromEvent(Event& /*event*/)
{
    return ""; // no remote control, no key labels
}

const char* MinimalUserInput::remoteDriverIdentifier(int /*device*/)
{
    return "minimal";
}

int32 MinimalUserInput::inject(const Event& event)
{
    Kapi::MutexLocker locker(*mLock);
    mQueue.push_back(event);
    mChanged->broadcast();
    return KELO::SUCCESS;
}

int32 MinimalUserInput::enableDevice(int /*device*/)
{
    return KELO::SUCCESS;
}

int32 MinimalUserInput::disableDevice(int /*device*/)
{
    return KELO::SUCCESS;
}

int32 MinimalUserInputDriver::GetUserInput(KELO::UserInput** input)
{
    if (input == nullptr)
        return KELO::INVALID_ARGUMENTS;
    *input = &mInput;
    return KELO::SUCCESS;
}

} // namespace SimDrivers
