// The write queue of a routing node: a FIFO threaded through the queued children.
#include "kapi/comm/MessageNodeParent.h"

namespace Kapi {
namespace Stream {

MessageNodeParent::~MessageNodeParent()
{
    while (popFirst() != nullptr) {
    }
}

void MessageNodeParent::requestWrite(MessageNode* node)
{
    if (node != nullptr && !isInQueue(node))
        addToQ(node);
}

void MessageNodeParent::cancelRequestWrite(MessageNode* node)
{
    if (node != nullptr && isInQueue(node))
        removeFromQ(node);
}

bool MessageNodeParent::isInQueue(const MessageNode* node) const
{
    return node != nullptr && (node->m_nextInQueue != nullptr || node == m_tail);
}

void MessageNodeParent::addToQ(MessageNode* node)
{
    node->m_nextInQueue = nullptr;
    if (m_tail == nullptr)
        m_head = node;
    else
        m_tail->m_nextInQueue = node;
    m_tail = node;
}

void MessageNodeParent::removeFromQ(MessageNode* node)
{
    MessageNode* previous = nullptr;
    for (MessageNode* current = m_head; current != nullptr; current = current->m_nextInQueue) {
        if (current != node) {
            previous = current;
            continue;
        }
        if (previous == nullptr)
            m_head = node->m_nextInQueue;
        else
            previous->m_nextInQueue = node->m_nextInQueue;
        if (m_tail == node)
            m_tail = previous;
        node->m_nextInQueue = nullptr;
        return;
    }
}

MessageNode* MessageNodeParent::popFirst()
{
    MessageNode* first = m_head;
    if (first == nullptr)
        return nullptr;
    m_head = first->m_nextInQueue;
    if (m_head == nullptr)
        m_tail = nullptr;
    first->m_nextInQueue = nullptr;
    return first;
}

bool MessageNodeParent::writeMessage(Writer* out)
{
    MessageNode* node = popFirst();
    if (node == nullptr)
        return false;
    prepOutgoingMessage(node, out);
    return node->writeMessage(out);
}

bool MessageNodeParent::audit() const
{
    if ((m_head == nullptr) != (m_tail == nullptr))
        return false;
    if (m_tail != nullptr && m_tail->m_nextInQueue != nullptr)
        return false;
    // Floyd's walk: a cycle would never reach the tail.
    const MessageNode* slow = m_head;
    const MessageNode* fast = m_head;
    const MessageNode* last = nullptr;
    while (fast != nullptr) {
        last = fast;
        fast = fast->m_nextInQueue;
        if (fast == nullptr)
            break;
        last = fast;
        fast = fast->m_nextInQueue;
        slow = slow->m_nextInQueue;
        if (fast != nullptr && fast == slow)
            return false;
    }
    return last == m_tail;
}

} // namespace Stream
} // namespace Kapi
