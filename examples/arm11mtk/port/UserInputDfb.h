#ifndef ARM11MTK_PORT_USERINPUTDFB_H
#define ARM11MTK_PORT_USERINPUTDFB_H
// The device's UserInput: wait() reads the driver's window event buffer and turns key and
// button events into the core's input events through the fixed key map (DfbKeymap.h).
//
// Every event it gives has device_id 4 and the monotonic time in microseconds at which it was
// taken. A key whose map code is EVENT_TYPE_UNKNOWN becomes a UNICODE_BUTTON event {action, key
// value, label address}; any other mapped key a BUTTON event {action, 0, code, 0}. Key down is a
// press; key up, button down and button up are releases. Unmapped keys, events that are not
// keys or buttons, and every key while the host's screen saver owns the keys (g_fgRecvKey false)
// are dropped and the wait goes on; each step prints its debug line to standard output.
//
// There is one instance per process, owned by this class and destroyed by the driver.
//
// Threads: one thread waits at a time; cancel_wait() may be called from any thread and ends the
// current (or, if none is running, the next) wait with ABORT, through a user event of type 1
// posted into the event buffer. The label functions are pure and safe anywhere.
#include "core/UserInputDriver.h"

#include <memory>

namespace KELO {

class UserInputDriverDfb;

class UserInputDfb : public UserInput
{
public:
    static constexpr uint16 kDeviceId = 4;
    static constexpr unsigned kCancelEventType = 1;

    // The process's instance, made on the first call; later calls return it unchanged.
    static UserInputDfb* Create(UserInputDriverDfb* driver);
    // Deletes the instance (the driver's destructor calls this).
    static void Destroy();

    ~UserInputDfb() override;

    // timeoutMs -1 (or any negative value) waits without a limit. FAILURE when DirectFB
    // reports anything but success, the time-out included (the event buffer is then reset,
    // dropping whatever it held); ABORT after cancel_wait(); SUCCESS with `event` filled.
    int32 wait(Event* event, int timeoutMs) override;
    int32 cancel_wait() override;
    const char* getLabelFromEvent(Event& event) override;
    const char* remoteDriverIdentifier(int device) override;
    int32 inject(const Event& event) override;
    int32 enableDevice(int device) override;
    int32 disableDevice(int device) override;

    // The button-code label of word 2 for BUTTON events, of word 1 for every other category.
    const char* getLabelFromTranslation(Event& event);
    // "Button", "Unicode Button", "Scalar", "Motion", "Platform Defined", otherwise "None".
    static const char* getCategoryName(int32 category);

private:
    explicit UserInputDfb(UserInputDriverDfb* driver);

    int32 failWait_i(int line, int result);

    UserInputDriverDfb* m_driver;

    static std::unique_ptr<UserInputDfb> s_instance;
};

} // namespace KELO

#endif
