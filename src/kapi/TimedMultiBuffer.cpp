// TimedMultiBuffer: timed appends and the time range of the held blocks.
#include "kapi/TimedMultiBuffer.h"

#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

namespace Kapi {

TimedMultiBuffer::TimedMultiBuffer(long long maxTotal, long long maxBackBuffer)
    : MultiBuffer(maxTotal, maxBackBuffer)
{
}

Status TimedMultiBuffer::append(Buffer* b, long long loTs, long long hiTs, long long* timeoutUs)
{
    KAPI_ASSERT(b != nullptr);
    if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                    "TimedMultiBuffer@%p::append() buffer for loTs=%lld and hiTs=%lld",
                    static_cast<void*>(this), loTs, hiTs);
    MutexLocker locker(*m_mutex);
    return append_i(std::make_shared<MultiBufferItem>(b, loTs, hiTs), timeoutUs);
}

Status TimedMultiBuffer::getTimedBufferingInformation(TimedBufferingInformation& info) const
{
    MutexLocker locker(*m_mutex);
    getBufferingInformation_i(info);
    info.m_beginTimeUs = m_items.empty() ? 0 : m_items.front()->loTs;
    info.m_currentTimeUs = m_current == m_items.end() ? 0 : (*m_current)->loTs;
    info.m_endTimeUs = m_items.empty() ? 0 : m_items.back()->hiTs;
    return SUCCESS;
}

} // namespace Kapi
