// DirectFB start-up in the fixed order: options, DirectFBCreate, layer, window, primary surface,
// a transparent first frame. Any failure releases what was made and leaves the statics null.
#include "DfbInit.h"

#include "DfbResult.h"

#include <cstdio>
#include <cstdlib>

namespace KELO {

IDirectFB* DfbInit::s_dfb = nullptr;
IDirectFBDisplayLayer* DfbInit::s_pDisplayLayer = nullptr;
IDirectFBWindow* DfbInit::s_pWindow = nullptr;
IDirectFBSurface* DfbInit::s_pPrimarySurface = nullptr;

DfbInit::DfbInit()
{
    if (s_dfb != nullptr)
        return;
    m_owner = start_i();
}

DfbInit::~DfbInit()
{
    if (m_owner)
        release_i();
}

bool DfbInit::start_i()
{
    DFBResult result = DirectFBInit(nullptr, nullptr);
    DFB_TRACE_IF_FAILED(result);
    if (result != DFB_OK)
        return false;

    // Without DFBARGS there is no display to drive: run on the dummy system.
    if (std::getenv("DFBARGS") == nullptr)
        DirectFBSetOption("system", "dummy");

    static const char* const kOptions[][2] = {
        {"res", "720p"},        {"mode", "1280x720"}, {"depth", "32"},
        {"bg-color", "000000"}, {"memcpy", "libc"},   {"no-sighandler", nullptr},
        {"no-banner", nullptr}, {"debug", nullptr},   {"desktop-buffer-mode", "backvideo"},
    };
    for (const auto& option : kOptions) {
        result = DirectFBSetOption(option[0], option[1]);
        DFB_TRACE_IF_FAILED(result);
    }

    result = DirectFBCreate(&s_dfb);
    DFB_TRACE_IF_FAILED(result);
    if (result != DFB_OK) {
        s_dfb = nullptr;
        return false;
    }
    result = s_dfb->SetCooperativeLevel(s_dfb, DFSCL_NORMAL);
    DFB_TRACE_IF_FAILED(result);

    result = s_dfb->GetDisplayLayer(s_dfb, DLID_PRIMARY, &s_pDisplayLayer);
    DFB_TRACE_IF_FAILED(result);
    if (result != DFB_OK) {
        s_pDisplayLayer = nullptr;
        release_i();
        return false;
    }
    result = s_pDisplayLayer->SetCooperativeLevel(s_pDisplayLayer, DLSCL_ADMINISTRATIVE);
    DFB_TRACE_IF_FAILED(result);

    DFBWindowDescription window = {};
    window.flags = static_cast<DFBWindowDescriptionFlags>(
        DWDESC_CAPS | DWDESC_WIDTH | DWDESC_HEIGHT | DWDESC_PIXELFORMAT | DWDESC_POSX |
        DWDESC_POSY | DWDESC_SURFACE_CAPS);
    window.caps = DWCAPS_ALPHACHANNEL;
    window.width = kScreenWidth;
    window.height = kScreenHeight;
    window.pixelformat = DSPF_ARGB;
    window.posx = 0;
    window.posy = 0;
    window.surface_caps = DSCAPS_VIDEOONLY;
    result = s_pDisplayLayer->CreateWindow(s_pDisplayLayer, &window, &s_pWindow);
    DFB_TRACE_IF_FAILED(result);
    if (result != DFB_OK) {
        s_pWindow = nullptr;
        release_i();
        return false;
    }

    result = s_pDisplayLayer->GetSurface(s_pDisplayLayer, &s_pPrimarySurface);
    DFB_TRACE_IF_FAILED(result);
    if (result != DFB_OK) {
        s_pPrimarySurface = nullptr;
        release_i();
        return false;
    }

    // Touch the primary surface once so that its memory is really allocated.
    void* pixels = nullptr;
    int pitch = 0;
    if (s_pPrimarySurface->Lock(s_pPrimarySurface, DSLF_WRITE, &pixels, &pitch) != DFB_OK)
        std::printf("*** Lock failed\n");
    else
        s_pPrimarySurface->Unlock(s_pPrimarySurface);

    s_pPrimarySurface->SetColor(s_pPrimarySurface, 0, 0, 0, 0);
    s_pPrimarySurface->FillRectangle(s_pPrimarySurface, 0, 0, kScreenWidth, kScreenHeight);
    s_pWindow->SetOpacity(s_pWindow, 255);
    return true;
}

void DfbInit::release_i()
{
    if (s_pPrimarySurface != nullptr)
        s_pPrimarySurface->Release(s_pPrimarySurface);
    if (s_pWindow != nullptr)
        s_pWindow->Release(s_pWindow);
    if (s_pDisplayLayer != nullptr)
        s_pDisplayLayer->Release(s_pDisplayLayer);
    if (s_dfb != nullptr)
        s_dfb->Release(s_dfb);
    s_pPrimarySurface = nullptr;
    s_pWindow = nullptr;
    s_pDisplayLayer = nullptr;
    s_dfb = nullptr;
}

} // namespace KELO
