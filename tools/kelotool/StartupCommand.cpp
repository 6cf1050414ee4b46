// kelotool startup [CONFIG-FILE]: runs the process's start-up graph once, as the core does -
// the runner "kelo-app" over the root "kelo-app-init-node" and its thirteen fixed nodes - and
// stops it again. Every "Init: NAME->start()" and "Init: NAME->stop()" line goes to standard
// error through the console log back end, so the output shows the start and stop orders.
#include "Command.h"

#include "core/CoreNodes.h"
#include "kapi/Init.h"
#include "kapi/InitNode.h"
#include "kapi/Log.h"
#include "kapi/vConfig.h"
#include "kapi/vLog.h"

#include <cstdio>

namespace KeloTool {

int runStartup(const Args& args)
{
    if (args.size() > 1)
        return usageError("startup");
    Kapi::vConfig config;
    if (!args.empty()) {
        std::string text;
        if (!readInput(args[0], text))
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
    init.stop();
    if (!started) {
        fprintf(stderr, "kelotool startup: the start-up graph failed to start\n");
        return kExitNo;
    }
    return kExitOk;
}

} // namespace KeloTool
