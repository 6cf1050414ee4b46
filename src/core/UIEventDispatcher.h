#ifndef CORE_UIEVENTDISPATCHER_H
#define CORE_UIEVENTDISPATCHER_H
// The UI application's event queue and main loop. Three queues: high priority (FIFO), normal
// (FIFO) and delayed (ordered by dispatch time; equal times keep posting order). High-priority
// events overtake normal ones, immediate events overtake delayed ones, and a delayed event
// runs once its time has come. `mIsDone` is negative while the loop runs, 0 after stop() and 1
// after restart(); mainLoop() returns it.
//
// Threads: any thread may post, repost, cancel, stop or restart; mainLoop() and every dispatch
// run on the UI thread with the mutex released, so handlers may post further events.
#include "core/UIEvent.h"
#include "kapi/Condition.h"
#include "kapi/KapiTypes.h"
#include "kapi/Mutex.h"

#include <deque>
#include <map>
#include <memory>

namespace KELO {
namespace UICore {

class EventDispatcher
{
public:
    static constexpr unsigned kHighPriority = 1;
    static constexpr unsigned kNormalPriority = 0;

    EventDispatcher();
    // Deletes what is still queued (as close()).
    ~EventDispatcher();
    EventDispatcher(const EventDispatcher&) = delete;
    EventDispatcher& operator=(const EventDispatcher&) = delete;

    void setDefaultHandler(EventHandler* handler) { mDefaultHandler = handler; }

    // Priority 1: the high-priority queue; any other: the normal queue.
    void postEvent(Event* event, unsigned priority);
    // Dispatch after `delayMs`. Posting an event that is already queued is fatal.
    void postDelayedEvent(Event* event, unsigned delayMs);
    // Cancels `event` if queued, then posts it delayed.
    void repostEvent(Event* event, unsigned delayMs);
    // Removes a queued delayed event; it is not deleted. False when it was not queued there.
    bool cancelDelayedEvent(Event* event);

    void stop();
    void restart();
    // Runs until stop() or restart(), then close(); returns mIsDone.
    int mainLoop();
    // Deletes the queued events that carry the delete flag and empties the queues.
    void close();

    // The dispatcher clock in milliseconds.
    int64 getTicks() const;
    int64 getLastUserInputTime() const;
    // Records user activity now.
    void touchUserInputEventTime();

private:
    // Dispatches what is due; returns how long the loop may sleep (kInfinite: no limit).
    int64 dispatchEvents_i();
    void dispatch_i(Event* event);
    void wake_i(int done);

    Kapi::ScopedMutex mMutex;
    std::unique_ptr<Kapi::Condition> mCondition;
    std::deque<Event*> mNormal;            // guarded by mMutex
    std::deque<Event*> mHigh;              // guarded by mMutex
    std::multimap<int64, Event*> mDelayed; // guarded by mMutex
    EventHandler* mDefaultHandler = nullptr;
    int64 mLastUserInput = 0; // guarded by mMutex
    int mIsDone = -1;         // guarded by mMutex
};

} // namespace UICore
} // namespace KELO

#endif
