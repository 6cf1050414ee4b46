#ifndef KAPI_SRANDOMINITNODE_H
#define KAPI_SRANDOMINITNODE_H
// The start-up node "SRandom" (no dependencies): seeds the C library's random() generator.
// start() seeds from 4 bytes of the device's random source; when the source cannot be opened
// or gives fewer than 4 bytes it logs why and seeds from the time in seconds times 127 plus
// the process id times 79. It always succeeds; stop() has nothing to undo.
#include "kapi/InitNode.h"

namespace Kapi {
namespace Init {

class SRandomInitNode : public InitNode
{
public:
    SRandomInitNode();
    bool start(const Kapi::vConfig& config) override;
    bool stop() override;
};

// The process's single SRandom node.
SRandomInitNode* getSRandomInitNode();

} // namespace Init
} // namespace Kapi

#endif
