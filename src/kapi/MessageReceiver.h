#ifndef KAPI_MESSAGERECEIVER_H
#define KAPI_MESSAGERECEIVER_H
/*
 * Something that handles messages. receive() is the entry point for senders; notify() is what a
 * subclass implements. A receiver may have a forwarding processor (a MessageProcessor that
 * serves it): then every message that did not come from that processor is handed to the
 * processor, which queues it and later calls receive() again from a scheduler worker.
 *
 * notify() always runs under the receiver's own mutex, so one receiver handles one message at a
 * time whichever thread delivers it. The mutex is not recursive: notify() must not call
 * receive() on the same receiver directly (send through a processor or a handle instead).
 *
 * Ownership: receive() takes the message. When notify() returns true the message is deleted
 * after it; when it returns false notify() has kept it (or handed it on).
 */
#include "kapi/Message.h"
#include "kapi/Mutex.h"

#include <atomic>
#include <memory>

namespace Kapi {

class MessageProcessor;

class MessageReceiver
{
public:
    MessageReceiver();
    MessageReceiver(const MessageReceiver&) = delete;
    MessageReceiver& operator=(const MessageReceiver&) = delete;
    virtual ~MessageReceiver();

    // Handles one message; true asks the caller to delete it. The base ignores the message
    // (returns true), for receivers that only take part in the handle library's locking.
    virtual bool notify(Message* message);
    // Takes `message`. `from` is the processor delivering it, or null for a plain sender.
    virtual void receive(Message* message, MessageReceiver* from);

    // Set by a MessageProcessor when it starts serving this receiver; null detaches it.
    void setProcessor(MessageProcessor* processor) { m_processor.store(processor); }
    MessageProcessor* getProcessor() const { return m_processor.load(); }

private:
    std::atomic<MessageProcessor*> m_processor; // not owned; may be null
    std::unique_ptr<Mutex> m_mutex;             // serialises notify()
};

} // namespace Kapi

#endif
