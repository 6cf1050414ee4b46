#ifndef ARM11MTK_PORT_DFBRESULT_H
#define ARM11MTK_PORT_DFBRESULT_H
// DirectFB result names and the trace line printed for a failed DirectFB call. Every result code
// of the library has its own name ("DFB_OK", "DFB_FAILURE", ...); a code the table does not know
// is named "DFB_UNKNOWN". The trace line goes to standard output as
// "TRACE <name>. <function>:<line>\n".
#include <directfb.h>

namespace KELO {

const char* DFBResultToString(DFBResult result);

void dfbTrace(DFBResult result, const char* function, int line);

} // namespace KELO

// Prints the trace line for `result` when it is not DFB_OK.
#define DFB_TRACE_IF_FAILED(result)                                                                \
    do {                                                                                           \
        if ((result) != DFB_OK)                                                                    \
            ::KELO::dfbTrace((result), __PRETTY_FUNCTION__, __LINE__);                             \
    } while (0)

#endif
