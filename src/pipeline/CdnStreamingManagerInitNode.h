#ifndef PIPELINE_CDNSTREAMINGMANAGERINITNODE_H
#define PIPELINE_CDNSTREAMINGMANAGERINITNODE_H
// The start-up node "CdnStreamingManager" of the CDN streaming manager, started after the
// handle library, storage, curl and component-version nodes. The CDN streaming manager is not
// built yet: for now the node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace KeloPipeline {

class CdnStreamingManagerInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static CdnStreamingManagerInitNode* getInstance();

private:
    CdnStreamingManagerInitNode();

    static CdnStreamingManagerInitNode s_node;
};

} // namespace KeloPipeline

#endif
