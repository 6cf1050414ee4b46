// kelo_host: the device's host application as a command-line tool, for the demo and the tests.
#include "HostSession.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>

namespace {

const char* kUsage =
    "Usage: kelo_host [--timeout SECONDS] [--script FILE] [COMMAND ...]\n"
    "\n"
    "Plays the host application's side of the client's two host message queues, keyed on\n"
    "$KELO_ROOT/usr/local/bin/kelo_client (the file must exist). Creates or attaches the queues,\n"
    "then runs the COMMAND arguments (each one argument, e.g. \"send KELO_MSG_STUB_UNINIT\") and\n"
    "then the lines of the script FILE (\"-\": standard input), in order.\n"
    "\n"
    "Commands:\n"
    "  send TYPE [FIELD=VALUE ...]  send a message to the client; TYPE is a name\n"
    "                               (KELO_MSG_STUB_UNINIT) or a number (3)\n"
    "  expect TYPE                  the next message from the client must be TYPE\n"
    "  nothing SECONDS              no message may arrive for SECONDS\n"
    "  wait SECONDS                 print whatever arrives for SECONDS\n"
    "  listen                       print what arrives until KELO_MSG_EXIT_SELF\n"
    "  fields TYPE                  list the payload fields of TYPE\n"
    "  remove                       remove both queues\n"
    "Words are split at blanks; \"double quotes\" keep blanks in a value; # starts a comment.\n"
    "\n"
    "Output, one line per event:\n"
    "  host: queues app=<id> stub=<id>\n"
    "  host: send <type> <NAME>[ field=value ...]\n"
    "  host: recv <type> <NAME>[ field=value ...]   (data=<hex> for a type without fields)\n"
    "  host: FAILED: <reason>\n"
    "\n"
    "Options:\n"
    "  --timeout SECONDS  how long expect and listen wait (default 30)\n"
    "  --script FILE      read commands from FILE after the arguments\n"
    "\n"
    "Exit status: 0 when every command succeeded and every expectation held, 1 when one\n"
    "failed (the rest are skipped), 2 for a usage error (nothing is run).\n";

int usageError(const std::string& message)
{
    fprintf(stderr, "kelo_host: %s\n\n%s", message.c_str(), kUsage);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    double timeout = 30;
    std::string script;
    std::vector<std::string> lines;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            fputs(kUsage, stdout);
            return 0;
        }
        if (arg == "--timeout" || arg == "--script") {
            if (i + 1 >= argc)
                return usageError(arg + " needs a value");
            const std::string value = argv[++i];
            if (arg == "--script") {
                script = value;
                continue;
            }
            char* end = nullptr;
            timeout = strtod(value.c_str(), &end);
            if (value.empty() || *end != '\0' || timeout < 0)
                return usageError("bad --timeout '" + value + "'");
            continue;
        }
        lines.push_back(arg);
    }
    if (!script.empty()) {
        std::ifstream file;
        std::istream* in = &std::cin;
        if (script != "-") {
            file.open(script);
            if (!file)
                return usageError("cannot read script '" + script + "'");
            in = &file;
        }
        for (std::string line; std::getline(*in, line);)
            lines.push_back(line);
    }
    if (lines.empty())
        return usageError("no commands");

    std::vector<KeloHost::Command> commands;
    for (size_t i = 0; i < lines.size(); ++i) {
        KeloHost::Command c;
        std::string error;
        if (!KeloHost::parseCommandLine(lines[i], &c, &error) || !KeloHost::checkCommand(c, &error))
            return usageError("command " + std::to_string(i + 1) + ": " + error);
        commands.push_back(c);
    }

    KeloHost::HostSession session(timeout, stdout);
    if (!session.open())
        return 1;
    for (const KeloHost::Command& c : commands)
        if (!session.run(c))
            return 1;
    return 0;
}
