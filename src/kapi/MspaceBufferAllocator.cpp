// MspaceBufferAllocator: the region's heap behind a mutex, with the full-region behaviours.
// Invariants: m_mspace is null or a live heap over [m_base, m_base + m_size); every pointer
// inside that range handed out is a block of m_mspace (or of the heap destroyed since);
// m_numFallbackAllocs counts the process-heap blocks handed out by malloc and by realloc's
// fall-back move, less those freed.
#include "kapi/MspaceBufferAllocator.h"
#include "kapi/KapiTypes.h"
#include "kapi/vLog.h"

#include <sys/types.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace Kapi {

MspaceBufferAllocator::MspaceBufferAllocator(unsigned char* base, unsigned size,
                                             NoMemBehavior behavior)
    : m_base(base), m_size(size), m_noMemBehavior(behavior), m_mspace(nullptr), m_baseUsage(0),
      m_numFallbackAllocs(0), m_mutex(Mutex::New()), m_condition(Condition::New())
{
    m_mspace = create_mspace_with_base(m_base, m_size, 0);
    if (m_mspace != nullptr)
        m_baseUsage = mspace_mallinfo(m_mspace).used;
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_NOTICE))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_NOTICE,
                    "MspaceBufferAllocator::MspaceBufferAllocator() STARTING TO USE EXTERNAL "
                    "STREAMING BUFFERS!");
}

MspaceBufferAllocator::~MspaceBufferAllocator()
{
    destroy();
}

bool MspaceBufferAllocator::inRegion_i(const void* p) const
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(p);
    const uintptr_t base = reinterpret_cast<uintptr_t>(m_base);
    return address >= base && address - base < m_size;
}

size_t MspaceBufferAllocator::allocedBytes_i() const
{
    return m_mspace != nullptr ? mspace_mallinfo(m_mspace).used - m_baseUsage : 0;
}

void* MspaceBufferAllocator::malloc(unsigned size)
{
    MutexLocker locker(*m_mutex);
    if (m_mspace == nullptr)
        return nullptr;
    for (;;) {
        if (void* p = KELO_mspace_malloc(m_mspace, size))
            return p;
        switch (m_noMemBehavior) {
        case NOMEM_FAIL:
            return nullptr;
        case NOMEM_FALLBACK: {
            void* p = ::malloc(size);
            if (p != nullptr)
                ++m_numFallbackAllocs;
            return p;
        }
        case NOMEM_WAIT:
            m_condition->wait(m_mutex.get(), kInfinite);
            if (m_mspace == nullptr)
                return nullptr;
            break;
        }
    }
}

void MspaceBufferAllocator::free(void* p)
{
    if (p == nullptr)
        return;
    if (inRegion_i(p)) {
        MutexLocker locker(*m_mutex);
        if (m_mspace != nullptr)
            KELO_mspace_free(m_mspace, p);
        if (m_noMemBehavior == NOMEM_WAIT)
            m_condition->broadcast();
        return;
    }
    if (m_noMemBehavior == NOMEM_FALLBACK) {
        {
            MutexLocker locker(*m_mutex);
            --m_numFallbackAllocs;
        }
        ::free(p);
    }
}

void* MspaceBufferAllocator::realloc(void* p, unsigned size)
{
    if (!inRegion_i(p))
        return m_noMemBehavior == NOMEM_FALLBACK ? ::realloc(p, size) : nullptr;
    MutexLocker locker(*m_mutex);
    for (;;) {
        if (m_mspace == nullptr)
            return nullptr;
        void* moved = KELO_mspace_realloc(m_mspace, p, size);
        if (moved != nullptr || m_noMemBehavior == NOMEM_FAIL)
            return moved;
        if (m_noMemBehavior == NOMEM_FALLBACK) {
            moved = ::malloc(size);
            if (moved == nullptr)
                return nullptr;
            memcpy(moved, p, std::min<size_t>(mspace_usable_size(p), size));
            KELO_mspace_free(m_mspace, p);
            ++m_numFallbackAllocs;
            return moved;
        }
        m_condition->wait(m_mutex.get(), kInfinite);
    }
}

size_t MspaceBufferAllocator::getAllocedBytes()
{
    MutexLocker locker(*m_mutex);
    return allocedBytes_i();
}

unsigned MspaceBufferAllocator::getNumFallbackAllocs()
{
    MutexLocker locker(*m_mutex);
    return m_numFallbackAllocs;
}

void MspaceBufferAllocator::reportStats()
{
    MutexLocker locker(*m_mutex);
    const size_t used = m_mspace != nullptr ? mspace_mallinfo(m_mspace).used : 0;
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_INFO))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_INFO,
                    "MspaceBufferAllocator::reportStats(%p) used=%zu size=%zu "
                    "numFallbackAllocs=%u",
                    static_cast<void*>(this), used, static_cast<size_t>(m_size),
                    m_numFallbackAllocs);
}

void MspaceBufferAllocator::destroy()
{
    MutexLocker locker(*m_mutex);
    if (m_mspace == nullptr)
        return;
    const size_t alloced = allocedBytes_i();
    if ((alloced != 0 || m_numFallbackAllocs != 0) &&
        vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                    "MspaceBufferAllocator::destroy(): Trying to destory mspace before freeing "
                    "all allocations from it. Alloced=%zd, Fallback=%u",
                    static_cast<ssize_t>(alloced), m_numFallbackAllocs);
    destroy_mspace(m_mspace);
    m_mspace = nullptr;
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_NOTICE))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_NOTICE,
                    "MspaceBufferAllocator::destroy() DONE USING USE EXTERNAL STREAMING BUFFERS!");
    if (m_noMemBehavior == NOMEM_WAIT)
        m_condition->broadcast();
}

} // namespace Kapi
