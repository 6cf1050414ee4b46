#ifndef ARM11MTK_PORT_USERINPUTDRIVERDFB_H
#define ARM11MTK_PORT_USERINPUTDRIVERDFB_H
// The device's user-input driver: remote and keyboard keys arrive as DirectFB window events on
// the application window, collected by one event buffer attached to that window. The driver
// owns the event buffer and the process's single UserInputDfb; it exists only while DirectFB
// and its window do (the multimedia driver's start-up made them), and must be destroyed before
// they are. One driver per process (CreateDfbUserInputDriver / DestroyDfbUserInputDriver).
//
// Threads: create and destroy on the entry's thread while no one waits for input. The event
// buffer itself is safe from any thread.
#include "core/UserInputDriver.h"

#include <directfb.h>

#include <memory>

namespace KELO {

class UserInputDfb;

struct DfbEventBufferRelease
{
    void operator()(IDirectFBEventBuffer* buffer) const { buffer->Release(buffer); }
};
using DfbEventBufferPtr = std::unique_ptr<IDirectFBEventBuffer, DfbEventBufferRelease>;

// Standard output line for a failed DirectFB call of the input path:
// "DFB ERROR: <file>:<line> [<function>]: returned error <code>\n".
void printDfbInputError(const char* file, int line, const char* function, DFBResult result);

class UserInputDriverDfb : public UserInputDriver
{
public:
    // Null, after a log line, when DirectFB has no window yet or its event buffer cannot be
    // made. Otherwise the driver with its user input.
    static std::unique_ptr<UserInputDriverDfb> create();
    ~UserInputDriverDfb() override;

    int32 GetUserInput(UserInput** input) override;

    IDirectFB* dfb() const { return m_dfb; }
    IDirectFBEventBuffer* eventBuffer() const { return m_eventBuffer.get(); }

private:
    UserInputDriverDfb(IDirectFB* dfb, DfbEventBufferPtr eventBuffer);

    UserInputDfb* m_userInput = nullptr; // the single UserInputDfb, destroyed with the driver
    IDirectFB* m_dfb = nullptr;          // DfbInit's, not owned
    DfbEventBufferPtr m_eventBuffer;
};

} // namespace KELO

// The process's single driver, created on the first call; null when DirectFB is not up.
KELO::UserInputDriver* CreateDfbUserInputDriver();
void DestroyDfbUserInputDriver();

#endif
