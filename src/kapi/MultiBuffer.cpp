// Kapi::MultiBuffer: appending with back-pressure, byte-wise and block-wise reading, back-buffer
// trimming. Every _i function runs with m_mutex held; every state change broadcasts
// m_condition, so a waiter re-checks its predicate after any change.
#include "kapi/MultiBuffer.h"

#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

#include <cstring>
#include <iterator>

namespace Kapi {

namespace {

typedef unsigned long long ull;
typedef long long ll;

// A null timeout waits without limit; a negative one does not wait at all.
int64 waitTime(const long long* timeoutUs)
{
    if (timeoutUs == nullptr) {
        return kInfinite;
    }
    return *timeoutUs < 0 ? 0 : *timeoutUs;
}

} // namespace

MultiBufferItem::MultiBufferItem(Buffer* buffer, int64 lo, int64 hi)
    : loTs(lo), hiTs(hi), mBuffer(buffer), mAddress(buffer), mLength(buffer->getLength()),
      mReserved(buffer->getReservedSize())
{
}

MultiBuffer::MultiBuffer(long long maxTotal, long long maxBackBuffer)
    : maxTotalSizeInBytes(maxTotal), maxBackBufferSizeInBytes(maxBackBuffer),
      m_current(m_items.end()), m_mutex(Mutex::New()), m_condition(Condition::New())
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                    "MultiBuffer(maxTotalSizeInBytes=%llu, maxBackBufferSizeInBytes=%llu)@%p "
                    "created",
                    static_cast<ull>(maxTotal), static_cast<ull>(maxBackBuffer),
                    static_cast<void*>(this));
}

MultiBuffer::~MultiBuffer() = default;

Status MultiBuffer::append(Buffer* b, long long* timeoutUs)
{
    KAPI_ASSERT(b != nullptr);
    MutexLocker locker(*m_mutex);
    return append_i(std::make_shared<MultiBufferItem>(b), timeoutUs);
}

Status MultiBuffer::append_i(const std::shared_ptr<MultiBufferItem>& item, long long* timeoutUs)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                    "MultiBuffer@%p::append_i(b=%p) buffer of length %u (%u reserved)",
                    static_cast<void*>(this), static_cast<void*>(item->getBuffer()),
                    item->getLength(), item->getReservedSize());
    const Status status = waitForSpace_i(item->getReservedSize(), timeoutUs);
    if (status != SUCCESS) {
        item->detachBuffer();
        return status;
    }
    const bool nothingAvailable = m_producerIndex == m_consumerIndex;
    const bool wasEmpty = m_items.empty();
    m_items.push_back(item);
    if (nothingAvailable) {
        if (wasEmpty || m_current == m_items.end()) {
            m_current = std::prev(m_items.end());
        } else {
            ++m_current;
        }
        m_currentOffset = 0;
    }
    m_bytesAllocated += item->getReservedSize();
    m_producerIndex += item->getLength();
    m_condition->broadcast();
    return SUCCESS;
}

Status MultiBuffer::appendEof()
{
    MutexLocker locker(*m_mutex);
    if (!enabled) {
        return FAILURE;
    }
    if (m_eofReached) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_ERROR,
                        "MultiBuffer@%p::appendEof(): EOF has already been set",
                        static_cast<void*>(this));
        return INVALID_ARGUMENTS;
    }
    m_eofReached = true;
    m_condition->broadcast();
    return SUCCESS;
}

Status MultiBuffer::waitForSpace(long long bytes, long long* timeoutUs)
{
    MutexLocker locker(*m_mutex);
    return waitForSpace_i(bytes, timeoutUs);
}

