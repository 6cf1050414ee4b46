// Task identity and text. The id counter is a plain integer under a mutex that is created on
// first use and never destroyed, so tasks may be made from any static constructor or destructor.
#include "kapi/Task.h"
#include "kapi/Backtrace.h"
#include "kapi/Mutex.h"

#include <cstdio>

namespace Kapi {

namespace {

uint32 g_lastTaskId = 1; // constant-initialised; the first task gets 2

uint32 nextTaskId()
{
    static Mutex* const s_idLock = Mutex::New().release(); // never destroyed, see above
    MutexLocker lock(s_idLock);
    ++g_lastTaskId;
    if (g_lastTaskId == 0) // after wrapping round; 0 means "no task" to the timers
        ++g_lastTaskId;
    return g_lastTaskId;
}

} // namespace

Task::Task(Category category, TypeID type) : m_category(category), m_type(type), m_id(nextTaskId())
{
}

Task::~Task() = default;

std::string Task::toString() const
{
    char text[96];
    snprintf(text, sizeof(text), "[Task: category=%u, type=%u, due=%llu]",
             static_cast<unsigned>(m_category), static_cast<unsigned>(m_type),
             static_cast<unsigned long long>(m_due));
    return text;
}

} // namespace Kapi
