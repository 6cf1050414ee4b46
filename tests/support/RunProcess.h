#ifndef KELO_TESTS_RUNPROCESS_H
#define KELO_TESTS_RUNPROCESS_H
// Runs a program as a child process with a given standard input and extra environment, and
// collects its standard output, standard error and exit status. For tests that check a
// program the way a user (or the host) runs it.
#include <string>
#include <utility>
#include <vector>

namespace KeloTest {

struct ProcessResult
{
    int exitStatus = -1; // exit code, or 128 + signal number when killed by a signal
    int pid = -1;        // the child's process id
    std::string out;
    std::string err;
};

// `env` entries are "NAME=value" (set), "NAME" (removed from the inherited environment) or
// "PREFIX*" (every variable whose name starts with PREFIX removed).
ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input = std::string(),
                         const std::vector<std::string>& env = {});

// Path of a program built into the build's bin/ directory.
std::string binPath(const std::string& name);
// Path of a file in the source tree.
std::string sourcePath(const std::string& relative);

} // namespace KeloTest

#endif
