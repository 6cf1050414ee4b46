#ifndef SIM_HOST_HOSTSESSION_H
#define SIM_HOST_HOSTSESSION_H
// The host application's side of the host message queues, driven by commands: it sends on the
// stub queue (read by the client) and receives from the app queue (written by the client).
// Every message sent or received is printed as one line:
//     host: send <type> <NAME>[ field=value ...]
//     host: recv <type> <NAME>[ field=value ...]
// and every failed command as "host: FAILED: <reason>".
//
// Commands are words split at blanks ("double quotes" group words; '#' outside quotes starts a
// comment):
//     send TYPE [FIELD=VALUE ...]   TYPE is a message name or number
//     expect TYPE                   the next received message must be TYPE
//     nothing SECONDS               no message may arrive for SECONDS
//     wait SECONDS                  receive (and print) whatever arrives for SECONDS
//     listen                        receive until KELO_MSG_EXIT_SELF arrives
//     fields TYPE                   print the payload fields of TYPE
//     remove                        remove both queues
// expect and listen give up after the session's time-out. One thread uses a session.
#include "kelouipc/kelo_ipc.h"

#include <cstdio>
#include <string>
#include <vector>

namespace KeloHost {

struct Command
{
    std::string verb; // empty for a blank or comment line
    std::vector<std::string> words;
};

// Splits a command line; false with `*error` for an unterminated quote.
bool parseCommandLine(const std::string& line, Command* command, std::string* error);
// Checks the verb and its arguments (names, numbers, fields) without running anything.
bool checkCommand(const Command& command, std::string* error);

class HostSession
{
public:
    HostSession(double timeoutSeconds, FILE* out);
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    // Creates or attaches both queues; false (printed) when the key file is missing or the
    // queues cannot be made.
    bool open();
    // Runs one checked command; false when it failed (already printed).
    bool run(const Command& command);

private:
    // Waits up to `seconds` for a message from the client; false on time-out.
    bool receive_i(KELO_MSG_T* msg, double seconds);
    bool fail_i(const std::string& reason);

    double mTimeout;
    FILE* mOut;
};

} // namespace KeloHost

#endif
