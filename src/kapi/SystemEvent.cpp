// System event posting. s_dispatcher is read and written only under s_dispatcherLock(), which
// is also held across the dispatcher's call so that a removed dispatcher is never called.
#include "kapi/SystemEvent.h"

#include "kapi/Mutex.h"
#include "kapi/PanicAssert.h"
#include "kapi/vLog.h"

#include <utility>

namespace Kapi {

SystemEventDispatcher* SystemEvent::s_dispatcher = nullptr;

SystemEvent::SystemEvent(std::string source, std::string type, KeyValueMap values)
    : source(std::move(source)), type(std::move(type)), values(std::move(values))
{
}

SystemEvent::~SystemEvent() = default;

SystemEventDispatcher::~SystemEventDispatcher() = default;

std::string SystemEvent::toString() const
{
    return "s=" + source + ", t=" + type + ", p=" + values.toString(false);
}

Mutex& SystemEvent::s_dispatcherLock()
{
    // Deliberately never destroyed: events may be posted from other static destructors.
    static Mutex* const s_lock = Mutex::New(false).release();
    return *s_lock;
}

void SystemEvent::setDispatcher(SystemEventDispatcher* dispatcher)
{
    MutexLocker locker(s_dispatcherLock());
    s_dispatcher = dispatcher;
}

void SystemEvent::post(const SystemEvent& event)
{
    MutexLocker locker(s_dispatcherLock());
    if (s_dispatcher == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_WARNING))
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_WARNING, "No system event dispatcher for '%s'",
                        event.toString().c_str());
        return;
    }
    s_dispatcher->postSystemEvent(event);
}

void SystemEvent::post(const char* source, const char* type, const KeyValueMap& values)
{
    KAPI_ASSERT(type != nullptr);
    post(SystemEvent(source != nullptr ? source : "", type, values));
}

void SystemEvent::post(const char* source, const char* type, const char* k1, const Variant& v1,
                       const char* k2, const Variant& v2, const char* k3, const Variant& v3,
                       const char* k4, const Variant& v4)
{
    post(source, type, KeyValueMap(k1, v1, k2, v2, k3, v3, k4, v4));
}

} // namespace Kapi
