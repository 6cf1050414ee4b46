#ifndef CORE_UIEVENT_H
#define CORE_UIEVENT_H
// Events of the UI application's queue. An event is in at most one queue at a time (`mQueued`);
// it carries either a dispatch time (delayed events, microseconds on the dispatcher clock) or
// a priority (immediate events), an optional handler (null: the dispatcher's default handler)
// and a delete-after-dispatch flag. Whoever posts an event with the flag set gives it away:
// the dispatcher deletes it after dispatch or when it closes; an event without the flag stays
// its owner's and must outlive its time in the queue.
//
// Handlers run on the UI thread. sendToHandler() is the double dispatch to the handler's
// overload for the event's class.
#include "kapi/KapiTypes.h"
#include "kapi/KeyValueMap.h"
#include "kapi/SystemEvent.h"

#include <string>

namespace KELO {
namespace UICore {

class EventHandler;
class EventDispatcher;
class SelfHandlingEvent;
class SystemEvent;

class Event
{
public:
    explicit Event(bool deleteAfterDispatch = true);
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    // Slot order is fixed.
    virtual ~Event();
    virtual void sendToHandler(EventHandler* handler) = 0;
    // "Event(this=0x...)".
    virtual std::string toString() const;

    bool empty() const { return !mQueued; } // not in any queue
    EventHandler* getHandler() const { return mHandler; }
    void setHandler(EventHandler* handler) { mHandler = handler; }
    bool getDeleteAfterDispatch() const { return mDeleteAfterDispatch; }
    void setDeleteAfterDispatch(bool value) { mDeleteAfterDispatch = value; }
    int64 getCreationTime() const { return mCreated; }
    // True when the event was created more than `maxAgeMs` ago.
    bool isTooOld(int64 maxAgeMs) const;

private:
    friend class EventDispatcher;

    bool mQueued = false;
    int64 mDispatchTime = 0; // delayed events only
    unsigned mPriority = 0;  // immediate events only
    EventHandler* mHandler = nullptr;
    bool mDeleteAfterDispatch;
    int64 mCreated;
};

class EventHandler
{
public:
    virtual ~EventHandler() = default;
    // Default: nothing.
    virtual void handleEvent(SystemEvent& event);
    // Calls handleThyself().
    virtual void handleEvent(SelfHandlingEvent& event);
};

class SelfHandlingEvent : public Event
{
public:
    using Event::Event;
    void sendToHandler(EventHandler* handler) override;
    // "SelfHandlingEvent(this=0x...)".
    std::string toString() const override;
    virtual void handleThyself() = 0;
};

// Ends the main loop of the application it is posted to with the result 0.
class QuitEvent : public SelfHandlingEvent
{
public:
    explicit QuitEvent(EventDispatcher& dispatcher) : mDispatcher(dispatcher) {}
    void handleThyself() override;

private:
    EventDispatcher& mDispatcher;
};

// Ends the main loop with the result 1: the caller runs the application again.
class RestartEvent : public SelfHandlingEvent
{
public:
    explicit RestartEvent(EventDispatcher& dispatcher) : mDispatcher(dispatcher) {}
    void handleThyself() override;

private:
    EventDispatcher& mDispatcher;
};

// A system notification (source, type, values) on its way to the scripts.
class SystemEvent : public Event
{
public:
    explicit SystemEvent(const Kapi::SystemEvent& event)
        : source(event.source), type(event.type), values(event.values)
    {
    }
    void sendToHandler(EventHandler* handler) override;
    // "SystemEvent(s=..., t=..., p=...)".
    std::string toString() const override;

    std::string source;
    std::string type;
    Kapi::KeyValueMap values;
};

} // namespace UICore
} // namespace KELO

#endif
