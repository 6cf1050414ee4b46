#ifndef KAPI_FUNCTORTASK_H
#define KAPI_FUNCTORTASK_H
/*
 * Tasks that call a member function of an object registered in GenHandleLib, reached through
 * its handle rather than a pointer, so a task queued for an object that has since gone away
 * does nothing.
 *
 * A functor task holds the handle, a description, a member-function pointer and 0 to 3 argument
 * values. The argument types are the member function's parameter types; the task stores a
 * decayed copy of each (FunctorTask1<C, const std::string&> stores a std::string) and passes it
 * on when it runs. When it runs it locks the object through its handle (so it never runs
 * concurrently with anything else that holds that lock), calls the function and unlocks. A null
 * function pointer makes the task do nothing.
 *
 * The class T must derive (non-virtually) from Handleable.
 */
#include "kapi/GenHandleLib.h"
#include "kapi/Task.h"

#include <string>
#include <type_traits>
#include <utility>

namespace Kapi {

class FunctorTaskBase : public Task
{
public:
    // Functor tasks are I/O tasks of this type.
    static const TypeID kFunctorTaskType = 3;

    FunctorTaskBase(unsigned handle, const std::string& description);

    // Locks the object, calls the bound function, unlocks; the object gone -> nothing.
    void work() override;
    // The task's text, ":" and the description.
    std::string toString() const override;

    unsigned getHandle() const { return m_handle; }
    const std::string& getDescription() const { return m_description; }

protected:
    virtual bool hasFunctor() const = 0;
    // Runs with the object locked.
    virtual void callFunctor(Handleable* object) = 0;

private:
    unsigned m_handle;
    std::string m_description;
};

template <class T> class FunctorTask0 : public FunctorTaskBase
{
    static_assert(std::is_base_of_v<Handleable, T>, "T must be Handleable");

public:
    typedef void (T::*Function)();

    FunctorTask0(unsigned handle, const std::string& description, Function function)
        : FunctorTaskBase(handle, description), m_function(function)
    {
    }

protected:
    bool hasFunctor() const override { return m_function != nullptr; }
    void callFunctor(Handleable* object) override { (static_cast<T*>(object)->*m_function)(); }

private:
    Function m_function;
};

template <class T, class A1> class FunctorTask1 : public FunctorTaskBase
{
    static_assert(std::is_base_of_v<Handleable, T>, "T must be Handleable");

public:
    typedef void (T::*Function)(A1);

    FunctorTask1(unsigned handle, const std::string& description, Function function,
                 std::decay_t<A1> a1)
        : FunctorTaskBase(handle, description), m_function(function), m_a1(std::move(a1))
    {
    }

protected:
    bool hasFunctor() const override { return m_function != nullptr; }
    void callFunctor(Handleable* object) override
    {
        (static_cast<T*>(object)->*m_function)(std::forward<A1>(m_a1));
    }

private:
    Function m_function;
    std::decay_t<A1> m_a1;
};

template <class T, class A1, class A2> class FunctorTask2 : public FunctorTaskBase
{
    static_assert(std::is_base_of_v<Handleable, T>, "T must be Handleable");

public:
    typedef void (T::*Function)(A1, A2);

    FunctorTask2(unsigned handle, const std::string& description, Function function,
                 std::decay_t<A1> a1, std::decay_t<A2> a2)
        : FunctorTaskBase(handle, description), m_function(function), m_a1(std::move(a1)),
          m_a2(std::move(a2))
    {
    }

protected:
    bool hasFunctor() const override { return m_function != nullptr; }
    void callFunctor(Handleable* object) override
    {
        (static_cast<T*>(object)->*m_function)(std::forward<A1>(m_a1), std::forward<A2>(m_a2));
    }

private:
    Function m_function;
    std::decay_t<A1> m_a1;
    std::decay_t<A2> m_a2;
};

template <class T, class A1, class A2, class A3> class FunctorTask3 : public FunctorTaskBase
{
    static_assert(std::is_base_of_v<Handleable, T>, "T must be Handleable");

public:
    typedef void (T::*Function)(A1, A2, A3);

    FunctorTask3(unsigned handle, const std::string& description, Function function,
                 std::decay_t<A1> a1, std::decay_t<A2> a2, std::decay_t<A3> a3)
        : FunctorTaskBase(handle, description), m_function(function), m_a1(std::move(a1)),
          m_a2(std::move(a2)), m_a3(std::move(a3))
    {
    }

protected:
    bool hasFunctor() const override { return m_function != nullptr; }
    void callFunctor(Handleable* object) override
    {
        (static_cast<T*>(object)->*m_function)(std::forward<A1>(m_a1), std::forward<A2>(m_a2),
                                               std::forward<A3>(m_a3));
    }

private:
    Function m_function;
    std::decay_t<A1> m_a1;
    std::decay_t<A2> m_a2;
    std::decay_t<A3> m_a3;
};

} // namespace Kapi

#endif
