#ifndef KAPI_BACKTRACE_H
#define KAPI_BACKTRACE_H
// A snapshot of the calling thread's stack: up to kMaxFrames return addresses captured when the
// object is made. toString() resolves them to symbol texts, one frame per line, innermost first.
// A Backtrace is immutable after construction, so any thread may read it.
#include <string>

namespace Kapi {

class Backtrace
{
public:
    static constexpr int kMaxFrames = 64;

    // Captures the stack of the calling thread.
    Backtrace();
    Backtrace(const Backtrace&) = default;
    Backtrace& operator=(const Backtrace&) = default;

    int getDepth() const { return m_depth; }
    // "  #<n> <symbol text>\n" per frame; "" when nothing was captured.
    std::string toString() const;

private:
    void* m_frames[kMaxFrames];
    int m_depth;
};

} // namespace Kapi

#endif
