#ifndef KAPI_LUA_REMOVABLEEIFO_H
#define KAPI_LUA_REMOVABLEEIFO_H
// An intrusive first-in-first-out list whose elements can leave from anywhere in constant time.
//
// Representation: a ring of DoubleLink nodes closed by the list's own head node. Elements derive
// from DoubleLink; the list neither owns nor copies them.
//
// Not synchronised: the owner serialises every call (LuaCallList uses one process-wide lock).
#include "kapi/DoubleLink.h"

namespace Kapi {

// T derives from Link.
template <class T, class Link> class RemovableEIFO
{
public:
    RemovableEIFO() = default;
    RemovableEIFO(const RemovableEIFO&) = delete;
    RemovableEIFO& operator=(const RemovableEIFO&) = delete;
    // The owner empties the list first; a list destroyed non-empty leaves its elements pointing
    // at freed memory, so the head unlinks itself (which also detaches the ring from it).
    ~RemovableEIFO() { m_head.unlink(); }

    bool empty() const { return !m_head.isLinked(); }

    // Moves `element` to the tail, from wherever it was.
    void pushBack(T* element)
    {
        Link* link = element;
        link->unlink();
        link->linkBefore(&m_head);
    }

    // The oldest element, or null.
    T* front() const { return empty() ? nullptr : static_cast<T*>(m_head.next()); }

    // Unlinks and returns the oldest element, or null.
    T* popFront()
    {
        T* element = front();
        if (element != nullptr) {
            static_cast<Link*>(element)->unlink();
        }
        return element;
    }

private:
    Link m_head;
};

} // namespace Kapi

#endif
