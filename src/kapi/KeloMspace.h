#ifndef KAPI_KELOMSPACE_H
#define KAPI_KELOMSPACE_H
/*
 * A memory space ("mspace"): a heap inside one caller-given region of memory. The heap's
 * bookkeeping lives at the start of the region; the rest is cut into blocks, each carrying its
 * size and an in-use bit in a header word before the payload and again in a footer word after
 * it. Payloads are aligned to alignof(max_align_t) (16 bytes on 64-bit hosts, 8 on 32-bit ARM).
 * Every block costs mspace_block_overhead() bytes beyond its usable size.
 *
 * Guarantees a caller may rely on:
 *   - every pointer handed out lies inside the region, aligned as above, and is not handed out
 *     again until it is freed;
 *   - KELO_mspace_malloc(0) returns a unique smallest block; KELO_mspace_realloc never frees
 *     the old block when it returns null, and shrinking never fails;
 *   - freeing coalesces at once, so when every block is free the region is one free block again
 *     and mspace_mallinfo().used is back to the value it had right after creation;
 *   - a damaged block tag, a double free or a pointer outside the heap ends the process through
 *     KeloDLMallocAbort().
 * Thread rules: a heap created with `locked` == 0 must be used by one thread at a time; with a
 * non-zero `locked` every call takes the heap's own mutex. create/destroy are never concurrent
 * with other calls on the same heap.
 */
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void* mspace;

// Usage figures of one heap; arena == used + free always.
struct KeloMallinfo
{
    size_t arena;       // the region size given at creation
    size_t used;        // bookkeeping plus every live block, tags included
    size_t free;        // bytes in free blocks, tags included
    size_t largestFree; // the largest free block, tags included (0 when none); the largest
                        // request that can succeed is largestFree - mspace_block_overhead()
    size_t freeBlocks;  // number of free blocks
    size_t liveBlocks;  // number of allocated blocks
};

// A heap over [base, base + capacity); null when the region is too small to hold the
// bookkeeping and one block. The region must stay valid until destroy_mspace().
mspace create_mspace_with_base(void* base, size_t capacity, int locked);
// Ends the heap (live blocks are simply forgotten); returns the region size it managed. Any
// later use of `msp` ends the process.
size_t destroy_mspace(mspace msp);

void* KELO_mspace_malloc(mspace msp, size_t bytes);
// Null is ignored.
void KELO_mspace_free(mspace msp, void* mem);
// Null `mem` allocates. On failure null is returned and `mem` stays valid and unchanged.
void* KELO_mspace_realloc(mspace msp, void* mem, size_t newSize);
// Zero-filled; null when count * elemSize overflows.
void* KELO_mspace_calloc(mspace msp, size_t count, size_t elemSize);
// `alignment` not a power of two is rounded up to the next one; at most the natural alignment
// is the same as KELO_mspace_malloc.
void* KELO_mspace_memalign(mspace msp, size_t alignment, size_t bytes);
// Writes the usage figures to standard error.
void KELO_mspace_malloc_stats(mspace msp);

// Bytes the caller may use in a live block (at least what was asked); 0 for null.
size_t mspace_usable_size(const void* mem);
struct KeloMallinfo mspace_mallinfo(mspace msp);
// Tag bytes each block carries beyond its usable size.
size_t mspace_block_overhead(void);
// Walks the whole heap and its free lists; null when consistent, otherwise a description of the
// first inconsistency found. For tests and diagnostics (cost grows with the number of blocks).
const char* mspace_check(mspace msp);

// Logs the heap corruption (source misc_system, level error) and ends the process through
// Kapi::PanicAssertFail. `reason` names what was found.
void KeloDLMallocAbort(const char* reason)
#ifdef __cplusplus
    noexcept
#endif
    __attribute__((noreturn));

#ifdef __cplusplus
}
#endif

#endif