Status MultiBuffer::waitForSpace_i(int64 bytes, long long* timeoutUs)
{
    const int64 wait = waitTime(timeoutUs);
    while (m_bytesAllocated + bytes > maxTotalSizeInBytes) {
        if (!enabled) {
            return FAILURE;
        }
        if (m_eofReached) {
            break;
        }
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                        "Waiting for space %lld (%lld %lld %lld, allocated %lld, req %lld)",
                        static_cast<ll>(maxTotalSizeInBytes), static_cast<ll>(m_startIndex),
                        static_cast<ll>(m_consumerIndex), static_cast<ll>(m_producerIndex),
                        static_cast<ll>(m_bytesAllocated), static_cast<ll>(bytes));
        if (!m_condition->wait(m_mutex.get(), wait)) {
            return TIMED_OUT;
        }
    }
    if (!enabled) {
        return FAILURE;
    }
    if (m_eofReached) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_ERROR,
                        "MultiBuffer@%p::append(): Trying to append after EOF",
                        static_cast<void*>(this));
        return INVALID_ARGUMENTS;
    }
    return SUCCESS;
}

Status MultiBuffer::waitForBytes_i(long long* timeoutUs)
{
    const int64 wait = waitTime(timeoutUs);
    for (;;) {
        if (!enabled) {
            return FAILURE;
        }
        if (m_producerIndex > m_consumerIndex || m_eofReached) {
            break;
        }
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                        "Waiting for read %lld (%lld %lld %lld allocated %lld)",
                        static_cast<ll>(m_producerIndex - m_consumerIndex),
                        static_cast<ll>(m_startIndex), static_cast<ll>(m_consumerIndex),
                        static_cast<ll>(m_producerIndex), static_cast<ll>(m_bytesAllocated));
        if (!m_condition->wait(m_mutex.get(), wait)) {
            return TIMED_OUT;
        }
    }
    if (!enabled) {
        return FAILURE;
    }
    if (m_eofReached && m_producerIndex == m_consumerIndex) {
        return PIPELINE_END_OF_FILE;
    }
    return SUCCESS;
}

Status MultiBuffer::read(unsigned char* dst, unsigned int* numBytes, long long* timeoutUs)
{
    MutexLocker locker(*m_mutex);
    return read_i(dst, numBytes, timeoutUs);
}

Status MultiBuffer::read_i(unsigned char* dst, unsigned int* numBytes, long long* timeoutUs)
{
    const unsigned want = *numBytes;
    *numBytes = 0;
    if (want == 0) {
        return SUCCESS;
    }
    const Status status = waitForBytes_i(timeoutUs);
    if (status != SUCCESS) {
        return status;
    }
    // Bytes are available, so the current item exists and holds unread bytes.
    KAPI_ASSERT(m_current != m_items.end());
    unsigned done = 0;
    while (done < want) {
        MultiBufferItem& item = **m_current;
        const unsigned inItem = item.getLength() - m_currentOffset;
        const unsigned still = want - done;
        const unsigned take = inItem < still ? inItem : still;
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                        "MultiBuffer@%p::read(): bufferLen=%llu, availableBytesInBuffer=%llu, "
                        "bytesToRead=%llu, bytesToReadInBuffer=%llu)",
                        static_cast<void*>(this), static_cast<ull>(item.getLength()),
                        static_cast<ull>(inItem), static_cast<ull>(still), static_cast<ull>(take));
        if (take != 0) {
            memcpy(dst + done, item.getBuffer()->getBeginPtr() + m_currentOffset, take);
        }
        done += take;
        m_currentOffset += take;
        if (m_currentOffset == item.getLength()) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
                vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                            "MultiBuffer@%p::read(): reached end of buffer @%p",
                            static_cast<void*>(this), static_cast<void*>(item.getBuffer()));
            if (std::next(m_current) == m_items.end()) {
                if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
                    vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                                "MultiBuffer@%p::read(): reached end of buffers",
                                static_cast<void*>(this));
                break;
            }
            ++m_current;
            m_currentOffset = 0;
        }
    }
    m_consumerIndex += done;
    if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                    "MultiBuffer@%p::read(buffer=%p, numBytes=%zu) read %llu bytes, "
                    "m_producerIndex=%llu, m_consumerIndex=%llu, (bytesAvailable=%llu), "
                    "m_bytesAllocated=%llu",
                    static_cast<void*>(this), static_cast<void*>(dst), static_cast<size_t>(want),
                    static_cast<ull>(done), static_cast<ull>(m_producerIndex),
                    static_cast<ull>(m_consumerIndex),
                    static_cast<ull>(m_producerIndex - m_consumerIndex),
                    static_cast<ull>(m_bytesAllocated));
    trimBackBuffers_i(false);
    *numBytes = done;
    return SUCCESS;
}

