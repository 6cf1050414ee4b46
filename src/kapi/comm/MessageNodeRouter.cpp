// An inner routing node: header-based routing down, FIFO turns up.
#include "kapi/comm/MessageNodeRouter.h"

namespace Kapi {
namespace Stream {

void MessageNodeRouter::requestWrite(MessageNode* child)
{
    MessageNodeParent::requestWrite(child);
    MessageNode::requestWrite();
}

bool MessageNodeRouter::processMessage(Reader* in, Writer* reply, bool* replyReady)
{
    MessageNode* child = selectNode(in, reply);
    if (child == nullptr)
        return true;
    prepOutgoingMessage(child, reply);
    return child->processMessage(in, reply, replyReady);
}

bool MessageNodeRouter::writeMessage(Writer* out)
{
    const bool wrote = MessageNodeParent::writeMessage(out);
    if (!isQueueEmpty())
        MessageNode::requestWrite();
    return wrote;
}

} // namespace Stream
} // namespace Kapi
