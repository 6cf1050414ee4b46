#ifndef KAPI_SYSTEMEVENT_H
#define KAPI_SYSTEMEVENT_H
/*
 * System events: how a service deep in the client tells the user interface that something
 * happened. An event is a source name ("player", "session", "connection", "notify"), a type
 * name ("stateChanged", "progress", ...) and a map of values, copied by value.
 *
 * The process has at most one dispatcher. Any thread may post; every post and every
 * setDispatcher() serialise on one process-wide lock, and the dispatcher is called on the
 * poster's thread while that lock is held. Hence: delivery order is the order in which posters
 * took the lock, and once setDispatcher() has returned the previous dispatcher is never called
 * again. A dispatcher must only queue the event and return; it must not post a system event
 * or call setDispatcher() from inside postSystemEvent(). Without a dispatcher an event is
 * logged as a warning and dropped; posting never fails towards the poster.
 *
 * The lock is created on first use and never destroyed, so posting works from static
 * initialisers and at process exit.
 */
#include "kapi/KeyValueMap.h"
#include "kapi/Variant.h"

#include <string>

namespace Kapi {

class Mutex;
class SystemEventDispatcher;

class SystemEvent
{
public:
    SystemEvent() = default;
    SystemEvent(std::string source, std::string type, KeyValueMap values);
    SystemEvent(const SystemEvent&) = default;
    SystemEvent(SystemEvent&&) = default;
    SystemEvent& operator=(const SystemEvent&) = default;
    SystemEvent& operator=(SystemEvent&&) = default;
    virtual ~SystemEvent();

    // "s=" + source + ", t=" + type + ", p=" + the compact text of the values.
    virtual std::string toString() const;

    // Replaces the process's dispatcher; null removes it. The dispatcher is not owned.
    static void setDispatcher(SystemEventDispatcher* dispatcher);
    // Delivers `event` to the dispatcher, or logs and drops it when there is none.
    static void post(const SystemEvent& event);
    // A null `source` becomes the empty string; `type` must not be null.
    static void post(const char* source, const char* type, const KeyValueMap& values);
    // The values are built from up to four pairs; a pair whose key is null is skipped.
    static void post(const char* source, const char* type, const char* k1, const Variant& v1,
                     const char* k2 = nullptr, const Variant& v2 = Variant(),
                     const char* k3 = nullptr, const Variant& v3 = Variant(),
                     const char* k4 = nullptr, const Variant& v4 = Variant());

    std::string source;
    std::string type;
    KeyValueMap values;

private:
    // The process-wide lock guarding s_dispatcher and every delivery.
    static Mutex& s_dispatcherLock();
    static SystemEventDispatcher* s_dispatcher;
};

class SystemEventDispatcher
{
public:
    SystemEventDispatcher() = default;
    SystemEventDispatcher(const SystemEventDispatcher&) = delete;
    SystemEventDispatcher& operator=(const SystemEventDispatcher&) = delete;
    virtual ~SystemEventDispatcher();

    // Called on the poster's thread under the dispatcher lock: copy what is kept, queue it and
    // return; never post a system event from here.
    virtual void postSystemEvent(const SystemEvent& event) = 0;
};

} // namespace Kapi

#endif
