#ifndef KAPI_MESSAGEPROCESSOR_H
#define KAPI_MESSAGEPROCESSOR_H
/*
 * A MessageProcessor gives one receiver a delivery queue of its own: it becomes the receiver's
 * forwarding processor, so anything sent to the receiver is queued as a MessageDeliveryTask on
 * the processor's task processor of concurrency 1 and handled by a scheduler worker, one
 * message at a time, in the order sent, under the receiver's mutex. Senders never block on the
 * receiver.
 *
 * The processor must be destroyed before the receiver it serves. Destruction detaches it from
 * the receiver, drops (deletes) messages still queued and waits for one being delivered.
 */
#include "kapi/MessageReceiver.h"
#include "kapi/Task.h"

#include <memory>
#include <string>

namespace Kapi {

class TaskProcessor;

class MessageProcessor : public MessageReceiver
{
public:
    // `target` is not owned and must outlive the processor.
    MessageProcessor(MessageReceiver* target, const std::string& name);
    ~MessageProcessor() override;

    // Queues `message` for delivery to the target now; returns false (the task owns it).
    bool notify(Message* message) override;

    const std::string& getName() const { return m_name; }
    MessageReceiver* getTarget() const { return m_target; }

private:
    MessageReceiver* m_target;
    std::string m_name;
    std::unique_ptr<TaskProcessor> m_taskProcessor; // concurrency 1
};

// Delivers one message to `target` as coming from `processor`; owns the message until then and
// deletes it if dropped undelivered.
class MessageDeliveryTask : public Task
{
public:
    MessageDeliveryTask(MessageReceiver* target, Message* message, MessageProcessor* processor);
    ~MessageDeliveryTask() override;

    void work() override;
    // "[MessageDeliveryTask: " + the message text + "]".
    std::string toString() const override;

private:
    MessageReceiver* m_target;
    Message* m_message; // owned until delivered
    MessageProcessor* m_processor;
};

} // namespace Kapi

#endif
