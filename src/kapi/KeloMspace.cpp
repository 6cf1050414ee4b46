// Allocation, release and resizing in a memory space. The region layout, tags and bins are
// described in KeloMspaceHeap.h; each operation below restores the invariants listed there
// before it returns. Allocation is good-fit: an exact small bin first, then the best fit within
// the request's own large bin, then the first block of the next non-empty bin; the remainder of
// a block larger than needed is split off when it can form a block of its own.
#include "kapi/KeloMspace.h"
#include "kapi/KeloMspaceHeap.h"

#include <cstdint>
#include <cstring>
#include <new>

using namespace Kapi::MspaceHeap;

namespace {

uintptr_t toInt(const void* p)
{
    return reinterpret_cast<uintptr_t>(p);
}

// ---- free lists -----------------------------------------------------------------------------

void markBin(Heap& heap, unsigned bin, bool nonEmpty)
{
    const size_t bit = size_t(1) << (bin % kSizeBits);
    if (nonEmpty)
        heap.binMap[bin / kSizeBits] |= bit;
    else
        heap.binMap[bin / kSizeBits] &= ~bit;
}

void pushFree(Heap& heap, unsigned char* block, size_t size)
{
    const unsigned bin = binIndex(size);
    Links& links = linksOf(block);
    links.prev = nullptr;
    links.next = heap.bins[bin];
    if (links.next != nullptr)
        linksOf(links.next).prev = block;
    heap.bins[bin] = block;
    markBin(heap, bin, true);
    heap.freeBytes += size;
    ++heap.freeBlocks;
}

void unlinkFree(Heap& heap, unsigned char* block, size_t size)
{
    const unsigned bin = binIndex(size);
    Links& links = linksOf(block);
    if (links.next != nullptr) {
        if (linksOf(links.next).prev != block)
            corrupt("free list link damaged (write after free?)", payloadOf(block));
        linksOf(links.next).prev = links.prev;
    }
    if (links.prev != nullptr) {
        if (linksOf(links.prev).next != block)
            corrupt("free list link damaged (write after free?)", payloadOf(block));
        linksOf(links.prev).next = links.next;
    } else {
        if (heap.bins[bin] != block)
            corrupt("free block missing from its bin", payloadOf(block));
        heap.bins[bin] = links.next;
        if (links.next == nullptr)
            markBin(heap, bin, false);
    }
    heap.freeBytes -= size;
    --heap.freeBlocks;
}

// The first non-empty bin at or after `bin`, or kBinCount.
unsigned nextNonEmptyBin(const Heap& heap, unsigned bin)
{
    unsigned word = bin / kSizeBits;
    if (word >= kMapWords)
        return kBinCount;
    size_t bits = heap.binMap[word] & (~size_t(0) << (bin % kSizeBits));
    for (;;) {
        if (bits != 0)
            return word * kSizeBits + static_cast<unsigned>(std::countr_zero(bits));
        if (++word == kMapWords)
            return kBinCount;
        bits = heap.binMap[word];
    }
}

// ---- tag checks ---------------------------------------------------------------------------

// The size of the in-use block whose payload is `mem`, after checking it belongs to the heap
// and its tags are whole.
size_t checkLiveBlock(const Heap& heap, const void* mem)
{
    if (toInt(mem) % kAlign != 0 || toInt(mem) <= toInt(heap.first) ||
        toInt(mem) >= toInt(heap.end))
        corrupt("pointer not in the heap", mem);
    unsigned char* block = blockOf(mem);
    const size_t tag = tagAt(block);
    if (!tagInUse(tag))
        corrupt("double free or pointer to a block not in use", mem);
    const size_t size = sizeOfTag(tag);
    if (size < kMinBlock || size > static_cast<size_t>(heap.end - block))
        corrupt("bad block header", mem);
    if (footerOf(block, size) != tag)
        corrupt("bad block footer (write past the end of a block?)", mem);
    return size;
}

// Checks the tags of a free neighbour of `size` bytes starting at `neighbour`.
void checkFreeNeighbour(unsigned char* neighbour, size_t size, const Heap& heap)
{
    if (size < kMinBlock || neighbour < heap.first || neighbour + size > heap.end ||
        tagAt(neighbour) != footerOf(neighbour, size))
        corrupt("bad tag on a free neighbour", payloadOf(neighbour));
}

// ---- block surgery --------------------------------------------------------------------------

// Makes [block, block + size) a free block, merging it with free neighbours, and files it.
void releaseRange(Heap& heap, unsigned char* block, size_t size)
{
    const size_t prevTag = tagAt(block - kWord);
    if (!tagInUse(prevTag)) {
        const size_t prevSize = sizeOfTag(prevTag);
        unsigned char* prev = block - prevSize;
        checkFreeNeighbour(prev, prevSize, heap);
        unlinkFree(heap, prev, prevSize);
        tagAt(block - kWord) = 0;
        tagAt(block) = 0;
        block = prev;
        size += prevSize;
    }
    unsigned char* next = block + size;
    const size_t nextTag = tagAt(next);
    if (!tagInUse(nextTag)) {
        const size_t nextSize = sizeOfTag(nextTag);
        checkFreeNeighbour(next, nextSize, heap);
        unlinkFree(heap, next, nextSize);
        tagAt(next - kWord) = 0;
        tagAt(next) = 0;
        size += nextSize;
    }
    setTags(block, size, 0);
    pushFree(heap, block, size);
}

// Trims the in-use block at `block` of `size` bytes down to `need`, giving the tail back when
// it is big enough to be a block. Returns the block's final size.
size_t trimInUse(Heap& heap, unsigned char* block, size_t size, size_t need)
{
    if (size - need < kMinBlock) {
        setTags(block, size, kInUse);
        return size;
    }
    setTags(block, need, kInUse);
    releaseRange(heap, block + need, size - need);
    return need;
}

// The block size serving a request of `bytes`, or 0 when no region could hold it.
size_t blockSizeFor(const Heap& heap, size_t bytes)
{
    if (bytes > heap.capacity)
        return 0;
    const size_t size = (bytes + kTagOverhead + kAlign - 1) & kSizeMask;
    return size < kMinBlock ? kMinBlock : size;
}

// Takes a free block of at least `need` bytes off its list; null when none fits.
unsigned char* takeFit(Heap& heap, size_t need, size_t* size)
{
    unsigned bin = binIndex(need);
    if (bin >= kSmallBins) {
        // Best fit within the request's own bin: its blocks straddle the request size.
        unsigned char* best = nullptr;
        size_t bestSize = 0;
        for (unsigned char* b = heap.bins[bin]; b != nullptr; b = linksOf(b).next) {
            const size_t s = sizeOfTag(tagAt(b));
            if (s >= need && (best == nullptr || s < bestSize)) {
                best = b;
                bestSize = s;
                if (s == need)
                    break;
            }
        }
        if (best != nullptr) {
            unlinkFree(heap, best, bestSize);
            *size = bestSize;
            return best;
        }
        ++bin;
    } else if (heap.bins[bin] == nullptr) {
        ++bin; // no exact small fit
    }
    // Every block of a later bin is larger than the request.
    bin = nextNonEmptyBin(heap, bin);
    if (bin == kBinCount)
        return nullptr;
    unsigned char* block = heap.bins[bin];
    *size = sizeOfTag(tagAt(block));
    unlinkFree(heap, block, *size);
    return block;
}

unsigned char* allocateBlock(Heap& heap, size_t need)
{
    size_t size = 0;
    unsigned char* block = takeFit(heap, need, &size);
    if (block == nullptr)
        return nullptr;
    trimInUse(heap, block, size, need);
    ++heap.liveBlocks;
    return block;
}

void* mallocLocked(Heap& heap, size_t bytes)
{
    const size_t need = blockSizeFor(heap, bytes);
    if (need == 0)
        return nullptr;
    unsigned char* block = allocateBlock(heap, need);
    return block != nullptr ? payloadOf(block) : nullptr;
}

void freeLocked(Heap& heap, void* mem)
{
    const size_t size = checkLiveBlock(heap, mem);
    --heap.liveBlocks;
    releaseRange(heap, blockOf(mem), size);
}

void* reallocLocked(Heap& heap, void* mem, size_t bytes)
{
    if (mem == nullptr)
        return mallocLocked(heap, bytes);
    const size_t size = checkLiveBlock(heap, mem);
    const size_t need = blockSizeFor(heap, bytes);
    if (need == 0)
        return nullptr;
    unsigned char* block = blockOf(mem);
    if (need <= size) {
        trimInUse(heap, block, size, need);
        return mem;
    }
    unsigned char* next = block + size;
    const size_t nextTag = tagAt(next);
    if (!tagInUse(nextTag) && size + sizeOfTag(nextTag) >= need) {
        const size_t nextSize = sizeOfTag(nextTag);
        checkFreeNeighbour(next, nextSize, heap);
        unlinkFree(heap, next, nextSize);
        tagAt(next - kWord) = 0;
        tagAt(next) = 0;
        trimInUse(heap, block, size + nextSize, need);
        return mem;
    }
    void* moved = mallocLocked(heap, bytes);
    if (moved == nullptr)
        return nullptr;
    memcpy(moved, mem, size - kTagOverhead);
    freeLocked(heap, mem);
    return moved;
}

void* memalignLocked(Heap& heap, size_t alignment, size_t bytes)
{
    if (alignment <= kAlign)
        return mallocLocked(heap, bytes);
    if (alignment > heap.capacity || alignment > (SIZE_MAX >> 1) + 1)
        return nullptr;
    alignment = std::bit_ceil(alignment);
    const size_t need = blockSizeFor(heap, bytes);
    if (need == 0 || alignment + kMinBlock > heap.capacity ||
        need > heap.capacity - alignment - kMinBlock)
        return nullptr;
    // Room for the lead-in before the aligned payload, which must itself be a whole block.
    unsigned char* block = allocateBlock(heap, need + alignment + kMinBlock);
    if (block == nullptr)
        return nullptr;
    size_t size = sizeOfTag(tagAt(block));
    uintptr_t payload = toInt(payloadOf(block));
    size_t lead = ((payload + alignment - 1) & ~(alignment - 1)) - payload;
    if (lead != 0 && lead < kMinBlock)
        lead += alignment;
    if (lead != 0) {
        unsigned char* aligned = block + lead;
        setTags(aligned, size - lead, kInUse);
        releaseRange(heap, block, lead);
        block = aligned;
        size -= lead;
    }
    trimInUse(heap, block, size, need);
    return payloadOf(block);
}

} // namespace

