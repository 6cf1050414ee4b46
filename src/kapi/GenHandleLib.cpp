// The handle maps, the lock flags and the per-handle processors (see GenHandleLib.h).
#include "kapi/GenHandleLib.h"

#include "kapi/Condition.h"
#include "kapi/HandleTasks.h"
#include "kapi/Message.h"
#include "kapi/Mutex.h"
#include "kapi/PanicAssert.h"
#include "kapi/TaskProcessor.h"
#include "kapi/vLog.h"

#include <vector>

std::atomic<GenHandleLib*> GenHandleLib::s_instance{nullptr};

Handleable::~Handleable() = default;

HandleItem::HandleItem(Handleable* object)
    : object(object), locked(false), processor(std::make_unique<Kapi::TaskProcessor>(1))
{
}

HandleItem::~HandleItem() = default;

GenHandleLib::GenHandleLib(uint32 firstHandle)
    : m_nextHandle(firstHandle), m_mutex(Kapi::Mutex::New(false)), m_cond(Kapi::Condition::New()),
      m_numHandles(0), m_deleteProcessor(std::make_unique<Kapi::TaskProcessor>(1))
{
}

GenHandleLib::~GenHandleLib()
{
    // Pending deletions are dropped; one already running finishes against intact maps.
    std::unique_ptr<Kapi::TaskProcessor> deleteProcessor;
    {
        Kapi::MutexLocker lock(*m_mutex);
        deleteProcessor = std::move(m_deleteProcessor);
    }
    deleteProcessor.reset();

    // The items stay in the maps while their processors end, so running deliveries can still
    // look their handles up; a null processor makes later sends drop their messages.
    std::vector<std::unique_ptr<Kapi::TaskProcessor>> processors;
    {
        Kapi::MutexLocker lock(*m_mutex);
        if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_INFO))
            vLogMessage(VLOGSRC_P2P_UTIL, VLOG_INFO, "%s:Handles left ... %zu %zu", __func__,
                        m_handles.size(), m_ptrs.size());
        for (auto& entry : m_handles) {
            if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_INFO))
                vLogMessage(VLOGSRC_P2P_UTIL, VLOG_INFO, "%u %p", entry.first,
                            static_cast<void*>(entry.second->object));
            processors.push_back(std::move(entry.second->processor));
        }
    }
    processors.clear();

    Kapi::MutexLocker lock(*m_mutex);
    m_handles.clear();
    m_ptrs.clear();
    m_numHandles = 0;
}

unsigned GenHandleLib::newHandle(Handleable* object)
{
    auto item = std::make_unique<HandleItem>(object);
    Kapi::MutexLocker lock(*m_mutex);
    uint32 handle = m_nextHandle;
    while (handle == 0 || m_handles.count(handle) != 0)
        ++handle;
    m_handles.emplace(handle, std::move(item));
    ++m_numHandles;
    m_ptrs[object] = handle;
    m_nextHandle = handle + 1;
    if (m_nextHandle == 0)
        m_nextHandle = 1;
    return handle;
}

Handleable* GenHandleLib::lockObject(unsigned handle)
{
    if (handle == 0)
        return nullptr;
    Kapi::MutexLocker lock(*m_mutex);
    for (;;) {
        auto it = m_handles.find(handle);
        if (it == m_handles.end())
            return nullptr;
        if (!it->second->locked) {
            it->second->locked = true;
            return it->second->object;
        }
        m_cond->wait(m_mutex.get(), Kapi::kInfinite);
    }
}

void GenHandleLib::unlockObject(unsigned handle)
{
    Kapi::MutexLocker lock(*m_mutex);
    auto it = m_handles.find(handle);
    KAPI_ASSERT(it != m_handles.end());
    it->second->locked = false;
    m_cond->broadcast();
}

unsigned GenHandleLib::getHandleForPtr(Handleable* object)
{
    Kapi::MutexLocker lock(*m_mutex);
    auto it = m_ptrs.find(object);
    return it == m_ptrs.end() ? 0 : it->second;
}

void GenHandleLib::deleteHandle(unsigned handle, bool deleteObject)
{
    std::unique_ptr<HandleItem> item;
    {
        Kapi::MutexLocker lock(*m_mutex);
        for (;;) {
            auto it = m_handles.find(handle);
            if (it == m_handles.end())
                return;
            if (!it->second->locked) {
                item = std::move(it->second);
                m_handles.erase(it);
                break;
            }
            m_cond->wait(m_mutex.get(), Kapi::kInfinite);
        }
        --m_numHandles;
        // The object may have been registered again under a later handle; keep that mapping.
        auto ptr = m_ptrs.find(item->object);
        if (ptr != m_ptrs.end() && ptr->second == handle)
            m_ptrs.erase(ptr);
        // Waiters for this handle must see that it is gone.
        m_cond->broadcast();
    }
    Handleable* object = item->object;
    item.reset();
    if (deleteObject)
        delete object;
}

void GenHandleLib::asyncDeleteHandle(unsigned handle, long long when)
{
    Kapi::MutexLocker lock(*m_mutex);
    if (m_deleteProcessor)
        m_deleteProcessor->schedule(new HandleKillerTask(handle), when);
}

void GenHandleLib::sendMessageToHandle(unsigned handle, Kapi::Message* message, long long when)
{
    {
        Kapi::MutexLocker lock(*m_mutex);
        auto it = m_handles.find(handle);
        if (it != m_handles.end() && it->second->processor) {
            it->second->processor->schedule(new HandleMessageDeliveryTask(handle, message), when);
            return;
        }
    }
    delete message;
}

void GenHandleLib::assertHandleIsLocked(unsigned handle)
{
    bool found;
    bool locked = false;
    {
        Kapi::MutexLocker lock(*m_mutex);
        auto it = m_handles.find(handle);
        found = it != m_handles.end();
        if (found)
            locked = it->second->locked;
    }
    if (!found) {
        if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_ERROR))
            vLogMessage(VLOGSRC_P2P_UTIL, VLOG_ERROR,
                        "assertHandleIsLocked(): handle %u not found!", handle);
    } else if (!locked) {
        if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_ERROR))
            vLogMessage(VLOGSRC_P2P_UTIL, VLOG_ERROR,
                        "GenHandleLib::assertHandleIsLocked(h=%u) ASSERTs!", handle);
    }
}
