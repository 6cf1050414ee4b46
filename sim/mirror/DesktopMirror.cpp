// DesktopMirror: the mirror thread's loop (events, then the newest frame, then present), the
// flip observer's copy and the key forwarding. Frames that arrive faster than the loop runs
// replace each other in `m_pending`; only the newest is shown. Transparent parts of the UI
// frame are drawn over black, where the device would show the video plane.
#include "DesktopMirror.h"

#include "DfbInit.h"
#include "DfbResult.h"
#include "GraphicsLayerDfb.h"
#include "MirrorKeys.h"
#include "kapi/vLog.h"

#include <SDL.h>

#include <sys/time.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace SimMirror {

namespace {

// The loop wakes at least this often to see a new frame or a stop request.
constexpr int kWaitMs = 10;

// Unlocks a locked DirectFB surface on every path out of the copy.
class SurfaceReadLock
{
public:
    explicit SurfaceReadLock(IDirectFBSurface* surface) : m_surface(surface)
    {
        if (m_surface->Lock(m_surface, DSLF_READ, &m_pixels, &m_pitch) != DFB_OK)
            m_pixels = nullptr;
    }
    ~SurfaceReadLock()
    {
        if (m_pixels != nullptr)
            m_surface->Unlock(m_surface);
    }
    SurfaceReadLock(const SurfaceReadLock&) = delete;
    SurfaceReadLock& operator=(const SurfaceReadLock&) = delete;

    const uint8* row(int y) const
    {
        return static_cast<const uint8*>(m_pixels) + static_cast<ptrdiff_t>(y) * m_pitch;
    }
    bool locked() const { return m_pixels != nullptr; }

private:
    IDirectFBSurface* m_surface;
    void* m_pixels = nullptr;
    int m_pitch = 0;
};

} // namespace

struct DesktopMirror::SdlObjects
{
    bool videoStarted = false;
    SDL_Window* window = nullptr;
    SDL_Renderer* renderer = nullptr;
    SDL_Texture* texture = nullptr;
    int textureWidth = 0;
    int textureHeight = 0;
    bool closed = false; // the user closed the window
    bool redraw = false; // the window needs the current picture again
};

DesktopMirror::DesktopMirror() = default;

DesktopMirror::~DesktopMirror()
{
    stop();
}

bool DesktopMirror::start(const MirrorOptions& options)
{
    {
        std::unique_lock<std::mutex> lock(m_lock);
        if (m_phase == Phase::Running)
            return true;
    }
    // A mirror whose window was closed has ended its thread; join it before starting anew.
    stop();
    if (KELO::DfbInit::dfb() == nullptr || KELO::DfbInit::window() == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR,
                        "Desktop mirror: DirectFB is not running, no mirror");
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_options = options;
        m_phase = Phase::Starting;
        m_stopRequested = false;
        m_pending = MirrorFrame();
        m_pendingNew = false;
        m_shown = MirrorFrame();
        m_presented = MirrorFrame();
        m_framesCopied = m_framesShown = m_keysSent = m_keysIgnored = 0;
        m_formatWarned = false;
    }
    try {
        m_thread = std::thread(&DesktopMirror::run_i, this);
    } catch (const std::exception& error) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR,
                        "Desktop mirror: cannot start its thread: %s", error.what());
        std::lock_guard<std::mutex> lock(m_lock);
        m_phase = Phase::Idle;
        return false;
    }
    std::unique_lock<std::mutex> lock(m_lock);
    m_changed.wait(lock, [this] { return m_phase != Phase::Starting; });
    if (m_phase == Phase::Running)
        return true;
    lock.unlock();
    stop();
    return false;
}

void DesktopMirror::stop()
{
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_phase == Phase::Idle)
            return;
        m_stopRequested = true;
    }
    if (m_thread.joinable())
        m_thread.join();
    std::lock_guard<std::mutex> lock(m_lock);
    m_phase = Phase::Idle;
    m_stopRequested = false;
}

bool DesktopMirror::running() const
{
    std::lock_guard<std::mutex> lock(m_lock);
    return m_phase == Phase::Running;
}

uint64 DesktopMirror::framesCopied() const
{
    std::lock_guard<std::mutex> lock(m_lock);
    return m_framesCopied;
}

uint64 DesktopMirror::framesShown() const
{
    std::lock_guard<std::mutex> lock(m_lock);
    return m_framesShown;
}

uint64 DesktopMirror::keysSent() const
{
    std::lock_guard<std::mutex> lock(m_lock);
    return m_keysSent;
}

