#ifndef KAPI_MULTIBUFFER_H
#define KAPI_MULTIBUFFER_H
// Kapi::MultiBuffer: a bounded queue of byte blocks (Kapi::Buffer) between one producer thread
// and one consumer thread, the back-pressure point of the streaming path.
//
// Representation: the held items, oldest first; a "current" item (where the next read starts)
// and an offset into its valid bytes. Items before the current one have been read and form the
// back buffer; the current item and those after it hold the unread bytes. Stream positions:
//     m_startIndex <= m_consumerIndex <= m_producerIndex
// with m_startIndex = bytes trimmed so far, m_consumerIndex = bytes read, m_producerIndex =
// bytes appended. m_bytesAllocated is the sum of the reserved sizes of the held items; the
// capacity limits it, while the back-buffer limit bounds m_consumerIndex - m_startIndex.
// When no bytes are available the current item is the newest (offset at its end), or there is
// none. The back buffer is trimmed from the oldest end and never past the current item.
//
// Waiting: append blocks while the new block's reserved size would push m_bytesAllocated past
// the capacity; read/readBuffer block until bytes are available or end of file is set. A null
// timeout waits without limit; otherwise each round of waiting uses the full timeout again.
// disable() wakes every waiter with FAILURE and fails every later call.
//
// Threads: every public function may be called from any thread; all take the object's mutex.
// Statuses are Kapi::Status codes: SUCCESS, INVALID_ARGUMENTS (after end of file), TIMED_OUT,
// FAILURE (disabled), NOT_SUPPORTED (readBuffer misuse), PIPELINE_END_OF_FILE.
#include "kapi/Buffer.h"
#include "kapi/BufferingInformation.h"
#include "kapi/Condition.h"
#include "kapi/KapiTypes.h"
#include "kapi/Mutex.h"
#include "kapi/Status.h"

#include <list>
#include <memory>

namespace Kapi {

// One held block. The item owns its buffer until the buffer is detached (handed to a reader,
// or given back to a producer whose append failed). Length and reserved size are recorded at
// creation so that accounting survives the detach. loTs/hiTs are used by TimedMultiBuffer only.
class MultiBufferItem
{
public:
    explicit MultiBufferItem(Buffer* buffer, int64 loTs = 0, int64 hiTs = 0);
    MultiBufferItem(const MultiBufferItem&) = delete;
    MultiBufferItem& operator=(const MultiBufferItem&) = delete;

    Buffer* getBuffer() const { return mBuffer.get(); }
    // Gives up ownership; the item keeps its recorded sizes.
    Buffer* detachBuffer() { return mBuffer.release(); }
    unsigned getLength() const { return mLength; }
    unsigned getReservedSize() const { return mReserved; }
    // The block's address as appended, for log lines written after a detach.
    const void* getAddress() const { return mAddress; }

    const int64 loTs;
    const int64 hiTs;

private:
    std::unique_ptr<Buffer> mBuffer;
    const void* const mAddress;
    const unsigned mLength;
    const unsigned mReserved;
};

class MultiBuffer
{
public:
    MultiBuffer(long long maxTotalSizeInBytes, long long maxBackBufferSizeInBytes);
    virtual ~MultiBuffer();
    MultiBuffer(const MultiBuffer&) = delete;
    MultiBuffer& operator=(const MultiBuffer&) = delete;

    // Queues `b` (non-null) at the newest end; takes ownership on SUCCESS only. Waits for space.
    Status append(Buffer* b, long long* timeoutUs);
    // Marks end of file: INVALID_ARGUMENTS when already marked, FAILURE when disabled.
    Status appendEof();
    // Copies up to *numBytes bytes to `dst`; *numBytes becomes the count copied. Waits (once)
    // for at least one byte or end of file, then returns what is there. PIPELINE_END_OF_FILE
    // when end of file is set and everything was read. Wanting 0 bytes returns at once.
    Status read(unsigned char* dst, unsigned int* numBytes, long long* timeoutUs);
    // Hands out the next whole block (the caller owns it). Only on a multibuffer without back
    // buffer (NOT_SUPPORTED otherwise, at once) and only at a block boundary (NOT_SUPPORTED when
    // a read stopped inside the current block).
    Status readBuffer(Buffer*& out, long long* timeoutUs);
    // Waits until `bytes` more reserved bytes fit in the capacity.
    Status waitForSpace(long long bytes, long long* timeoutUs);
    // Drops every held block and releases all waiters; every later call fails.
    void disable();
    // Always SUCCESS.
    Status getBufferingInformation(BufferingInformation& info) const;

protected:
    using ItemList = std::list<std::shared_ptr<MultiBufferItem>>;

    // Runs with m_mutex held. On failure the item's buffer is detached (the caller keeps it).
    Status append_i(const std::shared_ptr<MultiBufferItem>& item, long long* timeoutUs);
    void getBufferingInformation_i(BufferingInformation& info) const;

    const int64 maxTotalSizeInBytes;
    const int64 maxBackBufferSizeInBytes;
    ItemList m_items;
    int64 m_bytesAllocated = 0;
    int64 m_startIndex = 0;
    int64 m_producerIndex = 0;
    int64 m_consumerIndex = 0;
    bool m_eofReached = false;
    ItemList::iterator m_current; // m_items.end() when there is no current item
    unsigned m_currentOffset = 0; // into the current item's valid bytes
    bool enabled = true;
    std::unique_ptr<Mutex> m_mutex;
    std::unique_ptr<Condition> m_condition;

private:
    Status waitForSpace_i(int64 bytes, long long* timeoutUs);
    Status waitForBytes_i(long long* timeoutUs);
    Status read_i(unsigned char* dst, unsigned int* numBytes, long long* timeoutUs);
    void trimBackBuffers_i(bool handOut);
};

} // namespace Kapi

#endif
