// UserInputDriverDfb: attaches one event buffer to DfbInit's window and hands out the single
// UserInputDfb. The user input goes before the event buffer it reads from.
#include "UserInputDriverDfb.h"

#include "../PortDrivers.h"
#include "DfbInit.h"
#include "UserInputDfb.h"
#include "kapi/vLog.h"

#include <cstdio>

namespace KELO {

void printDfbInputError(const char* file, int line, const char* function, DFBResult result)
{
    std::printf("DFB ERROR: %s:%d [%s]: returned error %d\n", file, line, function,
                static_cast<int>(result));
    std::fflush(stdout);
}

std::unique_ptr<UserInputDriverDfb> UserInputDriverDfb::create()
{
    IDirectFB* dfb = DfbInit::dfb();
    IDirectFBWindow* window = DfbInit::window();
    if (dfb == nullptr || window == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_REMOTE, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_REMOTE, VLOG_ERROR,
                        "UserInputDriverDfb: DirectFB and its window are not set up; no user "
                        "input");
        return nullptr;
    }

    IDirectFBEventBuffer* buffer = nullptr;
    const DFBResult result = window->CreateEventBuffer(window, &buffer);
    if (result != DFB_OK || buffer == nullptr) {
        printDfbInputError("UserInputDriverDfb", __LINE__, __func__, result);
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_REMOTE, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_REMOTE, VLOG_ERROR,
                        "UserInputDriverDfb: cannot create the window's event buffer");
        return nullptr;
    }
    std::unique_ptr<UserInputDriverDfb> driver(
        new UserInputDriverDfb(dfb, DfbEventBufferPtr(buffer)));
    driver->m_userInput = UserInputDfb::Create(driver.get());
    return driver;
}

UserInputDriverDfb::UserInputDriverDfb(IDirectFB* dfb, DfbEventBufferPtr eventBuffer)
    : m_dfb(dfb), m_eventBuffer(std::move(eventBuffer))
{
}

UserInputDriverDfb::~UserInputDriverDfb()
{
    UserInputDfb::Destroy();
    m_userInput = nullptr;
}

int32 UserInputDriverDfb::GetUserInput(UserInput** input)
{
    if (input == nullptr)
        return INVALID_ARGUMENTS;
    *input = m_userInput;
    return SUCCESS;
}

} // namespace KELO

namespace {
std::unique_ptr<KELO::UserInputDriverDfb> g_userInputDriver;
}

KELO::UserInputDriver* CreateDfbUserInputDriver()
{
    if (!g_userInputDriver)
        g_userInputDriver = KELO::UserInputDriverDfb::create();
    return g_userInputDriver.get();
}

void DestroyDfbUserInputDriver()
{
    g_userInputDriver.reset();
}