uint64 DesktopMirror::keysIgnored() const
{
    std::lock_guard<std::mutex> lock(m_lock);
    return m_keysIgnored;
}

bool DesktopMirror::waitFor_i(int timeoutMs, const std::function<bool()>& done) const
{
    std::unique_lock<std::mutex> lock(m_lock);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), done);
}

bool DesktopMirror::waitForFramesShown(uint64 count, int timeoutMs) const
{
    return waitFor_i(timeoutMs, [&] { return m_framesShown >= count; });
}

bool DesktopMirror::waitForKeysHandled(uint64 count, int timeoutMs) const
{
    return waitFor_i(timeoutMs, [&] { return m_keysSent + m_keysIgnored >= count; });
}

bool DesktopMirror::waitUntilClosed(int timeoutMs) const
{
    return waitFor_i(timeoutMs, [&] { return m_phase == Phase::Ended || m_phase == Phase::Idle; });
}

bool DesktopMirror::lastShownFrame(MirrorFrame* frame) const
{
    std::lock_guard<std::mutex> lock(m_lock);
    if (frame == nullptr || m_shown.pixels.empty())
        return false;
    *frame = m_shown;
    return true;
}

bool DesktopMirror::lastPresentedFrame(MirrorFrame* frame) const
{
    std::lock_guard<std::mutex> lock(m_lock);
    if (frame == nullptr || m_presented.pixels.empty())
        return false;
    *frame = m_presented;
    return true;
}

void DesktopMirror::onFlip_i(IDirectFBSurface* primary, void* context)
{
    // Runs inside the layer update: nothing may escape into it.
    try {
        static_cast<DesktopMirror*>(context)->copyFrame_i(primary);
    } catch (...) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR,
                        "Desktop mirror: no memory for a frame copy, frame skipped");
    }
}

// Called under the driver's mutex (the layer update holds it), so DirectFB is used directly.
void DesktopMirror::copyFrame_i(IDirectFBSurface* primary)
{
    if (primary == nullptr)
        return;
    int width = 0;
    int height = 0;
    DFBSurfacePixelFormat format = DSPF_UNKNOWN;
    primary->GetSize(primary, &width, &height);
    primary->GetPixelFormat(primary, &format);
    if ((format != DSPF_ARGB && format != DSPF_RGB32) || width <= 0 || height <= 0) {
        if (!m_formatWarned && vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_WARNING,
                        "Desktop mirror: primary surface %dx%d format 0x%x cannot be mirrored",
                        width, height, static_cast<unsigned>(format));
        m_formatWarned = true;
        return;
    }
    SurfaceReadLock surface(primary);
    if (!surface.locked())
        return;
    const bool opaque = format == DSPF_RGB32;
    const size_t rowWords = static_cast<size_t>(width);
    std::lock_guard<std::mutex> lock(m_lock);
    m_pending.width = width;
    m_pending.height = height;
    m_pending.pixels.resize(rowWords * static_cast<size_t>(height));
    for (int y = 0; y < height; ++y) {
        uint32* out = m_pending.pixels.data() + rowWords * static_cast<size_t>(y);
        std::memcpy(out, surface.row(y), rowWords * sizeof(uint32));
        if (opaque) {
            for (size_t x = 0; x < rowWords; ++x)
                out[x] |= 0xFF000000u;
        }
    }
    m_pendingNew = true;
    ++m_framesCopied;
    m_changed.notify_all();
}

void DesktopMirror::run_i()
{
    SdlObjects sdl;
    const bool opened = openWindow_i(sdl);
    // Observing before start() returns: a frame flipped right after it is mirrored.
    if (opened)
        KELO::GraphicsLayerDfb::setFlipObserver(&DesktopMirror::onFlip_i, this);
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_phase = opened ? Phase::Running : Phase::Ended;
        m_changed.notify_all();
    }
    if (!opened) {
        closeWindow_i(sdl);
        return;
    }
    for (;;) {
        SDL_Event event;
        if (SDL_WaitEventTimeout(&event, kWaitMs) != 0) {
            do {
                if (!handleEvent_i(event, sdl))
                    sdl.closed = true;
            } while (SDL_PollEvent(&event) != 0);
        }
        bool newFrame = false;
        {
            std::lock_guard<std::mutex> lock(m_lock);
            if (m_stopRequested)
                break;
            if (m_pendingNew) {
                std::swap(m_pending, m_shown);
                m_pendingNew = false;
                newFrame = true;
            }
        }
        if (sdl.closed)
            break;
        if (newFrame || sdl.redraw)
            present_i(sdl, newFrame);
    }
    // Waits for a running observer call to end, so no copy lands after this point.
    KELO::GraphicsLayerDfb::setFlipObserver(nullptr, nullptr);
    if (sdl.closed && vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_NOTICE))
        vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_NOTICE,
                    "Desktop mirror: window closed, mirroring stopped; the client runs on");
    closeWindow_i(sdl);
    std::lock_guard<std::mutex> lock(m_lock);
    m_phase = Phase::Ended;
    m_changed.notify_all();
}

