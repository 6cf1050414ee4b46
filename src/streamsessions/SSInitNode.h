#ifndef STREAMSESSIONS_SSINITNODE_H
#define STREAMSESSIONS_SSINITNODE_H
// The start-up node "StreamSession" (no dependencies) of the stream-session layer. Stream
// sessions are not built yet: for now the node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace KELO {
namespace StreamSessions {

class SSInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static SSInitNode* getInstance();

private:
    SSInitNode();

    static SSInitNode s_node;
};

} // namespace StreamSessions
} // namespace KELO

#endif
