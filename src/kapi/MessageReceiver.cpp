// Direct delivery under the receiver's mutex, or a hand-off to the forwarding processor.
#include "kapi/MessageReceiver.h"

#include "kapi/MessageProcessor.h"

namespace Kapi {

MessageReceiver::MessageReceiver() : m_processor(nullptr), m_mutex(Mutex::New(false)) {}

MessageReceiver::~MessageReceiver() = default;

bool MessageReceiver::notify(Message*)
{
    return true;
}

void MessageReceiver::receive(Message* message, MessageReceiver* from)
{
    MessageProcessor* processor = m_processor.load();
    if (processor != nullptr && from != processor) {
        processor->receive(message, nullptr);
        return;
    }
    MutexLocker lock(*m_mutex);
    if (notify(message) && message != nullptr)
        delete message;
}

} // namespace Kapi
