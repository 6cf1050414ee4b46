// kelotool: the client's own parsers and writers on the command line, for people checking
// inputs and for tests and benchmarks that need exactly the client's behaviour.
#include "Command.h"

#include <cstdio>
#include <cstring>

namespace KeloTool {

static const Command s_commands[] = {
    {"json", "[FILE]", "parse a JSON object and print it with the client's JSON writer", runJson},
    {"config", "[FILE]", "parse a configuration text and print the store's text form", runConfig},
    {"startup", "[--hold SECONDS] [CONFIG-FILE]",
     "start the client's start-up graph, then stop it", runStartup},
    {"note", "convert --from FORM --to FORM [FILE] | sign|verify --key PEM [--from FORM] [FILE]",
     "service documents (FORM: bin, xml, url, path): convert, sign, verify", runNote},
    {"fetch",
     "[--timeout SECONDS] [--limit BYTES] [--range FIRST-LAST] [--ca FILE] [--cert FILE --key "
     "FILE] [--tolerant] [--output FILE] URL",
     "one HTTP(S) request through the client's curl layer; prints result, status, bytes, time",
     runFetch},
};

static void printHelp(FILE* to)
{
    fprintf(to, "usage: kelotool COMMAND [ARGS]\n\ncommands:\n");
    for (const Command& c : s_commands)
        fprintf(to, "  %-8s %-16s %s\n", c.name, c.usage, c.summary);
    fprintf(to, "\nFILE defaults to standard input. Exit status: 0 success, 1 no, "
                "2 bad input, 64 usage error.\n");
}

int usageError(const char* name)
{
    for (const Command& c : s_commands) {
        if (strcmp(c.name, name) == 0) {
            fprintf(stderr, "usage: kelotool %s %s\n", c.name, c.usage);
            return kExitUsage;
        }
    }
    printHelp(stderr);
    return kExitUsage;
}

} // namespace KeloTool

int main(int argc, char** argv)
{
    using namespace KeloTool;
    if (argc < 2) {
        printHelp(stderr);
        return kExitUsage;
    }
    if (strcmp(argv[1], "help") == 0 || strcmp(argv[1], "--help") == 0 ||
        strcmp(argv[1], "-h") == 0) {
        printHelp(stdout);
        return kExitOk;
    }
    for (const Command& c : s_commands) {
        if (strcmp(c.name, argv[1]) == 0)
            return c.run(Args(argv + 2, argv + argc));
    }
    fprintf(stderr, "kelotool: unknown command '%s'\n", argv[1]);
    printHelp(stderr);
    return kExitUsage;
}
