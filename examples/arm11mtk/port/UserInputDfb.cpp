// UserInputDfb: the wait loop over the window event buffer and the label tables' answers.
// The loop returns only a translated key, a cancel, or a DirectFB failure; everything else it
// reads is dropped.
#include "UserInputDfb.h"

#include "DeviceState.h"
#include "DfbKeymap.h"
#include "UserInputDriverDfb.h"
#include "kapi/Timer.h"

#include <directfb.h>

#include <cstdio>

namespace KELO {

namespace {

bool isKeyOrButton(const DFBEvent& event)
{
    if (event.clazz != DFEC_WINDOW)
        return false;
    switch (event.window.type) {
    case DWET_KEYDOWN:
    case DWET_KEYUP:
    case DWET_BUTTONDOWN:
    case DWET_BUTTONUP:
        return true;
    default:
        return false;
    }
}

// Fills `out` from a key or button window event; false when the key is dropped.
bool translateKey(const DFBWindowEvent& window, int64 timestamp, UserInput::Event* out)
{
    // Only key down counts as a press: a button going down is reported as a release too.
    const UserInput::ButtonAction action =
        window.type == DWET_KEYDOWN ? UserInput::BUTTON_PRESS : UserInput::BUTTON_RELEASE;
    const unsigned keySymbol = static_cast<unsigned>(window.key_symbol);

    if (!g_fgRecvKey.load(std::memory_order_relaxed)) {
        std::printf("Screen Saver on,ignore key index, %x\n", keySymbol);
        std::fflush(stdout);
        return false;
    }

    const DfbKeymapEntry* entry = findDfbKey(keySymbol);
    if (entry == nullptr)
        std::printf("not found key index, %x\n", keySymbol);
    else
        std::printf("key == %s\n", entry->label);
    std::printf(action == UserInput::BUTTON_PRESS ? "key press\n" : "key release\n");
    std::fflush(stdout);
    if (entry == nullptr)
        return false;

    UserInput::Event event;
    event.device_id = UserInputDfb::kDeviceId;
    event.timestamp = timestamp;
    if (entry->code == UserInput::EVENT_TYPE_UNKNOWN) {
        event.evCategory = UserInput::UNICODE_BUTTON;
        event.arg.unicode.action = action;
        event.arg.unicode.keyValue = static_cast<int32>(entry->keyValue);
        event.arg.unicode.label = entry->label;
    } else {
        event.evCategory = UserInput::BUTTON;
        event.arg.button.action = action;
        event.arg.button.code = entry->code;
    }
    *out = event;
    return true;
}

} // namespace

std::unique_ptr<UserInputDfb> UserInputDfb::s_instance;

UserInputDfb* UserInputDfb::Create(UserInputDriverDfb* driver)
{
    if (!s_instance)
        s_instance.reset(new UserInputDfb(driver));
    return s_instance.get();
}

void UserInputDfb::Destroy()
{
    s_instance.reset();
}

UserInputDfb::UserInputDfb(UserInputDriverDfb* driver) : m_driver(driver) {}

UserInputDfb::~UserInputDfb() = default;

int32 UserInputDfb::failWait_i(int line, int result)
{
    printDfbInputError("UserInputDfb", line, "wait", static_cast<DFBResult>(result));
    IDirectFBEventBuffer* buffer = m_driver->eventBuffer();
    buffer->Reset(buffer);
    return FAILURE;
}

int32 UserInputDfb::wait(Event* event, int timeoutMs)
{
    if (event == nullptr)
        return INVALID_ARGUMENTS;
    IDirectFBEventBuffer* buffer = m_driver->eventBuffer();
    for (;;) {
        DFBResult result = timeoutMs < 0
                               ? buffer->WaitForEvent(buffer)
                               : buffer->WaitForEventWithTimeout(buffer, unsigned(timeoutMs / 1000),
                                                                 unsigned(timeoutMs % 1000));
        if (result != DFB_OK)
            return failWait_i(__LINE__, result);

        DFBEvent dfbEvent = {};
        result = buffer->GetEvent(buffer, &dfbEvent);
        if (result != DFB_OK)
            return failWait_i(__LINE__, result);

        if (dfbEvent.clazz == DFEC_USER && dfbEvent.user.type == kCancelEventType)
            return ABORT;

        const int64 timestamp = Kapi::Timer::now();
        if (!isKeyOrButton(dfbEvent)) {
            std::printf("DFB Event : Not Recognised\n");
            std::fflush(stdout);
            *event = Event();
            continue;
        }
        if (translateKey(dfbEvent.window, timestamp, event))
            return SUCCESS;
    }
}

int32 UserInputDfb::cancel_wait()
{
    DFBEvent cancel = {};
    cancel.user.clazz = DFEC_USER;
    cancel.user.type = kCancelEventType;
    cancel.user.data = nullptr;
    IDirectFBEventBuffer* buffer = m_driver->eventBuffer();
    const DFBResult result = buffer->PostEvent(buffer, &cancel);
    if (result != DFB_OK) {
        printDfbInputError("UserInputDfb", __LINE__, "cancel_wait", result);
        return FAILURE;
    }
    return SUCCESS;
}

const char* UserInputDfb::getLabelFromEvent(Event& event)
{
    switch (event.evCategory) {
    case CATEGORY_NONE:
        return "NONE";
    case BUTTON:
        return buttonCodeLabel(event.arg.button.code);
    case SCALAR:
        return buttonCodeLabel(event.arg.scalar.code);
    case UNICODE_BUTTON:
    case MOTION:
    case PLATFORM_DEFINED:
        return getCategoryName(event.evCategory);
    default:
        return "ERROR:UNKNOWN CATEGORY";
    }
}

const char* UserInputDfb::getLabelFromTranslation(Event& event)
{
    return buttonCodeLabel(event.evCategory == BUTTON ? event.arg.words[2] : event.arg.words[1]);
}

const char* UserInputDfb::getCategoryName(int32 category)
{
    switch (category) {
    case BUTTON:
        return "Button";
    case UNICODE_BUTTON:
        return "Unicode Button";
    case SCALAR:
        return "Scalar";
    case MOTION:
        return "Motion";
    case PLATFORM_DEFINED:
        return "Platform Defined";
    default:
        return "None";
    }
}

const char* UserInputDfb::remoteDriverIdentifier(int device)
{
    switch (device) {
    case 1:
        return "KELO:DFB:RF01:1.0";
    case 2:
        return "KELO:DFB:IR01:1.0";
    case 3:
        return "KELO:DFB:MOUSE01:1.0";
    case 4:
        return "KELO:DFB:KEYBOARD01:1.0";
    default:
        return "KELO:DFB:UNKNOWN";
    }
}

int32 UserInputDfb::inject(const Event& /*event*/)
{
    return SUCCESS;
}

int32 UserInputDfb::enableDevice(int /*device*/)
{
    return SUCCESS;
}

int32 UserInputDfb::disableDevice(int /*device*/)
{
    return SUCCESS;
}

} // namespace KELO
