// Console command lookup and the connection's success/failure reporting.
#include "core/ConsoleCommandRegistry.h"

#include "kapi/vLog.h"

namespace KELO {

ConsoleCommandRegistry::ConsoleCommandRegistry() = default;

void ConsoleCommandRegistry::add(std::shared_ptr<ConsoleCommandHandler> handler)
{
    if (!handler)
        return;
    Kapi::MutexLocker lock(mMutex);
    mHandlers.push_back(std::move(handler));
}

void ConsoleCommandRegistry::clear()
{
    std::vector<std::shared_ptr<ConsoleCommandHandler>> old;
    {
        Kapi::MutexLocker lock(mMutex);
        old.swap(mHandlers);
    }
    // Handlers are released outside the lock: a handler's destructor may use the registry.
}

std::vector<std::string> ConsoleCommandRegistry::names() const
{
    Kapi::MutexLocker lock(mMutex);
    std::vector<std::string> result;
    for (const auto& handler : mHandlers)
        result.push_back(handler->getName());
    return result;
}

std::shared_ptr<ConsoleCommandHandler>
ConsoleCommandRegistry::find(const std::string& command) const
{
    Kapi::MutexLocker lock(mMutex);
    for (const auto& handler : mHandlers) {
        if (handler->getName() == command)
            return handler;
    }
    return nullptr;
}

bool ConsoleCommandRegistry::execute(const std::string& command, const Kapi::StringVector& args)
{
    std::shared_ptr<ConsoleCommandHandler> handler = find(command);
    if (!handler) {
        if (vLogLevelEnabled(VLOGSRC_CONNECTION, VLOG_ERROR))
            vLogMessage(VLOGSRC_CONNECTION, VLOG_ERROR, "Request to execute unknown command '%s'",
                        command.c_str());
        return false;
    }
    const bool ok = handler->execute(args);
    if (ok) {
        if (vLogLevelEnabled(VLOGSRC_CONNECTION, VLOG_INFO))
            vLogMessage(VLOGSRC_CONNECTION, VLOG_INFO, "Executed command '%s' with args '%s'",
                        command.c_str(), args.join(" ").c_str());
    } else if (vLogLevelEnabled(VLOGSRC_CONNECTION, VLOG_ERROR)) {
        vLogMessage(VLOGSRC_CONNECTION, VLOG_ERROR, "Failed to execute command '%s' with args '%s'",
                    command.c_str(), args.join(" ").c_str());
    }
    return ok;
}

} // namespace KELO
