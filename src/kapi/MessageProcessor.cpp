// A receiver's own delivery queue: a task processor of concurrency 1, one task per message.
#include "kapi/MessageProcessor.h"

#include "kapi/TaskProcessor.h"
#include "kapi/Timer.h"

namespace Kapi {

MessageProcessor::MessageProcessor(MessageReceiver* target, const std::string& name)
    : m_target(target), m_name(name), m_taskProcessor(std::make_unique<TaskProcessor>(1))
{
    m_target->setProcessor(this);
}

MessageProcessor::~MessageProcessor()
{
    if (m_target->getProcessor() == this)
        m_target->setProcessor(nullptr);
    m_taskProcessor.reset();
}

bool MessageProcessor::notify(Message* message)
{
    m_taskProcessor->schedule(new MessageDeliveryTask(m_target, message, this), Timer::now());
    return false;
}

MessageDeliveryTask::MessageDeliveryTask(MessageReceiver* target, Message* message,
                                         MessageProcessor* processor)
    : Task(Task::CATEGORY_IO, 1), m_target(target), m_message(message), m_processor(processor)
{
}

MessageDeliveryTask::~MessageDeliveryTask()
{
    delete m_message;
}

void MessageDeliveryTask::work()
{
    Message* message = m_message;
    m_message = nullptr;
    m_target->receive(message, m_processor);
}

std::string MessageDeliveryTask::toString() const
{
    return "[MessageDeliveryTask: " + (m_message ? m_message->toString() : std::string()) + "]";
}

} // namespace Kapi
