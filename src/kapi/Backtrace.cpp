// Backtrace over the C library's backtrace() and backtrace_symbols(). The symbol texts are
// allocated by the C library in one block that we free at once.
#include "kapi/Backtrace.h"

#include <cstdio>
#include <cstdlib>
#include <execinfo.h>

namespace Kapi {

Backtrace::Backtrace() : m_frames(), m_depth(backtrace(m_frames, kMaxFrames)) {}

std::string Backtrace::toString() const
{
    std::string text;
    if (m_depth <= 0)
        return text;
    char** symbols = backtrace_symbols(m_frames, m_depth);
    for (int i = 0; i < m_depth; ++i) {
        char prefix[16];
        snprintf(prefix, sizeof(prefix), "  #%d ", i);
        text += prefix;
        if (symbols != nullptr) {
            text += symbols[i];
        } else {
            char address[32];
            snprintf(address, sizeof(address), "%p", m_frames[i]);
            text += address;
        }
        text += '\n';
    }
    free(symbols);
    return text;
}

} // namespace Kapi
