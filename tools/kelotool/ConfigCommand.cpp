// kelotool config [FILE]: the configuration store's reading of a text, in its own text form.
#include "Command.h"

#include "kapi/vConfig.h"

#include <cstdio>

namespace KeloTool {

int runConfig(const Args& args)
{
    if (args.size() > 1)
        return usageError("config");
    std::string text;
    if (!readInput(args.empty() ? std::string() : args[0], text))
        return kExitBadInput;

    Kapi::vConfig config;
    if (!config.fromString(text)) {
        fprintf(stderr, "kelotool config: trouble parsing line #%d '%s'\n", config.getErrorLine(),
                config.getErrorText().c_str());
        return kExitBadInput;
    }
    std::string out = config.toString();
    fwrite(out.data(), 1, out.size(), stdout);
    return kExitOk;
}

} // namespace KeloTool