bool DesktopMirror::openWindow_i(SdlObjects& sdl)
{
    // The client handles its own signals; SDL must not turn SIGINT/SIGTERM into a quit event.
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR,
                        "Desktop mirror: SDL video cannot start: %s", SDL_GetError());
        return false;
    }
    sdl.videoStarted = true;
    sdl.window =
        SDL_CreateWindow(m_options.title.c_str(), SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                         m_options.windowWidth, m_options.windowHeight, SDL_WINDOW_RESIZABLE);
    if (sdl.window != nullptr) {
        sdl.renderer = SDL_CreateRenderer(sdl.window, -1, 0);
        if (sdl.renderer == nullptr)
            sdl.renderer = SDL_CreateRenderer(sdl.window, -1, SDL_RENDERER_SOFTWARE);
    }
    if (sdl.renderer == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR,
                        "Desktop mirror: cannot open the window: %s", SDL_GetError());
        return false;
    }
    // Scaled to any window size, keeping the screen's aspect ratio.
    SDL_RenderSetLogicalSize(sdl.renderer, KELO::DfbInit::kScreenWidth,
                             KELO::DfbInit::kScreenHeight);
    SDL_SetRenderDrawColor(sdl.renderer, 0, 0, 0, 255);
    SDL_RenderClear(sdl.renderer);
    SDL_RenderPresent(sdl.renderer);
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_INFO,
                    "Desktop mirror: window open (video driver %s)", SDL_GetCurrentVideoDriver());
    return true;
}

void DesktopMirror::closeWindow_i(SdlObjects& sdl)
{
    if (sdl.texture != nullptr)
        SDL_DestroyTexture(sdl.texture);
    if (sdl.renderer != nullptr)
        SDL_DestroyRenderer(sdl.renderer);
    if (sdl.window != nullptr)
        SDL_DestroyWindow(sdl.window);
    if (sdl.videoStarted)
        SDL_Quit();
    sdl = SdlObjects();
}

bool DesktopMirror::handleEvent_i(const SDL_Event& event, SdlObjects& sdl)
{
    switch (event.type) {
    case SDL_QUIT:
        return false;
    case SDL_WINDOWEVENT:
        if (event.window.event == SDL_WINDOWEVENT_CLOSE)
            return false;
        if (event.window.event == SDL_WINDOWEVENT_EXPOSED ||
            event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED ||
            event.window.event == SDL_WINDOWEVENT_RESTORED)
            sdl.redraw = true;
        return true;
    case SDL_KEYDOWN:
    case SDL_KEYUP:
        sendKey_i(event.key.keysym.sym, event.type == SDL_KEYDOWN);
        return true;
    default:
        return true;
    }
}

void DesktopMirror::sendKey_i(int32 keycode, bool down)
{
    const uint32 symbol = mirrorKeySymbol(keycode);
    IDirectFBWindow* window = KELO::DfbInit::window();
    bool sent = false;
    if (symbol == 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_REMOTE, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_MEDIA_REMOTE, VLOG_DEBUG,
                        "Desktop mirror: key 0x%x (%s) has no remote key, not sent",
                        static_cast<unsigned>(keycode), SDL_GetKeyName(keycode));
    } else if (window != nullptr) {
        DFBWindowEvent event;
        std::memset(&event, 0, sizeof event);
        event.clazz = DFEC_WINDOW;
        event.type = down ? DWET_KEYDOWN : DWET_KEYUP;
        event.flags = DWEF_NONE;
        DFBWindowID id = 0;
        window->GetID(window, &id);
        event.window_id = id;
        event.key_code = -1;
        event.key_id = DIKI_UNKNOWN;
        event.key_symbol = static_cast<DFBInputDeviceKeySymbol>(symbol);
        gettimeofday(&event.timestamp, nullptr);
        const DFBResult result = window->SendEvent(window, &event);
        sent = result == DFB_OK;
        if (!sent && vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_REMOTE, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_MEDIA_REMOTE, VLOG_ERROR,
                        "Desktop mirror: key 0x%x not delivered: %s", symbol,
                        KELO::DFBResultToString(result));
    }
    std::lock_guard<std::mutex> lock(m_lock);
    if (sent)
        ++m_keysSent;
    else
        ++m_keysIgnored;
    m_changed.notify_all();
}

