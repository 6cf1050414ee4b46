// A routing node's link to its parent's write queue.
#include "kapi/comm/MessageNode.h"

#include "kapi/comm/MessageNodeParent.h"

namespace Kapi {
namespace Stream {

MessageNode::~MessageNode()
{
    if (m_parent != nullptr && m_parent->isInQueue(this))
        m_parent->removeFromQ(this);
}

void MessageNode::writeStatus(Writer*) {}

void MessageNode::requestWrite()
{
    if (m_parent != nullptr)
        m_parent->requestWrite(this);
}

void MessageNode::cancelRequestWrite()
{
    if (m_parent != nullptr)
        m_parent->cancelRequestWrite(this);
}

} // namespace Stream
} // namespace Kapi
