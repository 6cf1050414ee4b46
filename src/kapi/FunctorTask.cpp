// The part of the functor tasks that does not depend on the bound function: lock, call, unlock.
#include "kapi/FunctorTask.h"

namespace Kapi {

FunctorTaskBase::FunctorTaskBase(unsigned handle, const std::string& description)
    : Task(CATEGORY_IO, kFunctorTaskType), m_handle(handle), m_description(description)
{
}

void FunctorTaskBase::work()
{
    if (!hasFunctor())
        return;
    GenHandleLib* lib = GenHandleLib::getGenHandleLib();
    if (lib == nullptr)
        return;
    Handleable* object = lib->lockObject(m_handle);
    if (object == nullptr)
        return;
    callFunctor(object);
    lib->unlockObject(m_handle);
}

std::string FunctorTaskBase::toString() const
{
    return Task::toString() + ":" + m_description;
}

} // namespace Kapi
