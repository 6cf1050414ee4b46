// A mutex-guarded std::set of handles.
#include "kapi/SafeHandleSet.h"

SafeHandleSet::SafeHandleSet() : m_mutex(Kapi::Mutex::New(false)) {}

SafeHandleSet::~SafeHandleSet() = default;

bool SafeHandleSet::add(unsigned handle)
{
    Kapi::MutexLocker lock(*m_mutex);
    return m_handles.insert(handle).second;
}

bool SafeHandleSet::remove(unsigned handle)
{
    Kapi::MutexLocker lock(*m_mutex);
    return m_handles.erase(handle) != 0;
}

bool SafeHandleSet::contains(unsigned handle) const
{
    Kapi::MutexLocker lock(*m_mutex);
    return m_handles.count(handle) != 0;
}

std::set<unsigned> SafeHandleSet::copy() const
{
    Kapi::MutexLocker lock(*m_mutex);
    return m_handles;
}
