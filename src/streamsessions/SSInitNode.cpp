// The stream-session layer's start-up node: a process-wide object with no dependencies.
#include "streamsessions/SSInitNode.h"

namespace KELO {
namespace StreamSessions {

SSInitNode SSInitNode::s_node;

SSInitNode* SSInitNode::getInstance()
{
    return &s_node;
}

SSInitNode::SSInitNode() : NoOpInitNode("StreamSession") {}

} // namespace StreamSessions
} // namespace KELO