Status MultiBuffer::readBuffer(Buffer*& out, long long* timeoutUs)
{
    MutexLocker locker(*m_mutex);
    if (maxBackBufferSizeInBytes != 0) {
        return NOT_SUPPORTED;
    }
    const Status status = waitForBytes_i(timeoutUs);
    if (status != SUCCESS) {
        return status;
    }
    if (m_currentOffset != 0) {
        return NOT_SUPPORTED;
    }
    KAPI_ASSERT(m_current != m_items.end());
    MultiBufferItem& item = **m_current;
    // Detached now rather than at trimming: the caller owns the block from here on, even if
    // the (empty-length) item stays held a while longer or the multibuffer is disabled.
    out = item.detachBuffer();
    ++m_current;
    m_currentOffset = 0;
    m_consumerIndex += item.getLength();
    if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                    "MultiBuffer@%p::readBuffer() read %u bytes, m_producerIndex=%llu, "
                    "m_consumerIndex=%llu, (bytesAvailable=%llu), m_bytesAllocated=%llu",
                    static_cast<void*>(this), item.getLength(), static_cast<ull>(m_producerIndex),
                    static_cast<ull>(m_consumerIndex),
                    static_cast<ull>(m_producerIndex - m_consumerIndex),
                    static_cast<ull>(m_bytesAllocated));
    trimBackBuffers_i(true);
    return SUCCESS;
}

void MultiBuffer::trimBackBuffers_i(bool handOut)
{
    while (m_consumerIndex - m_startIndex > maxBackBufferSizeInBytes && !m_items.empty() &&
           m_items.begin() != m_current) {
        std::shared_ptr<MultiBufferItem> oldest = m_items.front();
        m_items.pop_front();
        m_bytesAllocated -= oldest->getReservedSize();
        m_startIndex += oldest->getLength();
        // Blocks handed out by readBuffer() were detached then; a block still owned here was
        // read byte-wise and is deleted with its item, whatever `handOut` says.
        (void)handOut;
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                        "MultiBuffer@%p::trimBackBuffers_i(): buffer@%p trimmed, "
                        "m_startIndex=%llu, m_producerIndex=%llu, m_consumerIndex=%llu, "
                        "(bytesAvailable=%llu), m_bytesAllocated=%llu",
                        static_cast<void*>(this), oldest->getAddress(),
                        static_cast<ull>(m_startIndex), static_cast<ull>(m_producerIndex),
                        static_cast<ull>(m_consumerIndex),
                        static_cast<ull>(m_producerIndex - m_consumerIndex),
                        static_cast<ull>(m_bytesAllocated));
        m_condition->broadcast();
    }
}

void MultiBuffer::disable()
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG, "MultiBuffer@%p::disable()",
                    static_cast<void*>(this));
    MutexLocker locker(*m_mutex);
    enabled = false;
    m_items.clear();
    m_current = m_items.end();
    m_currentOffset = 0;
    m_bytesAllocated = 0;
    m_condition->broadcast();
}

Status MultiBuffer::getBufferingInformation(BufferingInformation& info) const
{
    MutexLocker locker(*m_mutex);
    getBufferingInformation_i(info);
    return SUCCESS;
}

void MultiBuffer::getBufferingInformation_i(BufferingInformation& info) const
{
    info.m_begin = m_startIndex;
    info.m_currentPosition = m_consumerIndex;
    info.m_end = m_producerIndex;
    info.m_eofReached = m_eofReached;
    info.m_bytesAllocated = m_bytesAllocated;
}

} // namespace Kapi
