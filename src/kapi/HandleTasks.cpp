// Delivery and deletion tasks of the handle library. Both are I/O tasks of type 1.
#include "kapi/HandleTasks.h"

#include "kapi/GenHandleLib.h"
#include "kapi/Message.h"
#include <cstdio>

HandleMessageDeliveryTask::HandleMessageDeliveryTask(unsigned handle, Kapi::Message* message)
    : Kapi::Task(Kapi::Task::CATEGORY_IO, 1), m_handle(handle), m_message(message)
{
}

HandleMessageDeliveryTask::~HandleMessageDeliveryTask()
{
    delete m_message;
}

void HandleMessageDeliveryTask::work()
{
    GenHandleLib* lib = GenHandleLib::getGenHandleLib();
    Handleable* object = lib ? lib->lockObject(m_handle) : nullptr;
    Kapi::Message* message = m_message;
    m_message = nullptr;
    if (object == nullptr) {
        delete message;
        return;
    }
    object->receive(message, nullptr);
    lib->unlockObject(m_handle);
}

std::string HandleMessageDeliveryTask::toString() const
{
    char prefix[64];
    snprintf(prefix, sizeof(prefix), "[HandleMessageDeliveryTask: handle=%u, ", m_handle);
    return prefix + (m_message ? m_message->toString() : std::string()) + "]";
}

HandleKillerTask::HandleKillerTask(unsigned handle)
    : Kapi::Task(Kapi::Task::CATEGORY_IO, 1), m_handle(handle)
{
}

void HandleKillerTask::work()
{
    GenHandleLib* lib = GenHandleLib::getGenHandleLib();
    if (lib != nullptr)
        lib->deleteHandle(m_handle, true);
}
