#ifndef CORE_SETTINGSHELPERINITNODE_H
#define CORE_SETTINGSHELPERINITNODE_H
// The start-up node "SettingsHelper" (no dependencies) of the settings helper that keeps the
// provisioning record. The core starts and stops it alone before the full graph starts it
// again, so it returns to a startable state after stop. The settings helper is not built yet:
// for now the node's start and stop do nothing and succeed.
#include "kapi/InitNode.h"

namespace KELO {
namespace Helpers {

class SettingsHelperInitNode : public Kapi::Init::NoOpInitNode
{
public:
    static SettingsHelperInitNode* getInstance();

private:
    SettingsHelperInitNode();

    static SettingsHelperInitNode s_node;
};

} // namespace Helpers
} // namespace KELO

#endif
