#ifndef ARM11MTK_PLAYBACKCONTROL_H
#define ARM11MTK_PLAYBACKCONTROL_H
// Opening and closing the platform's playback-control and configuration clients around each
// run of the core, the decoder warm-up that runs once per opening, and the copy-protection
// reset done at closing. All of them run on the entry's thread except dumyplay, which runs on
// a detached thread of its own; failures are printed and never stop the sequence.

// Sleeps a second, opens the playback controller (gh_handle) and the configuration client
// (hCfgHandle), reads the copy-protection settings and starts the dumyplay thread.
void mpbcinit();
// Closes and terminates both clients (resetting gh_handle, not hCfgHandle).
void mpbcuninit();
// Primes the decoder: a push-model transport-stream play that stops at once. Skipped when the
// program is quitting. Holds _StartPlayer at 1 while it uses the controller.
void* dumyplay(void* unused);
// Restores the copy-protection settings read at start (only on models whose SoC has the
// controls).
void copyprotectionreset();

#endif
