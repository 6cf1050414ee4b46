// UI events: text forms, double dispatch and the loop-ending events.
#include "core/UIEvent.h"

#include "core/UIEventDispatcher.h"
#include "kapi/Timer.h"

#include <cstdio>

namespace KELO {
namespace UICore {

namespace {
std::string pointerText(const void* pointer)
{
    char text[32];
    snprintf(text, sizeof(text), "%p", pointer);
    return text;
}
} // namespace

Event::Event(bool deleteAfterDispatch)
    : mDeleteAfterDispatch(deleteAfterDispatch), mCreated(Kapi::Timer::now())
{
}

Event::~Event() = default;

std::string Event::toString() const
{
    return "Event(this=" + pointerText(this) + ")";
}

bool Event::isTooOld(int64 maxAgeMs) const
{
    return Kapi::Timer::now() - mCreated > maxAgeMs * 1000;
}

void EventHandler::handleEvent(SystemEvent&) {}

void EventHandler::handleEvent(SelfHandlingEvent& event)
{
    event.handleThyself();
}

void SelfHandlingEvent::sendToHandler(EventHandler* handler)
{
    handler->handleEvent(*this);
}

std::string SelfHandlingEvent::toString() const
{
    return "SelfHandlingEvent(this=" + pointerText(this) + ")";
}

void QuitEvent::handleThyself()
{
    mDispatcher.stop();
}

void RestartEvent::handleThyself()
{
    mDispatcher.restart();
}

void SystemEvent::sendToHandler(EventHandler* handler)
{
    handler->handleEvent(*this);
}

std::string SystemEvent::toString() const
{
    return "SystemEvent(s=" + source + ", t=" + type + ", p=" + values.toString() + ")";
}

} // namespace UICore
} // namespace KELO
