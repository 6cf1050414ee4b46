// The key map rows in search order (character keys first, then the remote's keys) and the
// label table indexed by button code. Both are constant data with static storage.
#include "DfbKeymap.h"

namespace KELO {

namespace {

constexpr UserInput::EventType kChar = UserInput::EVENT_TYPE_UNKNOWN;
constexpr const char* kNoShift = "";

// Indexed by button code 0..88.
const char* const kButtonLabels[] = {
    "NONE",
    "POWER",
    "HOME",
    "PLAY_PAUSE",
    "BACK",
    "MORE",
    "SELECT",
    "DIRECTION_UP",
    "DIRECTION_DOWN",
    "DIRECTION_LEFT",
    "DIRECTION_RIGHT",
    "POWER_ON",
    "POWER_OFF",
    "PLAY",
    "PAUSE",
    "SKIP_FW",
    "SKIP_BW",
    "FAST_FW",
    "FAST_BW",
    "GUIDE",
    "MENU",
    "INFO",
    "EXIT",
    "FORMAT",
    "PREV",
    "CC",
    "SLEEP",
    "SWAP",
    "PIP",
    "ENTER",
    "DISPLAY",
    "PAGE_UP",
    "PAGE_DOWN",
    "WHEEL_CLICK",
    "KEY_BACKSPACE",
    "KEY_ESCAPE",
    "KEY_RETURN",
    "KEY_SPACE",
    "KEY_CLEAR",
    "KEY_TAB",
    "KEY_INSERT",
    "KEY_DELETE",
    "KEY_HOME",
    "KEY_END",
    "KEY_PAGE_UP",
    "KEY_PAGE_DOWN",
    "KEY_F1",
    "KEY_F2",
    "KEY_F3",
    "KEY_F4",
    "KEY_F5",
    "KEY_F6",
    "KEY_F7",
    "KEY_F8",
    "KEY_F9",
    "KEY_F10",
    "KEY_F11",
    "KEY_F12",
    "KEY_ARROW_UP",
    "KEY_ARROW_DOWN",
    "KEY_ARROW_LEFT",
    "KEY_ARROW_RIGHT",
    "KEY_CONTROL",
    "KEY_SHIFT",
    "KEY_ALT",
    "KEY_UP",
    "KEY_DOWN",
    "WHEEL_UP",
    "WHEEL_DOWN",
    // 69..87 (STOP ... SEARCH) never got labels of their own.
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "ERROR",
    "UNKNOWN",
};
static_assert(sizeof(kButtonLabels) / sizeof(kButtonLabels[0]) ==
              UserInput::EVENT_TYPE_UNKNOWN + 1);

} // namespace

const DfbKeymapEntry dfbKeymap[] = {
    {0xf601, "a", "A", kChar},
    {0xf602, "b", "B", kChar},
    {0xf603, "c", "C", kChar},
    {0xf604, "d", "D", kChar},
    {0xf605, "e", "E", kChar},
    {0xf606, "f", "F", kChar},
    {0xf607, "g", "G", kChar},
    {0xf608, "h", "H", kChar},
    {0xf609, "i", "I", kChar},
    {0xf60a, "j", "J", kChar},
    {0xf60b, "k", "K", kChar},
    {0xf60c, "l", "L", kChar},
    {0xf60d, "m", "M", kChar},
    {0xf60e, "n", "N", kChar},
    {0xf60f, "o", "O", kChar},
    {0xf610, "p", "P", kChar},
    {0xf611, "q", "Q", kChar},
    {0xf612, "r", "R", kChar},
    {0xf613, "s", "S", kChar},
    {0xf614, "t", "T", kChar},
    {0xf615, "u", "U", kChar},
    {0xf616, "v", "V", kChar},
    {0xf617, "w", "W", kChar},
    {0xf618, "x", "X", kChar},
    {0xf619, "y", "Y", kChar},
    {0xf61a, "z", "Z", kChar},
    {0xf61b, "0", ")", kChar},
    {0xf61c, "1", "!", kChar},
    {0xf61d, "2", "@", kChar},
    {0xf61e, "3", "#", kChar},
    {0xf61f, "4", "$", kChar},
    {0xf620, "5", "%", kChar},
    {0xf621, "6", "^", kChar},
    {0xf622, "7", "&", kChar},
    {0xf623, "8", "*", kChar},
    {0xf624, "9", "(", kChar},
    {0x30, "0", kNoShift, UserInput::EVENT_TYPE_NUMBER_0},
    {0x31, "1", kNoShift, UserInput::EVENT_TYPE_NUMBER_1},
    {0x32, "2", kNoShift, UserInput::EVENT_TYPE_NUMBER_2},
    {0x33, "3", kNoShift, UserInput::EVENT_TYPE_NUMBER_3},
    {0x34, "4", kNoShift, UserInput::EVENT_TYPE_NUMBER_4},
    {0x35, "5", kNoShift, UserInput::EVENT_TYPE_NUMBER_5},
    {0x36, "6", kNoShift, UserInput::EVENT_TYPE_NUMBER_6},
    {0x37, "7", kNoShift, UserInput::EVENT_TYPE_NUMBER_7},
    {0x38, "8", kNoShift, UserInput::EVENT_TYPE_NUMBER_8},
    {0x39, "9", kNoShift, UserInput::EVENT_TYPE_NUMBER_9},
    {0xf043, "GREEN", kNoShift, UserInput::EVENT_TYPE_GREEN},
    {0xf045, "BLUE", kNoShift, UserInput::EVENT_TYPE_BLUE},
    {0xf042, "RED", kNoShift, UserInput::EVENT_TYPE_RED},
    {0xf044, "YELLOW", kNoShift, UserInput::EVENT_TYPE_YELLOW},
    {0xf648, "BACKSPACE", kNoShift, UserInput::EVENT_TYPE_KEY_BACKSPACE},
    // The remote's RETURN, INFO and TOPMENU keys mean back, more and home to the UI.
    {0xf048, "RETURN", kNoShift, UserInput::EVENT_TYPE_BACK},
    {0xf00c, "SELECT", kNoShift, UserInput::EVENT_TYPE_SELECT},
    {0xf002, "UP", kNoShift, UserInput::EVENT_TYPE_DIRECTION_UP},
    {0xf003, "DOWN", kNoShift, UserInput::EVENT_TYPE_DIRECTION_DOWN},
    {0xf001, "RIGHT", kNoShift, UserInput::EVENT_TYPE_DIRECTION_RIGHT},
    {0xf000, "LEFT", kNoShift, UserInput::EVENT_TYPE_DIRECTION_LEFT},
    {0xf00a, "PAUSE", kNoShift, UserInput::EVENT_TYPE_PAUSE},
    {0xf052, "STOP", kNoShift, UserInput::EVENT_TYPE_STOP},
    {0xf014, "INFO", kNoShift, UserInput::EVENT_TYPE_MORE},
    {0xf051, "PLAY", kNoShift, UserInput::EVENT_TYPE_PLAY},
    {0xf059, "REWIND", kNoShift, UserInput::EVENT_TYPE_FAST_BW},
    {0xf05a, "FASTFORWARD", kNoShift, UserInput::EVENT_TYPE_FAST_FW},
    {0xf05c, "NEXT", kNoShift, UserInput::EVENT_TYPE_SKIP_FW},
    {0xf05b, "PREVIOUS", kNoShift, UserInput::EVENT_TYPE_SKIP_BW},
    {0xf01f, "TOPMENU", kNoShift, UserInput::EVENT_TYPE_HOME},
    {0xf012, "POPUPMENU", kNoShift, UserInput::EVENT_TYPE_MENU},
    {0xf020, "SUBTITLE", kNoShift, UserInput::EVENT_TYPE_SUBTITLE},
    {kDfbKeymapEnd, "", "", kChar},
};

const DfbKeymapEntry* findDfbKey(uint32 keySymbol)
{
    for (const DfbKeymapEntry* entry = dfbKeymap; entry->keyValue != kDfbKeymapEnd; ++entry) {
        if (entry->keyValue == keySymbol)
            return entry;
    }
    return nullptr;
}

const char* buttonCodeLabel(int32 code)
{
    if (code < 0 || code > UserInput::EVENT_TYPE_UNKNOWN)
        return "ERROR";
    return kButtonLabels[code];
}

} // namespace KELO
