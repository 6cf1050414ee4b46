#ifndef KAPI_HANDLETASKS_H
#define KAPI_HANDLETASKS_H
// The tasks through which GenHandleLib acts on a handle later: delivering a message (queued on
// the handle's own processor) and deleting a handle and its object (queued on the library's
// deletion processor). Both look the handle up again when they run, so a handle deleted in the
// meantime makes them do nothing beyond freeing what they own.
#include "kapi/Task.h"

#include <string>

namespace Kapi {
class Message;
}

class HandleMessageDeliveryTask : public Kapi::Task
{
public:
    // Takes `message`.
    HandleMessageDeliveryTask(unsigned handle, Kapi::Message* message);
    // Deletes the message when it was never delivered.
    ~HandleMessageDeliveryTask() override;

    // Locks the object and lets it receive the message; the object gone -> the message is
    // deleted.
    void work() override;
    // "[HandleMessageDeliveryTask: handle=<h>, " + the message text + "]".
    std::string toString() const override;

private:
    unsigned m_handle;
    Kapi::Message* m_message; // owned until delivered
};

class HandleKillerTask : public Kapi::Task
{
public:
    explicit HandleKillerTask(unsigned handle);

    // GenHandleLib::deleteHandle(handle, true).
    void work() override;

private:
    unsigned m_handle;
};

#endif
