#ifndef KAPI_DOUBLELINK_H
#define KAPI_DOUBLELINK_H
// A node of a circular, doubly linked, intrusive ring. A node on no ring links to itself
// (next == prev == this), which is how isLinked() tells, so unlinking is always safe and a node
// is on at most one ring at a time. Lists built on it close the ring with a head node of their
// own that is never handed out as an element.
//
// Not synchronised: the owner of the ring serialises every call.
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

    // Joins the ring just before `at` (so before a list's head means at its tail).
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

} // namespace Kapi

#endif
