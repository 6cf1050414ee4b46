#ifndef CORE_USERINPUTDRIVER_H
#define CORE_USERINPUTDRIVER_H
// User input: the driver hands out one UserInput, whose blocking wait() delivers the device's
// remote-control, keyboard and pointer events. An event carries its category and four
// category-dependent argument words (see Event::Arg). Operations returning int32 give a
// KELO::Status.
//
// Threads: wait() blocks the calling (input) thread until an event arrives, the time-out
// passes or another thread calls cancel_wait(); every other operation may be called from any
// thread.
#include "core/KeloStatus.h"
#include "kapi/KapiTypes.h"

namespace KELO {

class UserInput
{
public:
    enum EventCategory : int32
    {
        CATEGORY_NONE = 0,
        BUTTON = 1,
        UNICODE_BUTTON = 2,
        SCALAR = 3,
        MOTION = 4,
        PLATFORM_DEFINED = 5
    };
    enum ButtonAction : int32
    {
        BUTTON_PRESS = 1,
        BUTTON_RELEASE = 2
    };
    enum MotionPointerMode : int32
    {
        MPTRM_HIDDEN = 0,
        MPTRM_SELECT = 1,
        MPTRM_BUSY = 2,
        MPTRM_TEXT = 3,
        MPTRM_DRAG = 4,
        MPTRM_FORBIDDEN = 5
    };
    // Button codes. EVENT_TYPE_UNKNOWN (88) also marks a character key in a device key map.
    enum EventType : int32
    {
        EVENT_TYPE_NONE = 0,
        EVENT_TYPE_POWER = 1,
        EVENT_TYPE_HOME = 2,
        EVENT_TYPE_PLAY_PAUSE = 3,
        EVENT_TYPE_BACK = 4,
        EVENT_TYPE_MORE = 5,
        EVENT_TYPE_SELECT = 6,
        EVENT_TYPE_DIRECTION_UP = 7,
        EVENT_TYPE_DIRECTION_DOWN = 8,
        EVENT_TYPE_DIRECTION_LEFT = 9,
        EVENT_TYPE_DIRECTION_RIGHT = 10,
        EVENT_TYPE_POWER_ON = 11,
        EVENT_TYPE_POWER_OFF = 12,
        EVENT_TYPE_PLAY = 13,
        EVENT_TYPE_PAUSE = 14,
        EVENT_TYPE_SKIP_FW = 15,
        EVENT_TYPE_SKIP_BW = 16,
        EVENT_TYPE_FAST_FW = 17,
        EVENT_TYPE_FAST_BW = 18,
        EVENT_TYPE_GUIDE = 19,
        EVENT_TYPE_MENU = 20,
        EVENT_TYPE_INFO = 21,
        EVENT_TYPE_EXIT = 22,
        EVENT_TYPE_FORMAT = 23,
        EVENT_TYPE_PREV = 24,
        EVENT_TYPE_CC = 25,
        EVENT_TYPE_SLEEP = 26,
        EVENT_TYPE_SWAP = 27,
        EVENT_TYPE_PIP = 28,
        EVENT_TYPE_ENTER = 29,
        EVENT_TYPE_DISPLAY = 30,
        EVENT_TYPE_PAGE_UP = 31,
        EVENT_TYPE_PAGE_DOWN = 32,
        EVENT_TYPE_WHEEL_CLICK = 33,
        EVENT_TYPE_KEY_BACKSPACE = 34,
        EVENT_TYPE_KEY_ESCAPE = 35,
        EVENT_TYPE_KEY_RETURN = 36,
        EVENT_TYPE_KEY_SPACE = 37,
        EVENT_TYPE_KEY_CLEAR = 38,
        EVENT_TYPE_KEY_TAB = 39,
        EVENT_TYPE_KEY_INSERT = 40,
        EVENT_TYPE_KEY_DELETE = 41,
        EVENT_TYPE_KEY_HOME = 42,
        EVENT_TYPE_KEY_END = 43,
        EVENT_TYPE_KEY_PAGE_UP = 44,
        EVENT_TYPE_KEY_PAGE_DOWN = 45,
        EVENT_TYPE_KEY_F1 = 46,
        EVENT_TYPE_KEY_F2 = 47,
        EVENT_TYPE_KEY_F3 = 48,
        EVENT_TYPE_KEY_F4 = 49,
        EVENT_TYPE_KEY_F5 = 50,
        EVENT_TYPE_KEY_F6 = 51,
        EVENT_TYPE_KEY_F7 = 52,
        EVENT_TYPE_KEY_F8 = 53,
        EVENT_TYPE_KEY_F9 = 54,
        EVENT_TYPE_KEY_F10 = 55,
        EVENT_TYPE_KEY_F11 = 56,
        EVENT_TYPE_KEY_F12 = 57,
        EVENT_TYPE_KEY_ARROW_UP = 58,
        EVENT_TYPE_KEY_ARROW_DOWN = 59,
        EVENT_TYPE_KEY_ARROW_LEFT = 60,
        EVENT_TYPE_KEY_ARROW_RIGHT = 61,
        EVENT_TYPE_KEY_CONTROL = 62,
        EVENT_TYPE_KEY_SHIFT = 63,
        EVENT_TYPE_KEY_ALT = 64,
        EVENT_TYPE_KEY_UP = 65,
        EVENT_TYPE_KEY_DOWN = 66,
        EVENT_TYPE_WHEEL_UP = 67,
        EVENT_TYPE_WHEEL_DOWN = 68,
        EVENT_TYPE_STOP = 69,
        EVENT_TYPE_BLUE = 70,
        EVENT_TYPE_RED = 71,
        EVENT_TYPE_YELLOW = 72,
        EVENT_TYPE_GREEN = 73,
        EVENT_TYPE_NUMBER_0 = 74,
        EVENT_TYPE_NUMBER_1 = 75,
        EVENT_TYPE_NUMBER_2 = 76,
        EVENT_TYPE_NUMBER_3 = 77,
        EVENT_TYPE_NUMBER_4 = 78,
        EVENT_TYPE_NUMBER_5 = 79,
        EVENT_TYPE_NUMBER_6 = 80,
        EVENT_TYPE_NUMBER_7 = 81,
        EVENT_TYPE_NUMBER_8 = 82,
        EVENT_TYPE_NUMBER_9 = 83,
        EVENT_TYPE_WIDGETS = 84,
        EVENT_TYPE_HELP = 85,
        EVENT_TYPE_SUBTITLE = 86,
        EVENT_TYPE_SEARCH = 87,
        EVENT_TYPE_UNKNOWN = 88
    };

