#ifndef KAPI_SAFEHANDLESET_H
#define KAPI_SAFEHANDLESET_H
// An ordered set of handles under its own mutex; every operation is safe from any thread.
// copy() gives a snapshot for iterating without the lock.
#include "kapi/Mutex.h"

#include <memory>
#include <set>

class SafeHandleSet
{
public:
    SafeHandleSet();
    ~SafeHandleSet();
    SafeHandleSet(const SafeHandleSet&) = delete;
    SafeHandleSet& operator=(const SafeHandleSet&) = delete;

    // True when the handle was not yet in the set.
    bool add(unsigned handle);
    // True when the handle was in the set.
    bool remove(unsigned handle);
    bool contains(unsigned handle) const;
    // The handles in ascending order.
    std::set<unsigned> copy() const;

protected:
    friend class HandleNotifier;

    std::unique_ptr<Kapi::Mutex> m_mutex;
    std::set<unsigned> m_handles; // guarded by m_mutex
};

#endif
