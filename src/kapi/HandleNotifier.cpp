// Observer fan-out under the observer set's mutex, so a concurrent add or remove is either
// wholly before or wholly after one notification.
#include "kapi/HandleNotifier.h"

#include "kapi/GenHandleLib.h"
#include "kapi/Message.h"

void HandleNotifier::notifyObservers(Kapi::CloneableMessage* message, long long when) const
{
    {
        Kapi::MutexLocker lock(*m_observers.m_mutex);
        GenHandleLib* lib = GenHandleLib::getGenHandleLib();
        if (lib != nullptr) {
            for (unsigned handle : m_observers.m_handles)
                lib->sendMessageToHandle(handle, message->clone(), when);
        }
    }
    delete message;
}
