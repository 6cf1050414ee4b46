// Runs logging commands (see log_probe_commands.h) against the real back end, so that tests can
// check standard error under different VLOG* environments.
#include "log_probe_commands.h"

int main(int argc, char** argv)
{
    return probe::runCommands(argc, argv);
}
