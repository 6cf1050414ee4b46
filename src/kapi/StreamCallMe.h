#ifndef KAPI_STREAMCALLME_H
#define KAPI_STREAMCALLME_H
// Completion signals between threads. A worker holding a CallMe calls trigger() (from any
// thread the implementation allows) when its result is ready; the CallMe arranges for its
// ChangeListener's changed() to run later on the thread the CallMe stands for (a network loop,
// the Lua thread...). A CallMeFactory makes CallMe objects bound to one such thread; whoever
// asks the factory owns the result and deletes it.
namespace Kapi {
namespace Stream {

class ChangeListener
{
public:
    virtual ~ChangeListener() {}
    // Runs on the thread the triggered CallMe stands for.
    virtual void changed() = 0;
};

class CallMe
{
public:
    virtual ~CallMe() {}
    // Requests one later call of the listener's changed(); triggers before that call merge.
    virtual void trigger() = 0;
    virtual void setChangeListener(ChangeListener* listener) = 0;
};

class CallMeFactory
{
public:
    virtual ~CallMeFactory() {}
    // A new CallMe owned by the caller, or null when the target thread no longer exists.
    virtual CallMe* create() const = 0;
};

} // namespace Stream
} // namespace Kapi

#endif
