#ifndef KAPI_TIMEDMULTIBUFFER_H
#define KAPI_TIMEDMULTIBUFFER_H
// Kapi::TimedMultiBuffer: a MultiBuffer whose blocks also carry the media time range
// [loTs, hiTs] (int64 microseconds) they cover, so that its owner can report which times it
// holds: from the oldest held block's loTs, through the current block's loTs, to the newest
// block's hiTs. Queueing, waiting and threading are exactly those of MultiBuffer.
#include "kapi/MultiBuffer.h"

namespace Kapi {

class TimedMultiBuffer : public MultiBuffer
{
public:
    TimedMultiBuffer(long long maxTotal, long long maxBackBuffer);

    // As MultiBuffer::append, with the block's time range.
    Status append(Buffer* b, long long loTs, long long hiTs, long long* timeoutUs);
    // Always SUCCESS. Times are 0 where there is no such block.
    Status getTimedBufferingInformation(TimedBufferingInformation& info) const;
};

} // namespace Kapi

#endif
