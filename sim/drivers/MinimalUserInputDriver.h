#ifndef SIM_DRIVERS_MINIMALUSERINPUTDRIVER_H
#define SIM_DRIVERS_MINIMALUSERINPUTDRIVER_H
// A minimal user-input driver for running the client without the device port: no device
// produces keys, so wait() times out unless an event was injected. Injected events queue in
// order and wait() hands them out first. cancel_wait() ends the current wait with ABORT; when
// nobody waits, the next wait() ends at once with ABORT (a cancel is never lost).
#include "core/UserInputDriver.h"
#include "kapi/Condition.h"
#include "kapi/Mutex.h"

#include <deque>
#include <memory>

namespace SimDrivers {

class MinimalUserInput : public KELO::UserInput
{
public:
    MinimalUserInput();

    int32 wait(Event* event, int timeoutMs) override;
    int32 cancel_wait() override;
    const char* getLabelFromEvent(Event& event) override;
    const char* remoteDriverIdentifier(int device) override;
    int32 inject(const Event& event) override;
    int32 enableDevice(int device) override;
    int32 disableDevice(int device) override;

private:
    std::unique_ptr<Kapi::Mutex> mLock;
    std::unique_ptr<Kapi::Condition> mChanged;
    std::deque<Event> mQueue; // injected, not yet delivered
    bool mCancelled = false;  // a cancel not yet seen by a wait
};

class MinimalUserInputDriver : public KELO::UserInputDriver
{
public:
    int32 GetUserInput(KELO::UserInput** input) override;

private:
    MinimalUserInput mInput;
};

} // namespace SimDrivers

#endif
