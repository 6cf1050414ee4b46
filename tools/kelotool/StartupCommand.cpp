// kelotool startup [--hold SECONDS] [CONFIG-FILE]: runs the process's start-up graph once, as the core does -
// the runner "kelo-app" over the root "kelo-app-init-node" and its thirteen fixed nodes - and
// stops it again. Every "Init: NAME->start()" and "Init: NAME->stop()" line goes to standard
// error through the console log back end, so the output shows the start and stop orders.
// --hold keeps the started services up for a while so that they can be inspected (threads in
// /proc, for instance) before the stop.
#include "Command.h"

#include "core/CoreNodes.h"
#include "kapi/Init.h"
#include "kapi/InitNode.h"
#include "kapi/Log.h"
#include "kapi/vConfig.h"
#include "kapi/vLog.h"

#include "kapi/StringUtil.h"
#include "kapi/Thread.h"

#include <cstdio>
#include <unistd.h>

namespace KeloTool {

int runStartup(const Args& args)
{
    Args rest = args;
    uint32 holdSeconds = 0;
    if (!rest.empty() && rest[0] == "--hold") {
        if (rest.size() < 2 || !Kapi::StringUtil::asUInteger32(rest[1], holdSeconds) ||
            rest[1].empty())
            return usageError("startup");
        rest.erase(rest.begin(), rest.begin() + 2);
    }
    if (rest.size() > 1)
        return usageError("startup");
    Kapi::vConfig config;
    if (!rest.empty()) {
        std::string text;
        if (!readInput(rest[0], text))
            return kExitBadInput;
        if (!config.fromString(text)) {
            fprintf(stderr, "kelotool startup: trouble parsing line #%d '%s'\n",
                    config.getErrorLine(), config.getErrorText().c_str());
            return kExitBadInput;
        }
    }

    // Keeps a more verbose level chosen through VLOGLEVEL/VLOGMULTIPLE.
    if (vLogGetLevel(VLOGSRC_MISC_SYSTEM) < VLOG_INFO)
        vLogSetLevel(VLOGSRC_MISC_SYSTEM, VLOG_INFO);
    Kapi::Log::Get()->setLogToConsole(true);

    KELO::FixedStartupNodes deps = KELO::getFixedStartupNodes();
    Kapi::Init::NoOpInitNode root("kelo-app-init-node", static_cast<unsigned>(deps.size()),
                                  deps.data());
    Kapi::Init::Init init("kelo-app", &root);
    const bool started = init.start(config);
    if (started && holdSeconds > 0) {
        fprintf(stderr, "kelotool startup: started; process %d holds for %u s\n",
                static_cast<int>(getpid()), holdSeconds);
        Kapi::Thread::sleep(static_cast<int64>(holdSeconds) * 1000000);
    }
    init.stop();
    if (!started) {
        fprintf(stderr, "kelotool startup: the start-up graph failed to start\n");
        return kExitNo;
    }
    return kExitOk;
}

} // namespace KeloTool
