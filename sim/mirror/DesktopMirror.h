#ifndef SIM_MIRROR_DESKTOPMIRROR_H
#define SIM_MIRROR_DESKTOPMIRROR_H
// The desktop mirror: a development stand-in for the device's screen and remote. Its own thread
// owns every SDL object (video subsystem, window, renderer, texture, event loop); nothing else
// calls SDL. The graphics layer's flip observer copies each flipped primary surface, as native
// ARGB words, into `m_pending` under `m_lock` and marks it new; the mirror thread swaps it into
// `m_shown`, uploads that to the texture and presents. `m_shown` is written only by the mirror
// thread, and only under `m_lock`. Desktop keys found in the mirror key table are sent to the
// application's DirectFB window as window key events, so the port's input driver reads them
// like remote keys.
//
// Threads: start/stop/the destructor on one thread (the entry's), after the multimedia driver
// exists and before it is destroyed; the counters, waits and frame copies from any thread. One
// mirror runs per process at a time (the flip observer is process-wide). Closing the window ends
// the mirror thread but not the client; stop() then only joins it.
#include "kapi/KapiTypes.h"

#include <directfb.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

union SDL_Event;

namespace SimMirror {

struct MirrorOptions
{
    std::string title = "Kelo client mirror";
    int windowWidth = 1280;
    int windowHeight = 720;
    // Keep a copy of each presented picture as the renderer drew it (for tests; costs a read-back
    // per frame).
    bool keepPresented = false;
};

// A copy of a picture: native ARGB words, row after row without padding.
struct MirrorFrame
{
    int width = 0;
    int height = 0;
    std::vector<uint32> pixels;
};

class DesktopMirror
{
public:
    DesktopMirror();
    ~DesktopMirror();
    DesktopMirror(const DesktopMirror&) = delete;
    DesktopMirror& operator=(const DesktopMirror&) = delete;

    // Starts the mirror thread and waits until its window is up. False (logged) when DirectFB is
    // not running or SDL cannot open the window; true at once when already running.
    bool start(const MirrorOptions& options = MirrorOptions());
    // Ends and joins the mirror thread; safe when not started or already closed.
    void stop();

    // True from a successful start until the window is closed or stop() is called.
    bool running() const;
    uint64 framesCopied() const;
    uint64 framesShown() const;
    uint64 keysSent() const;
    uint64 keysIgnored() const;

    // Wait (up to timeoutMs) until at least `count` frames were shown / keys handled (sent or
    // ignored) / the mirror thread ended; false on timeout.
    bool waitForFramesShown(uint64 count, int timeoutMs) const;
    bool waitForKeysHandled(uint64 count, int timeoutMs) const;
    bool waitUntilClosed(int timeoutMs) const;

    // The frame last taken for display; false before the first one.
    bool lastShownFrame(MirrorFrame* frame) const;
    // The picture last presented, read back from the renderer (keepPresented only).
    bool lastPresentedFrame(MirrorFrame* frame) const;

private:
    struct SdlObjects;

    static void onFlip_i(IDirectFBSurface* primary, void* context);
    void copyFrame_i(IDirectFBSurface* primary);
    void run_i();
    bool openWindow_i(SdlObjects& sdl);
    void closeWindow_i(SdlObjects& sdl);
    bool handleEvent_i(const SDL_Event& event, SdlObjects& sdl);
    void sendKey_i(int32 keycode, bool down);
    void present_i(SdlObjects& sdl, bool newFrame);
    void keepPresented_i(SdlObjects& sdl);
    bool waitFor_i(int timeoutMs, const std::function<bool()>& done) const;

    MirrorOptions m_options;
    std::thread m_thread;

    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    enum class Phase
    {
        Idle,
        Starting,
        Running,
        Ended
    };
    Phase m_phase = Phase::Idle;  // guarded by m_lock
    bool m_stopRequested = false; // guarded by m_lock
    MirrorFrame m_pending;        // guarded by m_lock; written by the flip observer
    bool m_pendingNew = false;    // guarded by m_lock
    MirrorFrame m_shown;          // guarded by m_lock for writes; read freely by the mirror thread
    MirrorFrame m_presented;      // guarded by m_lock
    uint64 m_framesCopied = 0;    // guarded by m_lock
    uint64 m_framesShown = 0;     // guarded by m_lock
    uint64 m_keysSent = 0;        // guarded by m_lock
    uint64 m_keysIgnored = 0;     // guarded by m_lock
    bool m_formatWarned = false;  // flip observer only
};

// Starts the process's mirror when KELO_MIRROR=1; true when it runs. Call after
// CreateDfbMultimediaDriver(). Failures (no display, SDL errors) are logged; the client runs on
// without a mirror.
bool startDesktopMirrorIfRequested();
// Stops and joins the mirror (safe when not started). Call before DestroyDfbMultimediaDriver().
void stopDesktopMirror();

} // namespace SimMirror

#endif
