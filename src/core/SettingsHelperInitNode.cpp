// The settings helper's start-up node: a process-wide object with no dependencies.
#include "core/SettingsHelperInitNode.h"

namespace KELO {
namespace Helpers {

SettingsHelperInitNode SettingsHelperInitNode::s_node;

SettingsHelperInitNode* SettingsHelperInitNode::getInstance()
{
    return &s_node;
}

SettingsHelperInitNode::SettingsHelperInitNode() : NoOpInitNode("SettingsHelper") {}

} // namespace Helpers
} // namespace KELO
