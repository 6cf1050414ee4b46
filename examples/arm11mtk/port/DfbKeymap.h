#ifndef ARM11MTK_PORT_DFBKEYMAP_H
#define ARM11MTK_PORT_DFBKEYMAP_H
// The device's fixed key map and the button-code labels.
//
// dfbKeymap is an ordered table of {key value, label, shifted label, code}: the key value is
// compared with a DirectFB window event's key symbol, the code is a UserInput::EventType, and
// EVENT_TYPE_UNKNOWN (88) marks a character key. The table ends with the row whose key value is
// kDfbKeymapEnd (0xf600); a search stops there, so that value itself is never found. Labels are
// static texts that live as long as the process (events carry their addresses).
//
// The button-code label table covers codes 0..88: 0..68 and 88 have their names, 69..87 answer
// "ERROR" (they were added to the codes without labels), and every code outside 0..88 "ERROR".
#include "core/UserInputDriver.h"
#include "kapi/KapiTypes.h"

namespace KELO {

struct DfbKeymapEntry
{
    uint32 keyValue;
    const char* label;
    const char* shiftedLabel;
    UserInput::EventType code;
};

constexpr uint32 kDfbKeymapEnd = 0xf600;

extern const DfbKeymapEntry dfbKeymap[];

// The first row before the end row whose key value is keySymbol; null when there is none.
const DfbKeymapEntry* findDfbKey(uint32 keySymbol);

// The label of a button code ("NONE" ... "WHEEL_DOWN", "UNKNOWN", else "ERROR").
const char* buttonCodeLabel(int32 code);

} // namespace KELO

#endif
