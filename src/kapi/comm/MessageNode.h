#ifndef KAPI_COMM_MESSAGENODE_H
#define KAPI_COMM_MESSAGENODE_H
// Kapi::Stream::MessageNode: one protocol engine in the routing tree that shares a message
// connection. A node has at most one parent (null at the root) and one link to the next node of
// its parent's write queue. The parent owns the queue; the node only carries the link, and the
// link means "queued" exactly when the node has a successor or is the parent's tail.
//
// Incoming messages reach a node through processMessage(); the node reads its part of the message
// from `in`, may write a reply after the routing header its parents already put into `reply`, and
// sets *replyReady when the reply is to be sent. Outgoing messages are produced one at a time:
// a node with something to send calls requestWrite(), and when its turn comes writeMessage() is
// called with the routing header already written; a node with more to send asks again.
//
// Threads: the whole tree lives on the network thread. A parent outlives its children.
#include "kapi/StreamReader.h"
#include "kapi/StreamWriter.h"

namespace Kapi {
namespace Stream {

class MessageNodeParent;

class MessageNode
{
public:
    MessageNode() = default;
    MessageNode(const MessageNode&) = delete;
    MessageNode& operator=(const MessageNode&) = delete;
    // Leaves the parent's write queue, so the queue never holds a dead node.
    virtual ~MessageNode();

    virtual void connected() {}
    // Returns true when the message was consumed (also when it was dropped on purpose).
    virtual bool processMessage(Reader* in, Writer* reply, bool* replyReady) = 0;
    // Returns true when it wrote a message into `out`.
    virtual bool writeMessage(Writer* out) = 0;
    virtual void writeStatus(Writer* out);
    virtual void disconnected() {}

    void setParent(MessageNodeParent* parent) { m_parent = parent; }
    MessageNodeParent* getParent() const { return m_parent; }

    // Asks the parent for a turn to write; nothing when there is no parent.
    void requestWrite();
    void cancelRequestWrite();

private:
    friend class MessageNodeParent;

    MessageNodeParent* m_parent = nullptr;
    MessageNode* m_nextInQueue = nullptr; // the parent's write queue
};

} // namespace Stream
} // namespace Kapi

#endif
