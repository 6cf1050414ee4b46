#ifndef ARM11MTK_MYCOREEVENTLISTENER_H
#define ARM11MTK_MYCOREEVENTLISTENER_H
// Turns the core's user-level events into host messages: a user's quit request sets the quit
// flag, an idle user starts the host's screen saver (KELO_MSG_SS_START), and the named event
// "newPlaybackSession" without arguments stops it (KELO_MSG_SS_STOP). Runs on the core's UI
// main thread; it only prints, sends on the host queue and sets _fgKeloQuit.
#include "core/Core.h"

class MyCoreEventListener : public KELO::Core::EventListener
{
public:
    void Callback(const KELO::Core::Event& event) override;
};

#endif
