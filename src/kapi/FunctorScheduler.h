#ifndef KAPI_FUNCTORSCHEDULER_H
#define KAPI_FUNCTORSCHEDULER_H
/*
 * A per-object helper that queues member calls of one object (through its handle) on one task
 * processor: sched.schedule("doConnect", &Connection::doConnect, Kapi::Timer::now()).
 *
 * Copies share one state (handle, processor, and whether the handle was registered by the
 * scheduler) through a reference count. A scheduler built from an object pointer registers the
 * object when it has no handle yet; the last copy of such a scheduler then deletes that handle
 * (not the object), waiting for work that holds it. So the owner must let go of its scheduler
 * at the start of its own destructor, never from work that holds the object's lock; tasks still
 * queued afterwards find the handle gone and do nothing.
 *
 * The processor is not owned. schedule() may be called from any thread; it returns the task's
 * id for TaskProcessor::deschedule(). With the handle library stopped nothing is scheduled and
 * the result is 0.
 */
#include "kapi/FunctorTask.h"
#include "kapi/GenHandleLib.h"
#include "kapi/TaskProcessor.h"

#include <memory>
#include <string>
#include <type_traits>

namespace Kapi {

template <class T> class FunctorScheduler
{
public:
    // Uses the object's handle, registering the object first when it has none.
    FunctorScheduler(T* object, TaskProcessor* processor)
        : m_shared(std::make_shared<Shared>(processor))
    {
        GenHandleLib* lib = GenHandleLib::getGenHandleLib();
        if (lib == nullptr)
            return;
        m_shared->handle = lib->getHandleForPtr(object);
        if (m_shared->handle == 0) {
            m_shared->handle = lib->newHandle(object);
            m_shared->ownsHandle = true;
        }
    }
    // Uses an existing handle, which stays the caller's.
    FunctorScheduler(unsigned handle, TaskProcessor* processor)
        : m_shared(std::make_shared<Shared>(processor))
    {
        m_shared->handle = handle;
    }

    unsigned getHandle() const { return m_shared->handle; }
    TaskProcessor* getProcessor() const { return m_shared->processor; }
    // How many schedulers share this state.
    long useCount() const { return m_shared.use_count(); }

    uint32 schedule(const std::string& description, void (T::*function)(), int64 when)
    {
        return queue_i(new FunctorTask0<T>(getHandle(), description, function), when);
    }
    template <class A1>
    uint32 schedule(const std::string& description, void (T::*function)(A1), std::decay_t<A1> a1,
                    int64 when)
    {
        return queue_i(new FunctorTask1<T, A1>(getHandle(), description, function, std::move(a1)),
                       when);
    }
    template <class A1, class A2>
    uint32 schedule(const std::string& description, void (T::*function)(A1, A2),
                    std::decay_t<A1> a1, std::decay_t<A2> a2, int64 when)
    {
        return queue_i(new FunctorTask2<T, A1, A2>(getHandle(), description, function,
                                                   std::move(a1), std::move(a2)),
                       when);
    }
    template <class A1, class A2, class A3>
    uint32 schedule(const std::string& description, void (T::*function)(A1, A2, A3),
                    std::decay_t<A1> a1, std::decay_t<A2> a2, std::decay_t<A3> a3, int64 when)
    {
        return queue_i(new FunctorTask3<T, A1, A2, A3>(getHandle(), description, function,
                                                       std::move(a1), std::move(a2), std::move(a3)),
                       when);
    }

private:
    struct Shared
    {
        explicit Shared(TaskProcessor* processor) : processor(processor) {}
        ~Shared()
        {
            GenHandleLib* lib = GenHandleLib::getGenHandleLib();
            if (ownsHandle && lib != nullptr)
                lib->deleteHandle(handle, false);
        }
        Shared(const Shared&) = delete;
        Shared& operator=(const Shared&) = delete;

        TaskProcessor* processor;
        unsigned handle = 0;
        bool ownsHandle = false;
    };

    uint32 queue_i(FunctorTaskBase* task, int64 when)
    {
        std::unique_ptr<FunctorTaskBase> owned(task);
        if (getHandle() == 0 || GenHandleLib::getGenHandleLib() == nullptr)
            return 0;
        const uint32 id = owned->getId();
        m_shared->processor->schedule(owned.release(), when);
        return id;
    }

    std::shared_ptr<Shared> m_shared;
};

} // namespace Kapi

#endif
