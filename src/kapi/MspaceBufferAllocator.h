#ifndef KAPI_MSPACEBUFFERALLOCATOR_H
#define KAPI_MSPACEBUFFERALLOCATOR_H
// A BufferAllocator over the reserved streaming region: the region becomes a private heap (a
// memory space, kapi/KeloMspace.h) so that media buffers never fragment the process heap and the
// media held is bounded by the region. What happens when the region is full is chosen at
// construction (NoMemBehavior).
//
// Every method is safe from any thread; all take the allocator's mutex. With NOMEM_WAIT an
// allocation that does not fit sleeps until a block of the region is freed or the allocator is
// destroyed. The region itself is not owned: it must outlive the allocator.
#include "kapi/BufferAllocator.h"
#include "kapi/Condition.h"
#include "kapi/KeloMspace.h"
#include "kapi/Mutex.h"

#include <cstddef>
#include <memory>

namespace Kapi {

class MspaceBufferAllocator : public BufferAllocator
{
public:
    enum NoMemBehavior
    {
        NOMEM_FAIL = 0,     // return null
        NOMEM_FALLBACK = 1, // take the block from the process heap and count it
        NOMEM_WAIT = 2      // wait until a block of the region is freed
    };

    MspaceBufferAllocator(unsigned char* base, unsigned size, NoMemBehavior behavior);
    ~MspaceBufferAllocator() override;
    MspaceBufferAllocator(const MspaceBufferAllocator&) = delete;
    MspaceBufferAllocator& operator=(const MspaceBufferAllocator&) = delete;

    void* malloc(unsigned size) override;
    void free(void* p) override;
    void* realloc(void* p, unsigned size) override;

    // Bytes the region's heap holds beyond its own bookkeeping (0 after destroy()).
    size_t getAllocedBytes();
    // Live blocks taken from the process heap.
    unsigned getNumFallbackAllocs();
    // Logs the usage (info level).
    void reportStats();
    // Ends the region's heap; later allocations return null and waiting ones give up. Logs an
    // error when blocks are still live, and releases the region anyway.
    void destroy();

private:
    bool inRegion_i(const void* p) const;
    size_t allocedBytes_i() const;

    unsigned char* m_base;
    unsigned m_size;
    NoMemBehavior m_noMemBehavior;
    mspace m_mspace;    // null when it could not be created or after destroy()
    size_t m_baseUsage; // the heap's used bytes right after creation (its bookkeeping)
    unsigned m_numFallbackAllocs;
    std::unique_ptr<Mutex> m_mutex;
    std::unique_ptr<Condition>
        m_condition; // broadcast on every free into the region and on destroy
};

} // namespace Kapi

#endif
