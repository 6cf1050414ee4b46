// DefaultAllocator: the process heap behind the BufferAllocator interface. A zero size is
// served as one byte, so that null always and only means "no memory" (the C library may
// answer malloc(0) with null, and realloc(p, 0) may free p).
#include "kapi/BufferAllocator.h"

#include <cstdlib>

namespace Kapi {

DefaultAllocator* DefaultAllocator::getInstance()
{
    // Never destroyed: buffers released during static destruction still find it.
    static DefaultAllocator* const s_instance = new DefaultAllocator();
    return s_instance;
}

void* DefaultAllocator::malloc(unsigned size)
{
    return std::malloc(size == 0 ? 1 : size);
}

void DefaultAllocator::free(void* p)
{
    std::free(p);
}

void* DefaultAllocator::realloc(void* p, unsigned size)
{
    return std::realloc(p, size == 0 ? 1 : size);
}

} // namespace Kapi
