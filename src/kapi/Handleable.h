#ifndef KAPI_HANDLEABLE_H
#define KAPI_HANDLEABLE_H
// An object that can own handles in GenHandleLib: a message receiver, so that messages sent to
// its handle can be delivered to it. Registering does not transfer ownership, except that
// GenHandleLib::deleteHandle(h, true) and asyncDeleteHandle() delete the object.
#include "kapi/MessageReceiver.h"

class Handleable : public Kapi::MessageReceiver
{
public:
    Handleable() = default;
    ~Handleable() override;
};

#endif
