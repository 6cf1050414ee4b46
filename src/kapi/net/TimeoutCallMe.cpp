// The two call-me kinds of the network loop and their factory.
#include "kapi/net/TimeoutCallMe.h"

#include "kapi/net/System.h"

namespace Kapi {
namespace Net {

const Stream::CallMeFactory* TimeoutCallMe::getFactory(System* system)
{
    return system->getTimeoutCallMeFactory();
}

const Stream::CallMeFactory* TimeoutCallMe::getSameThreadFactory(System* system)
{
    return system->getSameThreadTimeoutCallMeFactory();
}

void TimeoutCallMe::callNow()
{
    if (!m_hasThreadId) {
        m_threadId = pthread_self();
        m_hasThreadId = true;
    }
    if (m_listener != nullptr)
        m_listener->changed();
}

void TimeoutCallMe::staticCallNow(void* self)
{
    static_cast<TimeoutCallMe*>(self)->callNow();
}

TimeoutCallMeMultiThreaded::TimeoutCallMeMultiThreaded(System* system)
    : m_node(this, &TimeoutCallMe::staticCallNow), m_system(system)
{
}

TimeoutCallMeMultiThreaded::~TimeoutCallMeMultiThreaded()
{
    m_node.cancel(m_system);
}

void TimeoutCallMeMultiThreaded::trigger()
{
    m_node.submitInstantFromAnotherThread(m_system);
}

TimeoutCallMeSingleThreaded::TimeoutCallMeSingleThreaded(System* system)
    : m_node(this, &TimeoutCallMe::staticCallNow), m_system(system)
{
}

void TimeoutCallMeSingleThreaded::trigger()
{
    m_threadId = pthread_self();
    m_hasThreadId = true;
    m_node.submitInstant(m_system);
}

Stream::CallMe* TimeoutCallMeFactory::create() const
{
    if (m_multiThreaded)
        return new TimeoutCallMeMultiThreaded(m_system);
    return new TimeoutCallMeSingleThreaded(m_system);
}

} // namespace Net
} // namespace Kapi
