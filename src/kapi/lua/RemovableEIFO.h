#ifndef KAPI_LUA_REMOVABLEEIFO_H
#define KAPI_LUA_REMOVABLEEIFO_H
// An intrusive first-in-first-out list whose elements can leave from anywhere in constant time.
//
// Representation: a circular doubly linked ring through DoubleLink nodes; the list's own head
// node closes the ring. A node on no list links to itself (next == prev == this), which is how
// isLinked() tells. Elements derive from DoubleLink; the list neither owns nor copies them.
//
// Not synchronised: the owner serialises every call (LuaCallList uses one process-wide lock).
namespace Kapi {

class DoubleLink
{
public:
    DoubleLink() : m_next(this), m_prev(this) {}
    DoubleLink(const DoubleLink&) = delete;
    DoubleLink& operator=(const DoubleLink&) = delete;

    bool isLinked() const { return m_next != this; }

    // Leaves the ring it is on (if any) and links to itself again.
    void unlink()
    {
        m_prev->m_next = m_next;
        m_next->m_prev = m_prev;
        m_next = this;
        m_prev = this;
    }

    // Joins the ring just before `at` (so before the head means at the tail).
    void linkBefore(DoubleLink* at)
    {
        m_next = at;
        m_prev = at->m_prev;
        m_prev->m_next = this;
        at->m_prev = this;
    }

    DoubleLink* next() const { return m_next; }

private:
    DoubleLink* m_next;
    DoubleLink* m_prev;
};

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