    struct Event
    {
        // Per category: BUTTON {action, 0, EventType code, 0}; UNICODE_BUTTON {action, key
        // value, label text, 0}; SCALAR {value, EventType code, repeat count, 0}; MOTION {x, y,
        // z}; PLATFORM_DEFINED {arg0, arg1, text}. Label and text pointers belong to the driver
        // and stay valid for the process's life.
        union Arg {
            int32 words[4];
            struct
            {
                int32 action;
                int32 reserved1;
                int32 code;
                int32 reserved3;
            } button;
            struct
            {
                int32 action;
                int32 keyValue;
                const char* label;
            } unicode;
            struct
            {
                int32 value;
                int32 code;
                int32 repeatCount;
                int32 reserved3;
            } scalar;
            struct
            {
                int32 x;
                int32 y;
                int32 z;
            } motion;
            struct
            {
                int32 arg0;
                int32 arg1;
                const char* text;
            } platform;
        };

        uint16 device_id = 0;
        EventCategory evCategory = CATEGORY_NONE;
        int64 timestamp = 0; // monotonic microseconds
        Arg arg = {};
    };

    UserInput() = default;
    UserInput(const UserInput&) = delete;
    UserInput& operator=(const UserInput&) = delete;

    // Slot order is fixed.
    virtual ~UserInput() = default;
    // -1 waits without a limit. ABORT when cancel_wait() ended the wait.
    virtual int32 wait(Event* event, int timeoutMs) = 0;
    virtual int32 cancel_wait() = 0;
    virtual const char* getLabelFromEvent(Event& event) = 0;
    virtual const char* remoteDriverIdentifier(int device) = 0;
    virtual int32 inject(const Event& event) = 0;
    virtual int32 enableDevice(int device) = 0;
    virtual int32 disableDevice(int device) = 0;
    // Base: nothing to do.
    virtual int32 warpMotionDevice(int /*device*/, MotionPointerMode /*mode*/, int /*x*/, int /*y*/,
                                   int /*z*/)
    {
        return SUCCESS;
    }
    virtual int32 setMotionPointerMode(int /*device*/, MotionPointerMode /*mode*/)
    {
        return SUCCESS;
    }
};

class UserInputDriver
{
public:
    UserInputDriver() = default;
    UserInputDriver(const UserInputDriver&) = delete;
    UserInputDriver& operator=(const UserInputDriver&) = delete;

    // Slot order is fixed. The user input belongs to the driver.
    virtual ~UserInputDriver() = default;
    virtual int32 GetUserInput(UserInput** input) = 0;
};

} // namespace KELO

#endif
