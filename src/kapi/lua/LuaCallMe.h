#ifndef KAPI_LUA_LUACALLME_H
#define KAPI_LUA_LUACALLME_H
// The hand-back queue: work finished on any thread reaches the one thread that owns a Lua state
// through a LuaCallList of LuaCallMe elements.
//
// Representation: each list is a RemovableEIFO of elements; an element is on at most one list
// at a time. All lists share one process-wide lock and condition, the element currently being
// run (or null) and the thread running it. Only one element runs at a time in the whole process.
//
// Guarantees:
// - inLuaThread() of an element is called without the lock held, so it may append, cancel or
//   destroy elements, itself included, without deadlock; work it appends runs in the same drain.
// - A thread that cancels or destroys the element being run waits until that run has finished,
//   unless it is the thread running it. So once remove()/cancel()/detach() has returned, the
//   element's inLuaThread() is not running and will not start.
// - Exactly one of inLuaThread() or luaWontCall() is called per append that was not superseded
//   by a later append of the same element, unless the element is destroyed or detached first
//   (then neither is called).
//
// Thread rules: LuaCallList::append, cancel, cancelAll, LuaCallMe::remove, detach and the
// destructor may be called from any thread; LuaCallList::inLuaThread only on the Lua thread.
#include "kapi/lua/RemovableEIFO.h"

struct lua_State;

namespace Kapi {

class LuaCallList;

class LuaCallMe : public DoubleLink
{
public:
    LuaCallMe() = default;
    LuaCallMe(const LuaCallMe&) = delete;
    LuaCallMe& operator=(const LuaCallMe&) = delete;

    // Waits while another thread runs this element, then unlinks it; no luaWontCall(). A
    // derived class whose inLuaThread() uses its own members calls detach() first in its own
    // destructor: by the time this base destructor runs, those members are gone.
    virtual ~LuaCallMe();
    // The work, on the Lua thread.
    virtual void inLuaThread(LuaCallList* list, lua_State* L) = 0;
    // Called instead of inLuaThread() when queued work is cancelled.
    virtual void luaWontCall() {}

    // Cancels this element if it is queued: waits as the destructor does, unlinks it and, if it
    // was linked, calls luaWontCall().
    void remove();
    // What the destructor does: wait, unlink, no notification.
    void detach();

private:
    // Waits (lock held) until this element is not running on another thread; unlinks it.
    // True when it was linked.
    bool waitAndUnlink_i();
};

class LuaCallList
{
public:
    typedef void (*Wakeup)();
    typedef int (*CallFunction)(lua_State* L, int nargs, int nresults);

    // `wakeup` (may be null) is called, outside the lock, whenever an append finds the list
    // empty; it should only signal the Lua thread to call inLuaThread(). `callFunction` is the
    // owner's protected-call routine for elements that call back into scripts.
    LuaCallList(Wakeup wakeup, CallFunction callFunction);
    // Cancels what is queued (luaWontCall() for each); elements appended meanwhile are logged
    // as a potential leak and unlinked.
    ~LuaCallList();
    LuaCallList(const LuaCallList&) = delete;
    LuaCallList& operator=(const LuaCallList&) = delete;

    // Any thread. Queues `element` at the tail; an element already queued moves to the tail.
    void append(LuaCallMe* element);
    // Lua thread only. Runs queued elements in order until the list is empty; true when at
    // least one ran.
    bool inLuaThread(lua_State* L);
    // Any thread: as element->remove().
    void cancel(LuaCallMe* element);
    // Any thread: luaWontCall() for every queued element, oldest first.
    void cancelAll();

    CallFunction getCallFunction() const { return m_callFunction; }

private:
    Wakeup m_wakeup;
    CallFunction m_callFunction;
    RemovableEIFO<LuaCallMe, DoubleLink> m_list;
};

} // namespace Kapi

#endif
