#ifndef SIM_DRIVERS_LISTENERSLOT_H
#define SIM_DRIVERS_LISTENERSLOT_H
// One listener of a minimal driver: add() stores it (replacing any other), remove() clears it
// when it is the one stored. The listener is not owned. Safe from any thread.
#include "core/KeloStatus.h"
#include "kapi/KapiTypes.h"

#include <mutex>

namespace SimDrivers {

template <typename Listener> class ListenerSlot
{
public:
    int32 add(Listener* listener)
    {
        if (listener == nullptr)
            return KELO::INVALID_ARGUMENTS;
        std::lock_guard<std::mutex> guard(mLock);
        mListener = listener;
        return KELO::SUCCESS;
    }
    int32 remove(Listener* listener)
    {
        std::lock_guard<std::mutex> guard(mLock);
        if (listener == nullptr || listener != mListener)
            return KELO::INVALID_ARGUMENTS;
        mListener = nullptr;
        return KELO::SUCCESS;
    }

private:
    std::mutex mLock;
    Listener* mListener = nullptr;
};

} // namespace SimDrivers

#endif
