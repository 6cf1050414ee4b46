#ifndef KAPI_HANDLENOTIFIER_H
#define KAPI_HANDLENOTIFIER_H
// Fans a message out to a set of observer handles: each observer gets its own clone through
// GenHandleLib, delivered on that observer's handle processor. Observers that no longer exist
// are skipped by the library (their clones are deleted). Safe from any thread.
#include "kapi/SafeHandleSet.h"

namespace Kapi {
class CloneableMessage;
}

class HandleNotifier
{
public:
    HandleNotifier() = default;
    HandleNotifier(const HandleNotifier&) = delete;
    HandleNotifier& operator=(const HandleNotifier&) = delete;

    bool addObserver(unsigned handle) { return m_observers.add(handle); }
    bool removeObserver(unsigned handle) { return m_observers.remove(handle); }
    bool containsObserver(unsigned handle) const { return m_observers.contains(handle); }

    // Takes `message`: sends a clone to every observer in ascending handle order, due at
    // `when`, then deletes the original. Nothing is sent while the library is stopped.
    void notifyObservers(Kapi::CloneableMessage* message, long long when) const;

private:
    SafeHandleSet m_observers;
};

#endif
