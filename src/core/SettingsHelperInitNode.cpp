// The settings helper's start-up node: a process-wide object with no dependencies.
#include "core/SettingsHelperInitNode.h"

namespace KELO {
namespace Helpers {

SettingsHelperInitNode SettingsHelperInitNode::s_node;

SettingsHelperInitNode* SettingsHelperInitNode::getInstance()
{
    return &s_node;
}

SettingsHelperInitNode::SettingsHelperInitNode() : InitNode("SettingsHelper") {}

bool SettingsHelperInitNode::start(const Kapi::vConfig&)
{
    return true;
}

bool SettingsHelperInitNode::stop()
{
    return true;
}

} // namespace Helpers
} // namespace KELO
