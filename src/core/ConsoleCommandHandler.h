#ifndef CORE_CONSOLECOMMANDHANDLER_H
#define CORE_CONSOLECOMMANDHANDLER_H
// A maintenance command the service can run on the device: a command word and an operation
// over the remaining words. Handlers are shared (the registry and whoever registered them) and
// never throw; execute() is true when the command was carried out.
#include "kapi/StringVector.h"

#include <string>

namespace KELO {

class ConsoleCommandHandler
{
public:
    ConsoleCommandHandler() = default;
    ConsoleCommandHandler(const ConsoleCommandHandler&) = delete;
    ConsoleCommandHandler& operator=(const ConsoleCommandHandler&) = delete;

    // Slot order is fixed.
    virtual ~ConsoleCommandHandler() = default;
    virtual std::string getName() const = 0;
    virtual bool execute(const Kapi::StringVector& args) = 0;
};

} // namespace KELO

#endif
