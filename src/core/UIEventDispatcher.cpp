// The UI event queues and the main loop. The mutex guards the three queues, mIsDone and the
// user-input time; it is released around every dispatch.
#include "core/UIEventDispatcher.h"

#include "kapi/PanicAssert.h"
#include "kapi/Timer.h"
#include "kapi/vLog.h"

namespace KELO {
namespace UICore {

EventDispatcher::EventDispatcher() : mCondition(Kapi::Condition::New()) {}

EventDispatcher::~EventDispatcher()
{
    close();
}

void EventDispatcher::postEvent(Event* event, unsigned priority)
{
    if (event == nullptr)
        return;
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_DEBUG))
        vLogMessage(VLOGSRC_VUI, VLOG_DEBUG, "EventDispatcher::postEvent(%p, priority %u)",
                    static_cast<void*>(event), priority);
    Kapi::MutexLocker lock(mMutex);
    KAPI_ASSERT(event->empty() && "event is already queued");
    event->mQueued = true;
    event->mPriority = priority;
    if (priority == kHighPriority)
        mHigh.push_back(event);
    else
        mNormal.push_back(event);
    mCondition->signal();
}

void EventDispatcher::postDelayedEvent(Event* event, unsigned delayMs)
{
    if (event == nullptr)
        return;
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_DEBUG))
        vLogMessage(VLOGSRC_VUI, VLOG_DEBUG, "EventDispatcher::postEvent(%p, delay %u)",
                    static_cast<void*>(event), delayMs);
    Kapi::MutexLocker lock(mMutex);
    KAPI_ASSERT(event->empty() && "event is already queued");
    event->mQueued = true;
    event->mDispatchTime = Kapi::Timer::now() + static_cast<int64>(delayMs) * 1000;
    // multimap inserts after the equal keys already present: equal times keep posting order.
    mDelayed.emplace(event->mDispatchTime, event);
    mCondition->signal();
}

void EventDispatcher::repostEvent(Event* event, unsigned delayMs)
{
    cancelDelayedEvent(event);
    postDelayedEvent(event, delayMs);
}

bool EventDispatcher::cancelDelayedEvent(Event* event)
{
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_DEBUG))
        vLogMessage(VLOGSRC_VUI, VLOG_DEBUG, "EventDispatcher::cancelDelayedEvent(%p)",
                    static_cast<void*>(event));
    Kapi::MutexLocker lock(mMutex);
    for (auto it = mDelayed.begin(); it != mDelayed.end(); ++it) {
        if (it->second == event) {
            mDelayed.erase(it);
            event->mQueued = false;
            return true;
        }
    }
    return false;
}

void EventDispatcher::wake_i(int done)
{
    Kapi::MutexLocker lock(mMutex);
    mIsDone = done;
    mCondition->broadcast();
}

void EventDispatcher::stop()
{
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO,
                    "EventDispatcher::stop() making mIsDone be 0 and posting");
    wake_i(0);
}

void EventDispatcher::restart()
{
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO,
                    "EventDispatcher::restart() making mIsDone be 1 and posting");
    wake_i(1);
}

int64 EventDispatcher::dispatchEvents_i()
{
    for (;;) {
        Event* event = nullptr;
        {
            Kapi::MutexLocker lock(mMutex);
            if (mIsDone >= 0)
                return 0;
            std::deque<Event*>* queue = !mHigh.empty()     ? &mHigh
                                        : !mNormal.empty() ? &mNormal
                                                           : nullptr;
            if (queue != nullptr) {
                event = queue->front();
                queue->pop_front();
                if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_DEBUG))
                    vLogMessage(VLOGSRC_VUI, VLOG_DEBUG,
                                "EventDispatcher::dispatchEvent(%p, priority %u) type immediate",
                                static_cast<void*>(event), event->mPriority);
            } else if (!mDelayed.empty()) {
                const int64 now = Kapi::Timer::now();
                auto first = mDelayed.begin();
                if (first->first > now)
                    return first->first - now;
                event = first->second;
                mDelayed.erase(first);
                if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_DEBUG))
                    vLogMessage(
                        VLOGSRC_VUI, VLOG_DEBUG,
                        "EventDispatcher::dispatchEvent(%p, dispatchTime %lld) type delayed",
                        static_cast<void*>(event),
                        static_cast<long long>(event->mDispatchTime / 1000));
            } else {
                return Kapi::kInfinite;
            }
            event->mQueued = false;
        }
        dispatch_i(event);
    }
}

void EventDispatcher::dispatch_i(Event* event)
{
    EventHandler* handler = event->getHandler() != nullptr ? event->getHandler() : mDefaultHandler;
    if (handler != nullptr) {
        touchUserInputEventTime();
        event->sendToHandler(handler);
    }
    if (event->getDeleteAfterDispatch())
        delete event;
}

int EventDispatcher::mainLoop()
{
    int done;
    {
        Kapi::MutexLocker lock(mMutex);
        done = mIsDone;
    }
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_INFO))
        vLogMessage(VLOGSRC_VUI, VLOG_INFO, "EventDispatcher::mainLoop() starts; mIsDone=%d", done);
    for (;;) {
        const int64 wait = dispatchEvents_i();
        Kapi::MutexLocker lock(mMutex);
        if (mIsDone >= 0)
            break;
        // Anything posted since the dispatch pass signalled already; look again first.
        if (!mHigh.empty() || !mNormal.empty())
            continue;
        if (!mDelayed.empty() && mDelayed.begin()->first <= Kapi::Timer::now())
            continue;
        mCondition->wait(mMutex.get(), wait);
    }
    int result;
    {
        Kapi::MutexLocker lock(mMutex);
        result = mIsDone;
    }
    close();
    return result;
}

void EventDispatcher::close()
{
    std::deque<Event*> doomed;
    {
        Kapi::MutexLocker lock(mMutex);
        for (Event* event : mHigh)
            doomed.push_back(event);
        for (Event* event : mNormal)
            doomed.push_back(event);
        for (const auto& entry : mDelayed)
            doomed.push_back(entry.second);
        mHigh.clear();
        mNormal.clear();
        mDelayed.clear();
        // Ready for another run of the loop.
        mIsDone = -1;
    }
    if (vLogLevelEnabled(VLOGSRC_VUI, VLOG_DEBUG))
        vLogMessage(VLOGSRC_VUI, VLOG_DEBUG, "EventDispatcher::close()");
    for (Event* event : doomed) {
        event->mQueued = false;
        if (event->getDeleteAfterDispatch())
            delete event;
    }
}

int64 EventDispatcher::getTicks() const
{
    return Kapi::Timer::now() / 1000;
}

int64 EventDispatcher::getLastUserInputTime() const
{
    Kapi::MutexLocker lock(mMutex);
    return mLastUserInput;
}

void EventDispatcher::touchUserInputEventTime()
{
    Kapi::MutexLocker lock(mMutex);
    mLastUserInput = Kapi::Timer::now();
}

} // namespace UICore
} // namespace KELO
