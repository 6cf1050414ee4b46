#ifndef KAPI_KELOMSPACEHEAP_H
#define KAPI_KELOMSPACEHEAP_H
/*
 * The inside of a memory space (private to KeloMspace*.cpp).
 *
 * Region layout, low to high:
 *   [Heap record] [pad] [prologue footer] [block] [block] ... [block] [epilogue header] [pad]
 * A block starts one word before an aligned address, so its payload (right after the header
 * word) is aligned. A block is
 *   [header: size | flags] [payload ...] [footer: size | flags]
 * with size a multiple of kAlign, at least kMinBlock, and the footer equal to the header. The
 * prologue footer and the epilogue header are tags of size 0 marked in use, so a block's
 * neighbours can always be read and never coalesce past the ends.
 *
 * Invariants between calls:
 *   - the blocks tile [first, end) exactly;
 *   - no two free blocks are adjacent (freeing coalesces at once);
 *   - a free block holds its list links (Links) at the start of its payload and sits in
 *     bins[binIndex(size)], a doubly linked list; bit i of binMap is set iff bins[i] is
 *     non-empty;
 *   - freeBytes / freeBlocks / liveBlocks count the blocks as they are;
 *   - tags of blocks swallowed by coalescing are cleared to 0 (free, size 0), so a second free of
 *     the same pointer finds an invalid tag.
 * Bins: sizes below kSmallLimit have one exact bin per kAlign step; larger sizes fall into
 * kSubBins bins per power of two.
 */
#include "kapi/KapiTypes.h"
#include "kapi/KeloMspace.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace Kapi::MspaceHeap {

constexpr size_t kAlign = alignof(std::max_align_t);
constexpr size_t kWord = sizeof(size_t);
constexpr size_t kTagOverhead = 2 * kWord;
constexpr size_t kInUse = 1;
constexpr size_t kSizeMask = ~(kAlign - 1);
constexpr size_t kMinBlock = (2 * kWord + 2 * sizeof(void*) + kAlign - 1) & kSizeMask;
constexpr unsigned kSmallBins = 64;
constexpr size_t kSmallLimit = kSmallBins * kAlign;
constexpr unsigned kSmallLimitLog2 = std::bit_width(kSmallLimit) - 1;
constexpr unsigned kSizeBits = sizeof(size_t) * 8;
constexpr unsigned kSubBinsLog2 = 2;
constexpr unsigned kSubBins = 1u << kSubBinsLog2;
constexpr unsigned kBinCount = kSmallBins + (kSizeBits - kSmallLimitLog2) * kSubBins;
constexpr unsigned kMapWords = (kBinCount + kSizeBits - 1) / kSizeBits;
constexpr uint32 kMagic = 0x6b4d5350; // live heap
constexpr uint32 kDeadMagic = 0x64656164;

static_assert(std::has_single_bit(kAlign) && kAlign >= kWord && kAlign >= 4,
              "tags keep their flags in the low bits below the alignment");
static_assert(kMinBlock <= 2 * kAlign, "an aligned block's lead-in can always become a block");
static_assert(std::has_single_bit(kSmallLimit));

// A free block's list links, at the start of its payload.
struct Links
{
    unsigned char* next;
    unsigned char* prev;
};

struct Heap
{
    uint32 magic = kMagic;
    bool locked = false;
    std::mutex lock; // taken only when `locked`
    unsigned char* base = nullptr;
    size_t capacity = 0;
    unsigned char* first = nullptr; // the first block
    unsigned char* end = nullptr;   // the epilogue header
    size_t freeBytes = 0;
    size_t freeBlocks = 0;
    size_t liveBlocks = 0;
    size_t binMap[kMapWords] = {};
    unsigned char* bins[kBinCount] = {};
};

inline size_t& tagAt(unsigned char* p)
{
    return *reinterpret_cast<size_t*>(p);
}
inline size_t sizeOfTag(size_t tag)
{
    return tag & kSizeMask;
}
inline bool tagInUse(size_t tag)
{
    return (tag & kInUse) != 0;
}
inline size_t& footerOf(unsigned char* block, size_t size)
{
    return tagAt(block + size - kWord);
}
inline void setTags(unsigned char* block, size_t size, size_t flags)
{
    tagAt(block) = size | flags;
    footerOf(block, size) = size | flags;
}
inline Links& linksOf(unsigned char* block)
{
    return *reinterpret_cast<Links*>(block + kWord);
}
inline unsigned char* payloadOf(unsigned char* block)
{
    return block + kWord;
}
inline unsigned char* blockOf(const void* payload)
{
    return static_cast<unsigned char*>(const_cast<void*>(payload)) - kWord;
}

inline unsigned binIndex(size_t size)
{
    if (size < kSmallLimit)
        return static_cast<unsigned>(size / kAlign);
    const unsigned top = static_cast<unsigned>(std::bit_width(size)) - 1;
    const unsigned sub = static_cast<unsigned>(size >> (top - kSubBinsLog2)) & (kSubBins - 1);
    return kSmallBins + (top - kSmallLimitLog2) * kSubBins + sub;
}

// Ends the process: logs `what` with the address concerned, then KeloDLMallocAbort().
[[noreturn]] void corrupt(const char* what, const void* where);

// The heap behind a handle; ends the process when it is not a live heap.
Heap& heapOf(mspace msp);

// Holds the heap's mutex for a scope when the heap was created locked.
inline std::unique_lock<std::mutex> lockHeap(Heap& heap)
{
    std::unique_lock<std::mutex> guard(heap.lock, std::defer_lock);
    if (heap.locked)
        guard.lock();
    return guard;
}

} // namespace Kapi::MspaceHeap

#endif
