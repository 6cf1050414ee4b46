#ifndef CORE_CONSOLECOMMANDREGISTRY_H
#define CORE_CONSOLECOMMANDREGISTRY_H
// The console command handlers the core registers, in registration order, looked up by their
// command word. The service connection runs commands through it: an unknown word and a failed
// command are logged (source "connection") the way the connection reports them. A later
// handler with the same word as an earlier one is kept, but lookups find the earlier one.
//
// Threads: add(), clear() and execute() serialise on the registry's mutex, which is not held
// while a handler runs, so a handler may use the registry.
#include "core/ConsoleCommandHandler.h"
#include "kapi/Mutex.h"
#include "kapi/StringVector.h"

#include <memory>
#include <string>
#include <vector>

namespace KELO {

class ConsoleCommandRegistry
{
public:
    ConsoleCommandRegistry();
    ConsoleCommandRegistry(const ConsoleCommandRegistry&) = delete;
    ConsoleCommandRegistry& operator=(const ConsoleCommandRegistry&) = delete;

    void add(std::shared_ptr<ConsoleCommandHandler> handler);
    void clear();
    std::vector<std::string> names() const;
    std::shared_ptr<ConsoleCommandHandler> find(const std::string& command) const;

    // False for an unknown command ("Request to execute unknown command '%s'") and for a
    // failed one ("Failed to execute command '%s' with args '%s'", the words joined by " ").
    bool execute(const std::string& command, const Kapi::StringVector& args);

private:
    Kapi::ScopedMutex mMutex;
    std::vector<std::shared_ptr<ConsoleCommandHandler>> mHandlers; // guarded by mMutex
};

} // namespace KELO

#endif
