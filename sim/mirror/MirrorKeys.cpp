// MirrorKeys: the table itself. Letters and digits are runs; every remote-only key sits on a
// function, navigation or media key so that no letter is taken from text entry.
#include "MirrorKeys.h"

namespace SimMirror {

namespace {

constexpr MirrorKey kKeys[] = {
    {SDLK_a, SDLK_z, 0xf601, "a-z", "letters a-z"},
    {SDLK_0, SDLK_9, 0x30, "0-9", "number keys 0-9"},
    {SDLK_KP_1, SDLK_KP_9, 0x31, "keypad 1-9", "number keys 1-9"},
    {SDLK_KP_0, SDLK_KP_0, 0x30, "keypad 0", "number key 0"},
    {SDLK_UP, SDLK_UP, 0xf002, "Up", "UP"},
    {SDLK_DOWN, SDLK_DOWN, 0xf003, "Down", "DOWN"},
    {SDLK_LEFT, SDLK_LEFT, 0xf000, "Left", "LEFT"},
    {SDLK_RIGHT, SDLK_RIGHT, 0xf001, "Right", "RIGHT"},
    {SDLK_RETURN, SDLK_RETURN, 0xf00c, "Return", "SELECT"},
    {SDLK_KP_ENTER, SDLK_KP_ENTER, 0xf00c, "keypad Enter", "SELECT"},
    {SDLK_ESCAPE, SDLK_ESCAPE, 0xf048, "Escape", "RETURN (back)"},
    {SDLK_BACKSPACE, SDLK_BACKSPACE, 0xf648, "Backspace", "BACKSPACE"},
    {SDLK_F1, SDLK_F1, 0xf042, "F1", "RED"},
    {SDLK_F2, SDLK_F2, 0xf043, "F2", "GREEN"},
    {SDLK_F3, SDLK_F3, 0xf044, "F3", "YELLOW"},
    {SDLK_F4, SDLK_F4, 0xf045, "F4", "BLUE"},
    {SDLK_SPACE, SDLK_SPACE, 0xf00a, "Space", "PAUSE"},
    {SDLK_F5, SDLK_F5, 0xf051, "F5", "PLAY"},
    {SDLK_F6, SDLK_F6, 0xf052, "F6", "STOP"},
    {SDLK_F7, SDLK_F7, 0xf059, "F7", "REWIND"},
    {SDLK_F8, SDLK_F8, 0xf05a, "F8", "FASTFORWARD"},
    {SDLK_F9, SDLK_F9, 0xf05b, "F9", "PREVIOUS"},
    {SDLK_F10, SDLK_F10, 0xf05c, "F10", "NEXT"},
    {SDLK_F11, SDLK_F11, 0xf014, "F11", "INFO"},
    {SDLK_F12, SDLK_F12, 0xf020, "F12", "SUBTITLE"},
    {SDLK_HOME, SDLK_HOME, 0xf01f, "Home", "TOPMENU"},
    {SDLK_END, SDLK_END, 0xf012, "End", "POPUPMENU"},
    {SDLK_APPLICATION, SDLK_APPLICATION, 0xf012, "Menu", "POPUPMENU"},
    {SDLK_AUDIOPLAY, SDLK_AUDIOPLAY, 0xf051, "media Play", "PLAY"},
    {SDLK_AUDIOSTOP, SDLK_AUDIOSTOP, 0xf052, "media Stop", "STOP"},
    {SDLK_AUDIOREWIND, SDLK_AUDIOREWIND, 0xf059, "media Rewind", "REWIND"},
    {SDLK_AUDIOFASTFORWARD, SDLK_AUDIOFASTFORWARD, 0xf05a, "media Fast Forward", "FASTFORWARD"},
    {SDLK_AUDIOPREV, SDLK_AUDIOPREV, 0xf05b, "media Previous", "PREVIOUS"},
    {SDLK_AUDIONEXT, SDLK_AUDIONEXT, 0xf05c, "media Next", "NEXT"},
};

} // namespace

std::span<const MirrorKey> mirrorKeys()
{
    return kKeys;
}

uint32 mirrorKeySymbol(SDL_Keycode key)
{
    for (const MirrorKey& row : kKeys) {
        if (key >= row.first && key <= row.last)
            return row.symbol + static_cast<uint32>(key - row.first);
    }
    return 0;
}

} // namespace SimMirror
