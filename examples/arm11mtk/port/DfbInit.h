#ifndef ARM11MTK_PORT_DFBINIT_H
#define ARM11MTK_PORT_DFBINIT_H
// Process-wide DirectFB start-up: the IDirectFB object, the primary display layer (held at the
// administrative level), one full-screen 1280 x 720 ARGB window on it and the layer's surface as
// the primary surface. The first DfbInit object does the start-up; later ones find it done.
// Destroying the object that did it releases the four objects in the order primary surface,
// window, layer, IDirectFB and clears the statics, so a later DfbInit starts DirectFB again.
//
// Headless by default: when DFBARGS is not set in the environment the dummy system with a
// 1280x720 mode is selected before DirectFBCreate.
//
// Threads: construct and destroy on one thread, before and after every other DirectFB use.
#include <directfb.h>

namespace KELO {

class DfbInit
{
public:
    static constexpr int kScreenWidth = 1280;
    static constexpr int kScreenHeight = 720;

    DfbInit();
    ~DfbInit();
    DfbInit(const DfbInit&) = delete;
    DfbInit& operator=(const DfbInit&) = delete;

    // False when DirectFB could not be started; the accessors then give null.
    bool ok() const { return s_dfb != nullptr; }

    static IDirectFB* dfb() { return s_dfb; }
    static IDirectFBDisplayLayer* displayLayer() { return s_pDisplayLayer; }
    static IDirectFBWindow* window() { return s_pWindow; }
    static IDirectFBSurface* primarySurface() { return s_pPrimarySurface; }

private:
    bool start_i();
    void release_i();

    bool m_owner = false;

    static IDirectFB* s_dfb;
    static IDirectFBDisplayLayer* s_pDisplayLayer;
    static IDirectFBWindow* s_pWindow;
    static IDirectFBSurface* s_pPrimarySurface;
};

} // namespace KELO

#endif