namespace Kapi::MspaceHeap {

Heap& heapOf(mspace msp)
{
    Heap* heap = static_cast<Heap*>(msp);
    if (heap == nullptr || heap->magic != kMagic)
        corrupt("not a live mspace", msp);
    return *heap;
}

} // namespace Kapi::MspaceHeap

extern "C" {

mspace create_mspace_with_base(void* base, size_t capacity, int locked)
{
    const uintptr_t start = toInt(base);
    if (base == nullptr || capacity > UINTPTR_MAX - start)
        return nullptr;
    const uintptr_t limit = start + capacity;
    const uintptr_t heapAt = (start + alignof(Heap) - 1) & ~uintptr_t(alignof(Heap) - 1);
    if (heapAt > limit || limit - heapAt < sizeof(Heap) + 2 * kAlign + kMinBlock)
        return nullptr;
    // The first block begins one word before an aligned address, after the prologue footer.
    const uintptr_t first = ((heapAt + sizeof(Heap) + 2 * kWord + kAlign - 1) & kSizeMask) - kWord;
    const uintptr_t end = (limit & kSizeMask) - kWord; // the epilogue header
    if (end < first || end - first < kMinBlock)
        return nullptr;

    Heap* heap = new (reinterpret_cast<void*>(heapAt)) Heap();
    heap->locked = locked != 0;
    heap->base = static_cast<unsigned char*>(base);
    heap->capacity = capacity;
    heap->first = reinterpret_cast<unsigned char*>(first);
    heap->end = reinterpret_cast<unsigned char*>(end);
    tagAt(heap->first - kWord) = kInUse; // prologue footer
    tagAt(heap->end) = kInUse;           // epilogue header
    const size_t size = end - first;
    setTags(heap->first, size, 0);
    pushFree(*heap, heap->first, size);
    return heap;
}

size_t destroy_mspace(mspace msp)
{
    Heap& heap = heapOf(msp);
    const size_t capacity = heap.capacity;
    heap.magic = kDeadMagic;
    heap.~Heap();
    return capacity;
}

void* KELO_mspace_malloc(mspace msp, size_t bytes)
{
    Heap& heap = heapOf(msp);
    auto guard = lockHeap(heap);
    return mallocLocked(heap, bytes);
}

void KELO_mspace_free(mspace msp, void* mem)
{
    if (mem == nullptr)
        return;
    Heap& heap = heapOf(msp);
    auto guard = lockHeap(heap);
    freeLocked(heap, mem);
}

void* KELO_mspace_realloc(mspace msp, void* mem, size_t newSize)
{
    Heap& heap = heapOf(msp);
    auto guard = lockHeap(heap);
    return reallocLocked(heap, mem, newSize);
}

void* KELO_mspace_calloc(mspace msp, size_t count, size_t elemSize)
{
    if (elemSize != 0 && count > SIZE_MAX / elemSize)
        return nullptr;
    Heap& heap = heapOf(msp);
    auto guard = lockHeap(heap);
    void* mem = mallocLocked(heap, count * elemSize);
    if (mem != nullptr)
        memset(mem, 0, sizeOfTag(tagAt(blockOf(mem))) - kTagOverhead);
    return mem;
}

void* KELO_mspace_memalign(mspace msp, size_t alignment, size_t bytes)
{
    Heap& heap = heapOf(msp);
    auto guard = lockHeap(heap);
    return memalignLocked(heap, alignment, bytes);
}

size_t mspace_usable_size(const void* mem)
{
    if (mem == nullptr)
        return 0;
    unsigned char* block = blockOf(mem);
    const size_t tag = tagAt(block);
    const size_t size = sizeOfTag(tag);
    if (!tagInUse(tag) || size < kMinBlock || footerOf(block, size) != tag)
        corrupt("usable size asked of a block not in use or damaged", mem);
    return size - kTagOverhead;
}

size_t mspace_block_overhead(void)
{
    return kTagOverhead;
}

} // extern "C"
