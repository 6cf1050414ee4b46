#ifndef SIM_MIRROR_MIRRORKEYS_H
#define SIM_MIRROR_MIRRORKEYS_H
// The desktop key -> DirectFB key symbol table of the mirror. Each row maps a run of
// consecutive SDL key codes [first, last] to consecutive key symbols starting at `symbol`;
// single keys have first == last. Runs never overlap, so a key has at most one symbol. The
// symbols are those the device's remote and keyboard produce, so the port's key map
// translates them unchanged. Keys outside every run are not forwarded.
#include "kapi/KapiTypes.h"

#include <SDL_keycode.h>

#include <span>

namespace SimMirror {

struct MirrorKey
{
    SDL_Keycode first;
    SDL_Keycode last;
    uint32 symbol;       // symbol of `first`; later keys of the run count up from it
    const char* keys;    // the desktop key(s), for the key list in the documentation
    const char* meaning; // the remote key it stands for
};

// The whole table, in documentation order.
std::span<const MirrorKey> mirrorKeys();

// The DirectFB key symbol for a desktop key, or 0 when the key is not forwarded.
uint32 mirrorKeySymbol(SDL_Keycode key);

} // namespace SimMirror

#endif