void DesktopMirror::present_i(SdlObjects& sdl, bool newFrame)
{
    sdl.redraw = false;
    // m_shown changes only on this thread, so it is read here without the lock.
    if (newFrame) {
        if (sdl.texture == nullptr || sdl.textureWidth != m_shown.width ||
            sdl.textureHeight != m_shown.height) {
            if (sdl.texture != nullptr)
                SDL_DestroyTexture(sdl.texture);
            sdl.texture =
                SDL_CreateTexture(sdl.renderer, SDL_PIXELFORMAT_ARGB8888,
                                  SDL_TEXTUREACCESS_STREAMING, m_shown.width, m_shown.height);
            sdl.textureWidth = sdl.texture != nullptr ? m_shown.width : 0;
            sdl.textureHeight = sdl.texture != nullptr ? m_shown.height : 0;
            if (sdl.texture == nullptr && vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_ERROR,
                            "Desktop mirror: cannot create a %dx%d texture: %s", m_shown.width,
                            m_shown.height, SDL_GetError());
            if (sdl.texture != nullptr)
                SDL_SetTextureBlendMode(sdl.texture, SDL_BLENDMODE_BLEND);
        }
        if (sdl.texture != nullptr)
            SDL_UpdateTexture(sdl.texture, nullptr, m_shown.pixels.data(),
                              m_shown.width * static_cast<int>(sizeof(uint32)));
    }
    SDL_SetRenderDrawColor(sdl.renderer, 0, 0, 0, 255);
    SDL_RenderClear(sdl.renderer);
    if (sdl.texture != nullptr)
        SDL_RenderCopy(sdl.renderer, sdl.texture, nullptr, nullptr);

    if (m_options.keepPresented)
        keepPresented_i(sdl);
    SDL_RenderPresent(sdl.renderer);
    if (newFrame) {
        std::lock_guard<std::mutex> lock(m_lock);
        ++m_framesShown;
        m_changed.notify_all();
    }
}

// Reads the drawn picture back before it is presented (afterwards the back buffer is undefined).
// Only when the window shows the screen unscaled: the copy is then pixel for pixel the screen.
void DesktopMirror::keepPresented_i(SdlObjects& sdl)
{
    int width = 0;
    int height = 0;
    if (SDL_GetRendererOutputSize(sdl.renderer, &width, &height) != 0 ||
        width != KELO::DfbInit::kScreenWidth || height != KELO::DfbInit::kScreenHeight)
        return;
    MirrorFrame picture;
    picture.width = width;
    picture.height = height;
    picture.pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
    if (SDL_RenderReadPixels(sdl.renderer, nullptr, SDL_PIXELFORMAT_ARGB8888, picture.pixels.data(),
                             width * static_cast<int>(sizeof(uint32))) != 0)
        return;
    std::lock_guard<std::mutex> lock(m_lock);
    m_presented = std::move(picture);
}

namespace {
std::mutex g_mirrorLock;
std::unique_ptr<DesktopMirror> g_mirror; // guarded by g_mirrorLock
} // namespace

bool startDesktopMirrorIfRequested()
{
    const char* request = std::getenv("KELO_MIRROR");
    if (request == nullptr || std::strcmp(request, "1") != 0)
        return false;
    std::lock_guard<std::mutex> lock(g_mirrorLock);
    try {
        if (g_mirror == nullptr)
            g_mirror = std::make_unique<DesktopMirror>();
    } catch (const std::exception&) {
        return false;
    }
    if (!g_mirror->start()) {
        g_mirror.reset();
        if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_WARNING,
                        "Desktop mirror: not available, the client runs without it");
        return false;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_NOTICE))
        vLogMessage(VLOGSRC_KAPI_MEDIA_DISPLAY, VLOG_NOTICE, "Desktop mirror: running");
    return true;
}

void stopDesktopMirror()
{
    std::lock_guard<std::mutex> lock(g_mirrorLock);
    if (g_mirror != nullptr) {
        g_mirror->stop();
        g_mirror.reset();
    }
}

} // namespace SimMirror
