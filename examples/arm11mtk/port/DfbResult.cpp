// Result names: the generic codes shared by all DirectFB libraries and the codes DirectFB adds
// after its own base. The table is searched linearly; it is only used on failure paths.
#include "DfbResult.h"

#include <cstdio>

namespace KELO {

namespace {

struct ResultName
{
    DFBResult result;
    const char* name;
};

const ResultName kResultNames[] = {
    {DFB_OK, "DFB_OK"},
    {DFB_FAILURE, "DFB_FAILURE"},
    {DFB_INIT, "DFB_INIT"},
    {DFB_BUG, "DFB_BUG"},
    {DFB_DEAD, "DFB_DEAD"},
    {DFB_UNSUPPORTED, "DFB_UNSUPPORTED"},
    {DFB_UNIMPLEMENTED, "DFB_UNIMPLEMENTED"},
    {DFB_ACCESSDENIED, "DFB_ACCESSDENIED"},
    {DFB_INVAREA, "DFB_INVAREA"},
    {DFB_INVARG, "DFB_INVARG"},
    {DFB_NOSYSTEMMEMORY, "DFB_NOSYSTEMMEMORY"},
    {DFB_NOSHAREDMEMORY, "DFB_NOSHAREDMEMORY"},
    {DFB_LOCKED, "DFB_LOCKED"},
    {DFB_BUFFEREMPTY, "DFB_BUFFEREMPTY"},
    {DFB_FILENOTFOUND, "DFB_FILENOTFOUND"},
    {DFB_IO, "DFB_IO"},
    {DFB_BUSY, "DFB_BUSY"},
    {DFB_NOIMPL, "DFB_NOIMPL"},
    {DFB_TIMEOUT, "DFB_TIMEOUT"},
    {DFB_THIZNULL, "DFB_THIZNULL"},
    {DFB_IDNOTFOUND, "DFB_IDNOTFOUND"},
    {DFB_DESTROYED, "DFB_DESTROYED"},
    {DFB_FUSION, "DFB_FUSION"},
    {DFB_BUFFERTOOLARGE, "DFB_BUFFERTOOLARGE"},
    {DFB_INTERRUPTED, "DFB_INTERRUPTED"},
    {DFB_NOCONTEXT, "DFB_NOCONTEXT"},
    {DFB_TEMPUNAVAIL, "DFB_TEMPUNAVAIL"},
    {DFB_LIMITEXCEEDED, "DFB_LIMITEXCEEDED"},
    {DFB_NOSUCHMETHOD, "DFB_NOSUCHMETHOD"},
    {DFB_NOSUCHINSTANCE, "DFB_NOSUCHINSTANCE"},
    {DFB_ITEMNOTFOUND, "DFB_ITEMNOTFOUND"},
    {DFB_VERSIONMISMATCH, "DFB_VERSIONMISMATCH"},
    {DFB_EOF, "DFB_EOF"},
    {DFB_SUSPENDED, "DFB_SUSPENDED"},
    {DFB_INCOMPLETE, "DFB_INCOMPLETE"},
    {DFB_NOCORE, "DFB_NOCORE"},
    {DFB_NOVIDEOMEMORY, "DFB_NOVIDEOMEMORY"},
    {DFB_MISSINGFONT, "DFB_MISSINGFONT"},
    {DFB_MISSINGIMAGE, "DFB_MISSINGIMAGE"},
    {DFB_NOALLOCATION, "DFB_NOALLOCATION"},
    {DFB_NOBUFFER, "DFB_NOBUFFER"},
};

} // namespace

const char* DFBResultToString(DFBResult result)
{
    for (const ResultName& entry : kResultNames)
        if (entry.result == result)
            return entry.name;
    return "DFB_UNKNOWN";
}

void dfbTrace(DFBResult result, const char* function, int line)
{
    std::printf("TRACE %s. %s:%d\n", DFBResultToString(result), function, line);
}

} // namespace KELO
