// kelotool json [FILE]: the client's JSON reading of a document, printed by its JSON writer.
#include "Command.h"

#include "kapi/JsonToKeyValue.h"
#include "kapi/KeyValueMap.h"

#include <cstdio>
#include <cstring>

namespace KeloTool {

int runJson(const Args& args)
{
    if (args.size() > 1)
        return usageError("json");
    std::string text;
    if (!readInput(args.empty() ? std::string() : args[0], text))
        return kExitBadInput;

    // The parser reads a NUL-terminated text; an embedded NUL would silently cut the document.
    size_t nul = text.find('\0');
    if (nul != std::string::npos) {
        fprintf(stderr, "kelotool json: NUL byte in the input at offset %zu\n", nul);
        return kExitBadInput;
    }

    Kapi::JsonToKeyValue parser(text.c_str());
    if (!parser.parse()) {
        fprintf(stderr, "kelotool json: %s\n", parser.getErrorText().c_str());
        return kExitBadInput;
    }
    Kapi::KeyValueMap map;
    if (!parser.finish(map)) {
        fprintf(stderr, "kelotool json: the top-level value is not an object\n");
        return kExitBadInput;
    }
    std::string out = map.toJsonString();
    out += '\n';
    fwrite(out.data(), 1, out.size(), stdout);
    return kExitOk;
}

} // namespace KeloTool
