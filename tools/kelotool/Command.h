#ifndef KELOTOOL_COMMAND_H
#define KELOTOOL_COMMAND_H
// The sub-commands of kelotool. Each takes its own arguments (the words after its name) and
// returns the process exit status: 0 success, 1 a negative answer (where a command has one),
// 2 bad input, 64 a usage error.
#include <string>
#include <vector>

namespace KeloTool {

enum ExitCode
{
    kExitOk = 0,
    kExitNo = 1,
    kExitBadInput = 2,
    kExitUsage = 64
};

typedef std::vector<std::string> Args;

struct Command
{
    const char* name;
    const char* usage;   // arguments, after the command name
    const char* summary; // one line
    int (*run)(const Args& args);
};

int runJson(const Args& args);
int runConfig(const Args& args);
int runStartup(const Args& args);
int runNote(const Args& args);
int runFetch(const Args& args);

// Reads FILE, or standard input when `path` is empty or "-", into `out`. On failure writes
// "kelotool: cannot read ..." to standard error and returns false.
bool readInput(const std::string& path, std::string& out);

// Prints "usage: kelotool NAME USAGE" to standard error and returns kExitUsage.
int usageError(const char* name);

} // namespace KeloTool

#endif
