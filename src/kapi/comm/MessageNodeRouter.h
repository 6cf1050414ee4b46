#ifndef KAPI_COMM_MESSAGENODEROUTER_H
#define KAPI_COMM_MESSAGENODEROUTER_H
// Kapi::Stream::MessageNodeRouter: an inner node of the routing tree, a MessageNode towards its
// own parent and a MessageNodeParent towards its children. A subclass says how a message header
// selects a child (selectNode) and writes the header that routes a message back to a child
// (prepOutgoingMessage); the two must agree, so that a reply or an outgoing message reaches the
// same engine on the far side that the header selects here.
//
// Invariant: while any child is queued, the router itself is queued at its parent (or is the
// root), so a write request always climbs to the root and the children take turns in FIFO order.
//
// Threads: network thread only.
#include "kapi/comm/MessageNode.h"
#include "kapi/comm/MessageNodeParent.h"

namespace Kapi {
namespace Stream {

class MessageNodeRouter : public MessageNode, public MessageNodeParent
{
public:
    using MessageNode::cancelRequestWrite;
    using MessageNode::requestWrite;

    // Queues the child, then asks this router's own parent for a turn.
    void requestWrite(MessageNode* child) override;
    void cancelRequestWrite(MessageNode* child) override
    {
        MessageNodeParent::cancelRequestWrite(child);
    }

    // Routes by header: no child selected consumes and drops the message; otherwise the reply
    // gets the child's routing header and the child processes the rest.
    bool processMessage(Reader* in, Writer* reply, bool* replyReady) override;
    // One turn of the write queue; asks for another turn while children are still queued.
    bool writeMessage(Writer* out) override;

    // Reads this router's header from `in`; returns the addressed child or null.
    virtual MessageNode* selectNode(Reader* in, Writer* reply) = 0;
};

} // namespace Stream
} // namespace Kapi

#endif
