// The hand-back queue's process-wide state: one lock, one condition, and the chain of elements
// being run. The chain is normally one frame long; a drain or cancelAll() started from inside a
// running element (on the callback thread) pushes a frame on top of it, so every element still
// on the callback thread's stack counts as running. Frames live on the callback thread's stack
// and are read and changed only under the lock. The state is made once by a static initialiser
// and never destroyed, so elements destroyed during process exit still find it.
#include "kapi/lua/LuaCallMe.h"

#include "kapi/Condition.h"
#include "kapi/Mutex.h"
#include "kapi/vLog.h"

#include <memory>
#include <pthread.h>

namespace Kapi {
namespace {

struct RunFrame
{
    LuaCallMe* element;
    RunFrame* outer;
};

struct HandBackState
{
    std::unique_ptr<Mutex> g_lock = Mutex::New(false);
    std::unique_ptr<Condition> g_condition = Condition::New();
    RunFrame* g_pCurrentFrame = nullptr; // top of the running chain, null when nothing runs
    pthread_t g_callbackThread{};        // meaningful only while g_pCurrentFrame is non-null
};

HandBackState& state()
{
    static HandBackState* s_state = new HandBackState;
    return *s_state;
}

const bool s_stateCreated = (state(), true);

// Lock held.
bool callerIsCallbackThread(const HandBackState& s)
{
    return s.g_pCurrentFrame != nullptr && pthread_equal(s.g_callbackThread, pthread_self()) != 0;
}

// Lock held.
bool isRunning(const HandBackState& s, const LuaCallMe* element)
{
    for (const RunFrame* frame = s.g_pCurrentFrame; frame != nullptr; frame = frame->outer) {
        if (frame->element == element) {
            return true;
        }
    }
    return false;
}

enum class Drain
{
    Run,
    Cancel
};

// The drain loop shared by inLuaThread() and cancelAll(): take the oldest element under the
// lock, mark it running, call it without the lock, unmark it and wake every waiter.
bool drain(RemovableEIFO<LuaCallMe, DoubleLink>& list, LuaCallList* owner, lua_State* L, Drain mode)
{
    HandBackState& s = state();
    bool ran = false;
    for (;;) {
        RunFrame frame{nullptr, nullptr};
        {
            MutexLocker locker(*s.g_lock);
            while (s.g_pCurrentFrame != nullptr && !callerIsCallbackThread(s)) {
                s.g_condition->wait(s.g_lock.get(), kInfinite);
            }
            if (list.empty()) {
                return ran;
            }
            frame.element = list.popFront();
            frame.outer = s.g_pCurrentFrame;
            s.g_pCurrentFrame = &frame;
            s.g_callbackThread = pthread_self();
        }
        if (mode == Drain::Run) {
            frame.element->inLuaThread(owner, L);
        } else {
            frame.element->luaWontCall();
        }
        ran = true;
        {
            MutexLocker locker(*s.g_lock);
            s.g_pCurrentFrame = frame.outer;
            s.g_condition->broadcast();
        }
    }
}

} // namespace

LuaCallMe::~LuaCallMe()
{
    waitAndUnlink_i();
}

bool LuaCallMe::waitAndUnlink_i()
{
    HandBackState& s = state();
    MutexLocker locker(*s.g_lock);
    while (isRunning(s, this) && !callerIsCallbackThread(s)) {
        s.g_condition->wait(s.g_lock.get(), kInfinite);
    }
    const bool wasLinked = isLinked();
    unlink();
    return wasLinked;
}

void LuaCallMe::remove()
{
    if (waitAndUnlink_i()) {
        luaWontCall();
    }
}

void LuaCallMe::detach()
{
    waitAndUnlink_i();
}

LuaCallList::LuaCallList(Wakeup wakeup, CallFunction callFunction)
    : m_wakeup(wakeup), m_callFunction(callFunction)
{
}

LuaCallList::~LuaCallList()
{
    cancelAll();
    HandBackState& s = state();
    MutexLocker locker(*s.g_lock);
    if (!m_list.empty()) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "FIXME: Potential resource leak: %s",
                        "~RemovableEIFO");
        while (m_list.popFront() != nullptr) {
        }
    }
}

void LuaCallList::append(LuaCallMe* element)
{
    HandBackState& s = state();
    bool wasEmpty;
    {
        MutexLocker locker(*s.g_lock);
        wasEmpty = m_list.empty();
        m_list.pushBack(element);
    }
    if (wasEmpty && m_wakeup != nullptr) {
        m_wakeup();
    }
}

bool LuaCallList::inLuaThread(lua_State* L)
{
    return drain(m_list, this, L, Drain::Run);
}

void LuaCallList::cancel(LuaCallMe* element)
{
    element->remove();
}

void LuaCallList::cancelAll()
{
    drain(m_list, this, nullptr, Drain::Cancel);
}

} // namespace Kapi
