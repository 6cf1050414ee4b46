// Text forms of the core's launch arguments and events.
#include "core/Core.h"

namespace KELO {

std::string Core::CommandArgs::toString() const
{
    std::string text;
    for (const auto& [key, value] : *this) {
        if (!text.empty())
            text += ';';
        text += key;
        text += '=';
        text += value;
    }
    return text;
}

std::string Core::Event::toString() const
{
    switch (type) {
    case EVENT_USER_REQUESTED_QUIT:
        return "EVENT_USER_REQUESTED_QUIT";
    case EVENT_USER_IS_IDLE:
        return "EVENT_USER_IS_IDLE";
    case EVENT_CUSTOM_USER_IDLE_TIMEOUT:
        return "EVENT_CUSTOM_USER_IDLE_TIMEOUT";
    case EVENT_USER_REQUESTED_GOTO_NETWORK_CONFIG:
        return "EVENT_USER_REQUESTED_GOTO_NETWORK_CONFIG";
    case EVENT_NAMED: {
        if (args.empty())
            return name;
        std::string text = name + "(";
        bool first = true;
        for (const auto& [key, value] : args) {
            if (!first)
                text += ", ";
            first = false;
            text += key;
            text += '=';
            text += value;
        }
        return text + ")";
    }
    default:
        return std::to_string(type);
    }
}

} // namespace KELO
