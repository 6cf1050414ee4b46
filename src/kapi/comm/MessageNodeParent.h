#ifndef KAPI_COMM_MESSAGENODEPARENT_H
#define KAPI_COMM_MESSAGENODEPARENT_H
// Kapi::Stream::MessageNodeParent: the write queue of a routing node's children. The queue is a
// singly linked FIFO threaded through the children (MessageNode's link) with a head and a tail:
// head and tail are both null or both set, the tail's link is null, and every queued node is
// reachable from the head exactly once. A node is queued when it has a successor or is the tail,
// so it is never queued twice and unlinking it needs no search beyond its predecessor.
//
// Threads: network thread only, like the tree.
#include "kapi/comm/MessageNode.h"

namespace Kapi {
namespace Stream {

class MessageNodeParent
{
public:
    MessageNodeParent() = default;
    MessageNodeParent(const MessageNodeParent&) = delete;
    MessageNodeParent& operator=(const MessageNodeParent&) = delete;
    // Unlinks whatever is still queued.
    virtual ~MessageNodeParent();

    // Queues `node` at the back unless it is already queued.
    virtual void requestWrite(MessageNode* node);
    // Unlinks `node` wherever it is in the queue; nothing when it is not queued.
    virtual void cancelRequestWrite(MessageNode* node);
    // Writes the header that routes a message back to `child`.
    virtual void prepOutgoingMessage(MessageNode* child, Writer* out) = 0;

    bool isInQueue(const MessageNode* node) const;
    bool isQueueEmpty() const { return m_head == nullptr; }
    void addToQ(MessageNode* node);
    void removeFromQ(MessageNode* node);
    // Removes and returns the head; null when the queue is empty.
    MessageNode* popFirst();

    // One turn: false with an empty queue; else the head leaves the queue, its routing header is
    // written and its writeMessage() result returned.
    bool writeMessage(Writer* out);

    // Checks the queue's invariants (see the file head); false when one is broken.
    bool audit() const;

private:
    MessageNode* m_head = nullptr;
    MessageNode* m_tail = nullptr;
};

} // namespace Stream
} // namespace Kapi

#endif
