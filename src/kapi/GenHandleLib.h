#ifndef KAPI_GENHANDLELIB_H
#define KAPI_GENHANDLELIB_H
/*
 * The handle library: objects that may disappear while work for them is still queued are
 * reached through 32-bit handles instead of pointers.
 *
 * Representation: `m_handles` maps each live handle to its HandleItem (the object, the lock
 * flag and the handle's own task processor of concurrency 1); `m_ptrs` maps each registered object
 * to its latest handle; `m_numHandles` is the size of `m_handles`. `m_nextHandle` is where the
 * search for a free number starts; it only moves forward (wrapping from 0xFFFFFFFF to 1), so a
 * freed number is reused only once the counter has come round. 0 is never a handle.
 *
 * Locking: one library mutex and condition guard the maps and every lock flag. lockObject()
 * marks a handle locked and returns its object, waiting without a time limit while another
 * holder has it; unlockObject() clears the flag. The library lock is never held while user
 * code runs. A thread must never lock two handles in an order another thread could reverse,
 * and must never delete (synchronously) a handle it holds locked or from work running on that
 * handle's processor: use asyncDeleteHandle() there.
 *
 * Delivery: sendMessageToHandle() queues a HandleMessageDeliveryTask on the handle's own
 * processor, so one handle's messages are delivered one at a time in due-time order, each
 * while the object is locked; different handles' messages run in parallel. Anything sent to a
 * handle that no longer exists is deleted without delivery.
 *
 * The process's instance exists between the start and the stop of the node "GenHandleLib"
 * (GenHandleLib::g_initNode); getGenHandleLib() is null outside that span. All operations are
 * safe from any thread while the instance exists.
 */
#include "kapi/Handleable.h"
#include "kapi/InitNode.h"
#include "kapi/KapiTypes.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>

namespace Kapi {
class Condition;
class Message;
class Mutex;
class TaskProcessor;
} // namespace Kapi

// One registered handle. Guarded by the library mutex, except that `processor` is only
// dereferenced while the item is still in the library's map.
struct HandleItem
{
    explicit HandleItem(Handleable* object);
    ~HandleItem();
    HandleItem(const HandleItem&) = delete;
    HandleItem& operator=(const HandleItem&) = delete;

    Handleable* object;                             // not owned
    bool locked;                                    // false when created
    std::unique_ptr<Kapi::TaskProcessor> processor; // concurrency 1; null while shutting down
};

class GenHandleLib
{
public:
    // The process's instance, or null while the node is stopped.
    static GenHandleLib* getGenHandleLib() { return s_instance.load(std::memory_order_acquire); }

    // `firstHandle` is the first number tried (0 is skipped).
    explicit GenHandleLib(uint32 firstHandle);
    // Logs the handles still registered, drops their queued work and frees their items; the
    // objects themselves are not deleted.
    ~GenHandleLib();
    GenHandleLib(const GenHandleLib&) = delete;
    GenHandleLib& operator=(const GenHandleLib&) = delete;

    // Registers `object` under a new handle (unlocked) and returns it.
    unsigned newHandle(Handleable* object);
    // Null for 0 or a handle that is gone; otherwise marks it locked (waiting while another
    // holder has it) and returns the object.
    Handleable* lockObject(unsigned handle);
    // The handle must exist and be held by the caller.
    void unlockObject(unsigned handle);
    // The object's latest handle, 0 when it is not registered.
    unsigned getHandleForPtr(Handleable* object);
    // Waits while the handle is locked, unregisters it, ends its processor (queued work is
    // dropped, running work finishes) and deletes the object when asked. Unknown handle: nothing.
    void deleteHandle(unsigned handle, bool deleteObject);
    // deleteHandle(handle, true) on the library's deletion processor at `when`.
    void asyncDeleteHandle(unsigned handle, long long when);
    // Takes `message`: queues its delivery to the handle's object at `when`, or deletes it at
    // once when the handle does not exist.
    void sendMessageToHandle(unsigned handle, Kapi::Message* message, long long when);
    // Logs an error (source "p2p_util") when the handle is unknown or not locked; never stops
    // the process.
    void assertHandleIsLocked(unsigned handle);

    // The node "GenHandleLib", depending on "TaskScheduler". start() reads [misc] handleStart
    // (uint32, default 10000) and creates the instance; stop() destroys it.
    class LibInitNode : public Kapi::Init::InitNode
    {
    public:
        LibInitNode();
        bool start(const Kapi::vConfig& config) override;
        bool stop() override;
    };
    static LibInitNode g_initNode;

private:
    uint32 m_nextHandle;
    std::unique_ptr<Kapi::Mutex> m_mutex;
    std::unique_ptr<Kapi::Condition> m_cond;
    std::map<unsigned, std::unique_ptr<HandleItem>> m_handles;
    size_t m_numHandles;
    std::map<Handleable*, unsigned> m_ptrs;
    std::unique_ptr<Kapi::TaskProcessor> m_deleteProcessor; // concurrency 1

    // Owned: created by g_initNode.start(), deleted by its stop().
    static std::atomic<GenHandleLib*> s_instance;
};

#endif
