// Reading a memory space without changing it: usage figures, the consistency walk, and the end
// of the process on a corrupted heap. Layout and invariants are in KeloMspaceHeap.h; the walk
// here checks exactly those invariants.
#include "kapi/KeloMspace.h"
#include "kapi/KeloMspaceHeap.h"
#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

#include <algorithm>
#include <cstdio>

using namespace Kapi::MspaceHeap;

namespace {

// The largest free block, or 0. Only the highest non-empty bin can hold it.
size_t largestFree(const Heap& heap)
{
    for (unsigned word = kMapWords; word-- > 0;) {
        const size_t bits = heap.binMap[word];
        if (bits == 0)
            continue;
        const unsigned bin = word * kSizeBits + (kSizeBits - 1 - std::countl_zero(bits));
        size_t largest = 0;
        for (unsigned char* b = heap.bins[bin]; b != nullptr; b = linksOf(b).next)
            largest = std::max(largest, sizeOfTag(tagAt(b)));
        return largest;
    }
    return 0;
}

const char* checkBlocks(const Heap& heap)
{
    if (tagAt(heap.first - kWord) != kInUse)
        return "prologue tag damaged";
    if (tagAt(heap.end) != kInUse)
        return "epilogue tag damaged";
    size_t freeBytes = 0;
    size_t freeBlocks = 0;
    size_t liveBlocks = 0;
    bool previousFree = false;
    unsigned char* block = heap.first;
    while (block < heap.end) {
        const size_t tag = tagAt(block);
        const size_t size = sizeOfTag(tag);
        if (size < kMinBlock || size > static_cast<size_t>(heap.end - block))
            return "block size out of range";
        if (footerOf(block, size) != tag)
            return "block header and footer differ";
        const bool isFree = !tagInUse(tag);
        if (isFree && previousFree)
            return "two adjacent free blocks";
        if (isFree) {
            freeBytes += size;
            ++freeBlocks;
        } else {
            ++liveBlocks;
        }
        previousFree = isFree;
        block += size;
    }
    if (block != heap.end)
        return "blocks do not tile the heap";
    if (freeBytes != heap.freeBytes || freeBlocks != heap.freeBlocks)
        return "free byte or block count wrong";
    if (liveBlocks != heap.liveBlocks)
        return "live block count wrong";
    return nullptr;
}

const char* checkBins(const Heap& heap)
{
    size_t listed = 0;
    for (unsigned bin = 0; bin < kBinCount; ++bin) {
        const bool marked = (heap.binMap[bin / kSizeBits] >> (bin % kSizeBits)) & 1;
        if (marked != (heap.bins[bin] != nullptr))
            return "bin map disagrees with the bins";
        unsigned char* previous = nullptr;
        for (unsigned char* b = heap.bins[bin]; b != nullptr; b = linksOf(b).next) {
            if (b < heap.first || b >= heap.end || ++listed > heap.freeBlocks)
                return "free list leaves the heap or loops";
            const size_t tag = tagAt(b);
            if (tagInUse(tag) || binIndex(sizeOfTag(tag)) != bin)
                return "free list holds a block that does not belong there";
            if (linksOf(b).prev != previous)
                return "free list back link wrong";
            previous = b;
        }
    }
    return listed == heap.freeBlocks ? nullptr : "free block missing from the bins";
}

} // namespace

namespace Kapi::MspaceHeap {

void corrupt(const char* what, const void* where)
{
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR, "mspace: %s at %p", what, where);
    KeloDLMallocAbort(what);
}

} // namespace Kapi::MspaceHeap

extern "C" {

struct KeloMallinfo mspace_mallinfo(mspace msp)
{
    Heap& heap = heapOf(msp);
    auto guard = lockHeap(heap);
    KeloMallinfo info{};
    info.arena = heap.capacity;
    info.used = heap.capacity - heap.freeBytes;
    info.free = heap.freeBytes;
    info.largestFree = largestFree(heap);
    info.freeBlocks = heap.freeBlocks;
    info.liveBlocks = heap.liveBlocks;
    return info;
}

void KELO_mspace_malloc_stats(mspace msp)
{
    const KeloMallinfo info = mspace_mallinfo(msp);
    fprintf(stderr,
            "mspace %p: arena=%zu used=%zu free=%zu largest free=%zu free blocks=%zu live "
            "blocks=%zu\n",
            msp, info.arena, info.used, info.free, info.largestFree, info.freeBlocks,
            info.liveBlocks);
}

const char* mspace_check(mspace msp)
{
    Heap& heap = heapOf(msp);
    auto guard = lockHeap(heap);
    const char* problem = checkBlocks(heap);
    return problem != nullptr ? problem : checkBins(heap);
}

void KeloDLMallocAbort(const char* reason) noexcept
{
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR, "KeloDLMallocAbort(): heap corruption: %s",
                    reason);
    char expression[160];
    snprintf(expression, sizeof(expression), "KeloDLMallocAbort: %s", reason);
    Kapi::PanicAssertFail(expression, __FILE__, __LINE__);
}

} // extern "C"
